// Settings of the framework, kept either in an INI file or in the per-user
// registry store under strRootKey. One switch decides which: the value
// "UseRegistry" under strRootKey + "General", read by the first object of a
// class for the life of the process (1 means the registry). Every read from
// the INI file is written on into the registry, so that settings migrate;
// the default is migrated too when the file lacks the key.
#pragma once

#include <util/createable.h>
#include <platform/export.h>
#include <util/pstring.h>

#include <cstdint>

// The work that ConfigData and ConfigReader share. Each class hands in its
// own statics and fields, and the texts of its checks for a bad mode.
class SORVANE_API ConfigStore {
public:
    enum : char { kModeUnread = 0, kModeINI = 1, kModeRegistry = 2 };

    struct BadModeTexts {
        char const* szGetInt;
        char const* szWriteInt;
        char const* szGetString;
        char const* szWriteString;
    };

    ConfigStore(char& cAccessMode, CPString& strINIFile, CPString& strRootKey,
                BadModeTexts const& texts)
        : cMode(cAccessMode), strFile(strINIFile), strRoot(strRootKey), txtBadMode(texts) {}

    // The mode that the "UseRegistry" value under the root key asks for.
    static char ReadAccessMode(CPString& strRootKey);

    int GetInt(char const* szSection, char const* szKey, int nDefault);
    int WriteInt(char const* szSection, char const* szKey, int nValue);
    int GetString(char const* szSection, char const* szKey, char const* szDefault, char* szDest,
                  int nSize);
    int WriteString(char const* szSection, char const* szKey, char const* szValue);

private:
    int GetIntINI(char const* szSection, char const* szKey, int nDefault);
    int GetIntRegistry(char const* szSection, char const* szKey, int nDefault);
    int GetStringINI(char const* szSection, char const* szKey, char const* szDefault, char* szDest,
                     int nSize);
    int GetStringRegistry(char const* szSection, char const* szKey, char const* szDefault,
                          char* szDest, int nSize);
    int WriteRegistry(char const* szSection, char const* szKey, std::uint32_t nType,
                      void const* pvData, std::uint32_t nBytes);
    // Runs a write in registry mode, for the migration of a read.
    template <class Write> void Migrate(Write write);

    char& cMode;
    CPString& strFile;
    CPString& strRoot;
    BadModeTexts const& txtBadMode;
};

class SORVANE_API ConfigData : public Createable {
public:
    static constexpr std::uint32_t kPathSize = 1024;
    static constexpr std::int32_t kStringBlockSize = 1024;

    ConfigData();
    ~ConfigData() override;

    void _set_strINIFile(char const* sz) { strINIFile = sz; }
    void _set_strRootKey(char const* sz) { strRootKey = sz; }
    CPString const& _get_strINIFile() const { return strINIFile; }
    CPString const& _get_strRootKey() const { return strRootKey; }

    int GetInt(char const* szSection, char const* szKey, int nDefault);
    int WriteInt(char const* szSection, char const* szKey, int nValue);
    // INI: the count of characters copied. Registry: 1 when the key opened.
    int GetString(char const* szSection, char const* szKey, char const* szDefault, char* szDest,
                  int nSize);
    // Reads into a new block of 1024 bytes that the string then owns.
    int GetString(char const* szSection, char const* szKey, char const* szDefault,
                  CPString* pstrDest);
    int WriteString(char const* szSection, char const* szKey, char const* szValue);

    // The folder of the loaded framework library plus "sorvane.ini", worked
    // out once; empty when the library is not loaded or its path has no
    // folder.
    static char const* GetConfigFilePath();

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
