// Settings through an INI file or the registry store, as ConfigData keeps
// them (see <util/confdat.h>), with the class's own switch and count, and
// "sorvane.ini" in the working directory as its file. ConfigFile, a settings
// tree in a small XML dialect, follows below.
#pragma once

#include <baseobj/lex.h>
#include <cpcoll/cpdict.h>
#include <util/confdat.h>
#include <util/createable.h>
#include <platform/export.h>
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

class Token;

// A settings tree kept in a small XML dialect: sections of named parameters,
// each a Token. Written as
//     <Section Name="name">
//         <Parameter Name="name" Val="value"/>
//     </Section>
// with CRLF endings, no root element and no declaration. Read, a section's
// name must stand in its first attribute, spelt "Nsme", so a file that this
// class writes is refused when read back (0x54998C); both sides are meant so.
// A parameter's "Type" beginning with "N" makes its token numeric (TY_SHORT),
// otherwise it is text.
//
// A bad file is reported by a thrown int, which the caller must catch:
//     0x11201E   a section opened inside a section
//     0x54998C   a section without "Nsme" first, or without its value
//     0x181CD    a parameter outside any section
//     0x69F6BC7  a parameter without a name
//     0x21E88E   a section closed that was not open
// What was read before the throw stays in the tree.
class SORVANE_API ConfigFile : public CPDictionary {
public:
    enum : int {
        kSectionInSection = 0x11201E,
        kSectionWithoutName = 0x54998C,
        kParameterOutsideSection = 0x181CD,
        kParameterWithoutName = 0x69F6BC7,
        kSectionNotOpen = 0x21E88E,
    };

    ConfigFile();
    ~ConfigFile() override;
    ConfigFile(ConfigFile const&) = delete;
    ConfigFile& operator=(ConfigFile const&) = delete;

    // 1 when the file was read (a missing file reads as empty), 0 when not.
    short Load(char const* szPath);
    // Empties the file and writes every section, in the dictionaries' walk
    // order. 0 when the file cannot be opened.
    short Save(char const* szPath);

    // A missing section or parameter reads 0, or a null text.
    short GetInt(char const* szSection, char const* szParameter);
    char const* GetString(char const* szSection, char const* szParameter);
    // Setting makes a missing section or parameter.
    void SetInt(char const* szSection, char const* szParameter, short nValue);
    void SetString(char const* szSection, char const* szParameter, char const* szValue);

    Scanner& _get_scnThe() { return scnThe; }

private:
    static void itStartElement(void* pvUser, char const* pszName, char const** ppszAttributes);
    static void itEndElement(void* pvUser, char const* pszName);
    static void itText(void* pvUser, char const* pszText, int nLength);
    static void itReleaseToken(void* pvItem, void* pvUser);
    static void itReleaseSection(void* pvItem, void* pvUser);

    void OpenSection(char const** ppszAttributes);
    void AddParameter(char const** ppszAttributes);
    CPDictionary* Section(char const* szSection, bool bMake);
    Token* Parameter(char const* szSection, char const* szParameter, bool bMake);

    Scanner scnThe;
    // The section being read. It lives for one load: the reader never
    // reports a buffer's last tag, so the last section's closing tag is not
    // seen, and the load's end closes it.
    static CPDictionary* pdctCFWorking;
};
