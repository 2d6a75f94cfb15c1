#include <util/confdat.h>

#include <platform/modulepath.h>
#include <platform/profile.h>
#include <platform/registry.h>
#include <util/exceptions.h>

#include <cstdio>
#include <cstring>

namespace {

constexpr char kDefaultRootKey[] = "SOFTWARE\\Brondavik\\Sorvane\\";
constexpr char kGeneralSection[] = "General";
constexpr char kUseRegistryValue[] = "UseRegistry";
constexpr char kConfigFileName[] = "sorvane.ini";

constexpr ConfigStore::BadModeTexts kConfigDataTexts{"1 == 0", "1 == 0", "1 ==0", "1==0"};

// An open registry key, closed at the end of the scope.
class OpenKey {
public:
    OpenKey() = default;
    ~OpenKey() {
        if (hkey != nullptr) platform::RegCloseKey(hkey);
    }
    OpenKey(OpenKey const&) = delete;
    OpenKey& operator=(OpenKey const&) = delete;

    bool OpenForReading(char const* szPath) {
        return platform::RegOpenKeyExA(platform::HKEY_CURRENT_USER, szPath, 0, platform::KEY_READ,
                                       &hkey) == 0;
    }
    bool CreateForWriting(char const* szPath) {
        char szClass[] = "";
        std::uint32_t nDisposition = 0;
        return platform::RegCreateKeyExA(platform::HKEY_CURRENT_USER, szPath, 0, szClass, 0,
                                         platform::KEY_WRITE, nullptr, &hkey, &nDisposition) == 0;
    }
    platform::HKEY hkey = nullptr;
};

CPString KeyPath(CPString& strRoot, char const* szSection) {
    return strRoot + (szSection != nullptr ? szSection : "");
}

} // namespace

// ---- ConfigStore ------------------------------------------------------------

char ConfigStore::ReadAccessMode(CPString& strRootKey) {
    std::uint32_t nUseRegistry = 0;
    OpenKey key;
    CPString strPath = KeyPath(strRootKey, kGeneralSection);
    if (key.OpenForReading(strPath.GetBuffer())) {
        std::uint32_t nSize = sizeof nUseRegistry;
        if (platform::RegQueryValueExA(key.hkey, kUseRegistryValue, nullptr, nullptr,
                                       reinterpret_cast<std::uint8_t*>(&nUseRegistry), &nSize) != 0)
            nUseRegistry = 0;
    }
    return nUseRegistry == 1 ? kModeRegistry : kModeINI;
}

template <class Write> void ConfigStore::Migrate(Write write) {
    cMode = kModeRegistry;
    write();
    cMode = kModeINI;
}

int ConfigStore::GetInt(char const* szSection, char const* szKey, int nDefault) {
    if (cMode == kModeINI) return GetIntINI(szSection, szKey, nDefault);
    if (cMode == kModeRegistry) return GetIntRegistry(szSection, szKey, nDefault);
    SV_ASSERT(false, txtBadMode.szGetInt);
    return 0;
}

int ConfigStore::GetString(char const* szSection, char const* szKey, char const* szDefault,
                           char* szDest, int nSize) {
    if (cMode == kModeINI) return GetStringINI(szSection, szKey, szDefault, szDest, nSize);
    if (cMode == kModeRegistry)
        return GetStringRegistry(szSection, szKey, szDefault, szDest, nSize);
    SV_ASSERT(false, txtBadMode.szGetString);
    return 0;
}

int ConfigStore::WriteInt(char const* szSection, char const* szKey, int nValue) {
    if (cMode == kModeINI) {
        char szText[CPString::kNumberText];
        std::snprintf(szText, sizeof szText, "%d", nValue);
        return WriteString(szSection, szKey, szText);
    }
    if (cMode == kModeRegistry) {
        SV_ASSERT(strRoot.Length(), "strRootKey.Length()");
        auto const nData = static_cast<std::uint32_t>(nValue);
        return WriteRegistry(szSection, szKey, platform::REG_DWORD, &nData, sizeof nData);
    }
    SV_ASSERT(false, txtBadMode.szWriteInt);
    return 0;
}

int ConfigStore::WriteString(char const* szSection, char const* szKey, char const* szValue) {
    if (cMode == kModeINI) {
        SV_ASSERT(strFile.Length(), "strINIFile.Length()");
        return platform::WritePrivateProfileStringA(szSection, szKey, szValue, strFile.GetBuffer());
    }
    if (cMode == kModeRegistry) {
        SV_ASSERT(strRoot.Length(), "strRootKey.Length()");
        char const* const szText = szValue != nullptr ? szValue : "";
        return WriteRegistry(szSection, szKey, platform::REG_SZ, szText,
                             static_cast<std::uint32_t>(std::strlen(szText) + 1));
    }
    SV_ASSERT(false, txtBadMode.szWriteString);
    return 0;
}

int ConfigStore::GetIntINI(char const* szSection, char const* szKey, int nDefault) {
    if (strFile.Length() == 0) {
        Exceptions::_get_gexeptnsThe().Comment(__FILE__, __LINE__, "NULL INI File Name");
        return nDefault;
    }
    auto const nValue = static_cast<int>(
        platform::GetPrivateProfileIntA(szSection, szKey, nDefault, strFile.GetBuffer()));
    Migrate([&] { WriteInt(szSection, szKey, nValue); });
    return nValue;
}

int ConfigStore::GetStringINI(char const* szSection, char const* szKey, char const* szDefault,
                              char* szDest, int nSize) {
    SV_ASSERT(strFile.Length(), "strINIFile.Length()");
    auto const nCount = static_cast<int>(
        platform::GetPrivateProfileStringA(szSection, szKey, szDefault, szDest,
                                           static_cast<std::uint32_t>(nSize), strFile.GetBuffer()));
    if (nSize > 0) Migrate([&] { WriteString(szSection, szKey, szDest); });
    return nCount;
}

int ConfigStore::GetIntRegistry(char const* szSection, char const* szKey, int nDefault) {
    SV_ASSERT(strRoot.Length(), "strRootKey.Length()");
    OpenKey key;
    CPString strPath = KeyPath(strRoot, szSection);
    if (!key.OpenForReading(strPath.GetBuffer())) return nDefault;
    std::uint32_t nValue = 0;
    std::uint32_t nBytes = sizeof nValue;
    if (platform::RegQueryValueExA(key.hkey, szKey, nullptr, nullptr,
                                   reinterpret_cast<std::uint8_t*>(&nValue), &nBytes) != 0)
        return nDefault;
    return static_cast<int>(nValue);
}

int ConfigStore::GetStringRegistry(char const* szSection, char const* szKey, char const* szDefault,
                                   char* szDest, int nSize) {
    SV_ASSERT(strRoot.Length(), "strRootKey.Length()");
    OpenKey key;
    CPString strPath = KeyPath(strRoot, szSection);
    if (!key.OpenForReading(strPath.GetBuffer())) return 0;
    SV_ASSERT(nSize > 0, "nSize > 0");
    auto nBytes = static_cast<std::uint32_t>(nSize);
    if (platform::RegQueryValueExA(key.hkey, szKey, nullptr, nullptr,
                                   reinterpret_cast<std::uint8_t*>(szDest), &nBytes) == 0) {
        // A value stored as a number brings no terminator.
        szDest[nBytes < static_cast<std::uint32_t>(nSize) ? nBytes : nSize - 1] = '\0';
        return 1;
    }
    char const* const szText = szDefault != nullptr ? szDefault : "";
    // The default goes into the caller's buffer as it is: one that does not
    // fit ends the process rather than run past the buffer.
    SV_ASSERT(std::strlen(szText) < static_cast<std::size_t>(nSize), "strlen(szDefault) < nSize");
    std::strcpy(szDest, szText);
    return 1;
}

int ConfigStore::WriteRegistry(char const* szSection, char const* szKey, std::uint32_t nType,
                               void const* pvData, std::uint32_t nBytes) {
    OpenKey key;
    CPString strPath = KeyPath(strRoot, szSection);
    if (key.CreateForWriting(strPath.GetBuffer()))
        platform::RegSetValueExA(key.hkey, szKey, 0, nType,
                                 static_cast<std::uint8_t const*>(pvData), nBytes);
    return 0;
}

// ---- ConfigData -------------------------------------------------------------

char ConfigData::cAccessMode = ConfigStore::kModeUnread;
std::uint32_t ConfigData::nInstanceCount = 0;

ConfigData::ConfigData() : strINIFile(GetConfigFilePath()), strRootKey(kDefaultRootKey) {
    ++nInstanceCount;
    if (cAccessMode == ConfigStore::kModeUnread)
        cAccessMode = ConfigStore::ReadAccessMode(strRootKey);
}

ConfigData::~ConfigData() {
    --nInstanceCount;
}

ConfigStore ConfigData::Store() {
    return ConfigStore(cAccessMode, strINIFile, strRootKey, kConfigDataTexts);
}

int ConfigData::GetInt(char const* szSection, char const* szKey, int nDefault) {
    return Store().GetInt(szSection, szKey, nDefault);
}

int ConfigData::WriteInt(char const* szSection, char const* szKey, int nValue) {
    return Store().WriteInt(szSection, szKey, nValue);
}

int ConfigData::GetString(char const* szSection, char const* szKey, char const* szDefault,
                          char* szDest, int nSize) {
    return Store().GetString(szSection, szKey, szDefault, szDest, nSize);
}

int ConfigData::GetString(char const* szSection, char const* szKey, char const* szDefault,
                          CPString* pstrDest) {
    SV_FAIL_IF_NIL(pstrDest, "pstrDest");
    char* const szBlock = new char[kStringBlockSize]();
    int const nResult = GetString(szSection, szKey, szDefault, szBlock, kStringBlockSize);
    pstrDest->Adopt(szBlock, kStringBlockSize, 1);
    return nResult;
}

int ConfigData::WriteString(char const* szSection, char const* szKey, char const* szValue) {
    return Store().WriteString(szSection, szKey, szValue);
}

char const* ConfigData::GetConfigFilePath() {
    static char const* const szPath = [] {
        static char szBuffer[kPathSize] = {};
        char szLibrary[kPathSize] = {};
        if (platform::GetFrameworkLibraryPath(szLibrary, kPathSize) == 0) return szBuffer;
        char* const pcSlash = std::strrchr(szLibrary, '/');
        if (pcSlash == nullptr) return szBuffer;
        pcSlash[1] = '\0';
        if (std::strlen(szLibrary) + sizeof kConfigFileName > kPathSize) return szBuffer;
        std::strcpy(szBuffer, szLibrary);
        std::strcat(szBuffer, kConfigFileName);
        return szBuffer;
    }();
    return szPath;
}
