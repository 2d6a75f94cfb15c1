/// \file
/// Settings through an INI file or the registry store, as ConfigData keeps
/// them (see <util/confdat.h>), with the class's own switch and count, and
/// "sorvane.ini" in the working directory as its file. ConfigFile, a settings
/// tree in a small XML dialect, follows below.
#pragma once

#include <baseobj/lex.h>
#include <cpcoll/cpdict.h>
#include <util/confdat.h>
#include <util/createable.h>
#include <platform/export.h>
#include <util/pstring.h>

#include <cstdint>

/// \brief Settings through an INI file or the registry store, as ConfigData
/// keeps them (see ConfigStore), with the class's own switch and count, and
/// "sorvane.ini" in the working directory as its file.
class SORVANE_API ConfigReader : public Createable {
public:
    /// Reads the class's switch when no object did yet.
    ConfigReader();
    /// Counts the object out.
    ~ConfigReader() override;

    /// Sets the INI file's path.
    /// \param sz the path.
    void _set_strINIFile(char const* sz) { strINIFile = sz; }
    /// Sets the registry key under HKEY_CURRENT_USER.
    /// \param sz the key's path.
    void _set_strRootKey(char const* sz) { strRootKey = sz; }
    /// \return the INI file's path.
    CPString const& _get_strINIFile() const { return strINIFile; }
    /// \return the registry key's path.
    CPString const& _get_strRootKey() const { return strRootKey; }

    /// Reads a number; see ConfigStore::GetInt().
    /// \param szSection the section.
    /// \param szKey the key.
    /// \param nDefault answered when it is absent.
    /// \return the number.
    int GetInt(char const* szSection, char const* szKey, int nDefault);
    /// Writes a number; see ConfigStore::WriteInt().
    /// \param szSection the section.
    /// \param szKey the key.
    /// \param nValue the number.
    /// \return non-zero on success.
    int WriteInt(char const* szSection, char const* szKey, int nValue);
    /// Reads a text; see ConfigStore::GetString().
    /// \param szSection the section.
    /// \param szKey the key.
    /// \param szDefault answered when it is absent.
    /// \param szDest the caller's buffer.
    /// \param nSize its size.
    /// \return INI: the count of characters copied. Registry: 1 when the key opened.
    int GetString(char const* szSection, char const* szKey, char const* szDefault, char* szDest,
                  int nSize);
    /// Writes a text; see ConfigStore::WriteString().
    /// \param szSection the section.
    /// \param szKey the key.
    /// \param szValue the text.
    /// \return non-zero on success.
    int WriteString(char const* szSection, char const* szKey, char const* szValue);

    /// \return the class's access mode, a ConfigStore mode.
    static char _get_cAccessMode() { return cAccessMode; }
    /// Sets the class's access mode; 0 makes the next object read the switch again.
    /// \param c the mode.
    static void _set_cAccessMode(char c) { cAccessMode = c; }
    /// \return the number of live ConfigReader objects.
    static std::uint32_t _get_nInstanceCount() { return nInstanceCount; }

private:
    ConfigStore Store();

    CPString strINIFile;
    CPString strRootKey;
    static char cAccessMode;
    static std::uint32_t nInstanceCount;
};

class Token;

/// \brief A settings tree kept in a small XML dialect: sections of named
/// parameters, each a Token.
///
/// Written as `<Section Name="name">` holding `<Parameter Name="name"
/// Val="value"/>` lines, with CRLF endings, no root element and no
/// declaration. Read, a section's name must stand in its first attribute,
/// spelt "Nsme", so a file that this class writes is refused when read back
/// (kSectionWithoutName); both sides are meant so. A parameter's "Type"
/// beginning with "N" makes its token numeric (TY_SHORT), otherwise it is
/// text. A bad file is reported by a thrown int, which the caller must
/// catch; what was read before the throw stays in the tree.
class SORVANE_API ConfigFile : public CPDictionary {
public:
    /// The int values thrown for a bad file.
    enum : int {
        /// A section opened inside a section.
        kSectionInSection = 0x11201E,
        /// A section without "Nsme" first, or without its value.
        kSectionWithoutName = 0x54998C,
        /// A parameter outside any section.
        kParameterOutsideSection = 0x181CD,
        /// A parameter without a name.
        kParameterWithoutName = 0x69F6BC7,
        /// A section closed that was not open.
        kSectionNotOpen = 0x21E88E,
    };

    ConfigFile();
    /// Frees every section and parameter.
    ~ConfigFile() override;
    ConfigFile(ConfigFile const&) = delete;
    ConfigFile& operator=(ConfigFile const&) = delete;

    /// Reads a file into the tree.
    /// \param szPath the file; a missing file reads as empty.
    /// \return 1 when the file was read, 0 when not.
    /// \throws int one of the values above for a bad file.
    short Load(char const* szPath);
    /// Empties the file and writes every section, in the dictionaries' walk order.
    /// \param szPath the file.
    /// \return 1, or 0 when the file cannot be opened.
    short Save(char const* szPath);

    /// \param szSection a section.
    /// \param szParameter a parameter.
    /// \return its value as a number; 0 when missing.
    short GetInt(char const* szSection, char const* szParameter);
    /// \param szSection a section.
    /// \param szParameter a parameter.
    /// \return its text, kept by the tree; null when missing.
    char const* GetString(char const* szSection, char const* szParameter);
    /// Sets a parameter to a number, making a missing section or parameter.
    /// \param szSection the section.
    /// \param szParameter the parameter.
    /// \param nValue the number.
    void SetInt(char const* szSection, char const* szParameter, short nValue);
    /// Sets a parameter to a text, making a missing section or parameter.
    /// \param szSection the section.
    /// \param szParameter the parameter.
    /// \param szValue the text.
    void SetString(char const* szSection, char const* szParameter, char const* szValue);

    /// \return the scanner that reads parameter values.
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
