// Settings through an INI file or the registry store, as ConfigData keeps
// them (see <util/confdat.h>), with the class's own switch and count, and
// "sorvane.ini" in the working directory as its file. ConfigFile, a settings
// tree in a small XML dialect, follows below.
#pragma once

#include <util/confdat.h>
#include <util/createable.h>
#include <util/export.h>
#include <util/pstring.h>

#include <cstdint>

class SORVANE_API ConfigReader : public Createable {
public:
    ConfigReader();
    ~ConfigReader() override;

    void _set_strINIFile(char const* sz) { strINIFile = sz; }
    void _set_strRootKey(char const* sz) { strRootKey = sz; }
    CPString const& _get_strINIFile() const { return strINIFile; }
    CPString const& _get_strRootKey() const { return strRootKey; }

    int GetInt(char const* szSection, char const* szKey, int nDefault);
    int WriteInt(char const* szSection, char const* szKey, int nValue);
    // INI: the count of characters copied. Registry: 1 when the key opened.
    int GetString(char const* szSection, char const* szKey, char const* szDefault, char* szDest,
                  int nSize);
    int WriteString(char const* szSection, char const* szKey, char const* szValue);

    static char _get_cAccessMode() { return cAccessMode; }
    // 0 makes the next object read the switch again.
    static void _set_cAccessMode(char c) { cAccessMode = c; }
    static std::uint32_t _get_nInstanceCount() { return nInstanceCount; }

private:
    ConfigStore Store();

    CPString strINIFile;
    CPString strRootKey;
    static char cAccessMode;
    static std::uint32_t nInstanceCount;
};
