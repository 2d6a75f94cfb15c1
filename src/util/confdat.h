/// \file
/// Settings of the framework, kept either in an INI file or in the per-user
/// registry store under strRootKey. One switch decides which: the value
/// "UseRegistry" under strRootKey + "General", read by the first object of a
/// class for the life of the process (1 means the registry). Every read from
/// the INI file is written on into the registry, so that settings migrate;
/// the default is migrated too when the file lacks the key.
#pragma once

#include <util/createable.h>
#include <platform/export.h>
#include <util/pstring.h>

#include <cstdint>

/// \brief The work that ConfigData and ConfigReader share: settings in an INI
/// file or in the registry store, as the class's access mode says.
///
/// Each class hands in its own statics and fields, and the texts of its
/// checks for a bad mode. Every read from the INI file is written on into
/// the registry, so that settings migrate.
class SORVANE_API ConfigStore {
public:
    /// Access modes: not read yet, the INI file, the registry store.
    enum : char { kModeUnread = 0, kModeINI = 1, kModeRegistry = 2 };

    /// \brief The texts of the fatal checks that a call in no known mode ends with.
    struct BadModeTexts {
        /// The text of GetInt's check.
        char const* szGetInt;
        /// The text of WriteInt's check.
        char const* szWriteInt;
        /// The text of GetString's check.
        char const* szGetString;
        /// The text of WriteString's check.
        char const* szWriteString;
    };

    /// Works on the class's own state, which must outlive the store.
    /// \param cAccessMode the class's access mode.
    /// \param strINIFile the INI file's path.
    /// \param strRootKey the registry key under HKEY_CURRENT_USER.
    /// \param texts the texts of the bad-mode checks.
    ConfigStore(char& cAccessMode, CPString& strINIFile, CPString& strRootKey,
                BadModeTexts const& texts)
        : cMode(cAccessMode), strFile(strINIFile), strRoot(strRootKey), txtBadMode(texts) {}

    /// \param strRootKey the registry key of the settings.
    /// \return the mode that the "UseRegistry" value under strRootKey + "General"
    ///         asks for: kModeRegistry for 1, else kModeINI.
    static char ReadAccessMode(CPString& strRootKey);

    /// Reads a number.
    /// \param szSection the section (a key below the root in the registry).
    /// \param szKey the key.
    /// \param nDefault answered when it is absent.
    /// \return the number. A mode that is neither ends the process through the
    ///         fatal check.
    int GetInt(char const* szSection, char const* szKey, int nDefault);
    /// Writes a number.
    /// \param szSection the section.
    /// \param szKey the key.
    /// \param nValue the number.
    /// \return non-zero on success. A mode that is neither ends the process
    ///         through the fatal check.
    int WriteInt(char const* szSection, char const* szKey, int nValue);
    /// Reads a text.
    /// \param szSection the section.
    /// \param szKey the key.
    /// \param szDefault answered when it is absent.
    /// \param szDest the caller's buffer.
    /// \param nSize its size.
    /// \return INI: the count of characters copied. Registry: 1 when the key
    ///         opened, else 0. A mode that is neither ends the process through
    ///         the fatal check.
    int GetString(char const* szSection, char const* szKey, char const* szDefault, char* szDest,
                  int nSize);
    /// Writes a text.
    /// \param szSection the section.
    /// \param szKey the key.
    /// \param szValue the text.
    /// \return non-zero on success. A mode that is neither ends the process
    ///         through the fatal check.
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

/// \brief Settings of the framework, kept either in an INI file or in the
/// per-user registry store under the root key.
///
/// The value "UseRegistry" under strRootKey + "General", read by the first
/// object of the class for the life of the process, decides which (1 means
/// the registry). Every read from the INI file is written on into the
/// registry; the default is migrated too when the file lacks the key.
class SORVANE_API ConfigData : public Createable {
public:
    /// The size of the configuration file's path.
    static constexpr std::uint32_t kPathSize = 1024;
    /// The block that GetString(char const*, char const*, char const*, CPString*) reads into.
    static constexpr std::int32_t kStringBlockSize = 1024;

    ConfigData();
    ~ConfigData() override;

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
    /// Reads a text into a buffer; see ConfigStore::GetString().
    /// \param szSection the section.
    /// \param szKey the key.
    /// \param szDefault answered when it is absent.
    /// \param szDest the caller's buffer.
    /// \param nSize its size.
    /// \return INI: the count of characters copied. Registry: 1 when the key opened.
    int GetString(char const* szSection, char const* szKey, char const* szDefault, char* szDest,
                  int nSize);
    /// Reads a text into a new block of kStringBlockSize bytes that the string
    /// then owns.
    /// \param szSection the section.
    /// \param szKey the key.
    /// \param szDefault answered when it is absent.
    /// \param pstrDest receives the text.
    /// \return as the other GetString.
    int GetString(char const* szSection, char const* szKey, char const* szDefault,
                  CPString* pstrDest);
    /// Writes a text; see ConfigStore::WriteString().
    /// \param szSection the section.
    /// \param szKey the key.
    /// \param szValue the text.
    /// \return non-zero on success.
    int WriteString(char const* szSection, char const* szKey, char const* szValue);

    /// \return the folder of the loaded framework library plus "sorvane.ini",
    ///         worked out once; empty when the library is not loaded or its
    ///         path has no folder.
    static char const* GetConfigFilePath();

    /// \return the class's access mode, a ConfigStore mode.
    static char _get_cAccessMode() { return cAccessMode; }
    /// Sets the class's access mode; 0 makes the next object read the switch again.
    /// \param c the mode.
    static void _set_cAccessMode(char c) { cAccessMode = c; }
    /// \return the number of live ConfigData objects.
    static std::uint32_t _get_nInstanceCount() { return nInstanceCount; }

private:
    ConfigStore Store();

    CPString strINIFile;
    CPString strRootKey;
    static char cAccessMode;
    static std::uint32_t nInstanceCount;
};
