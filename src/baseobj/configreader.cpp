#include <baseobj/configreader.h>

namespace {

constexpr char kDefaultINIFile[] = "sorvane.ini";
constexpr char kDefaultRootKey[] = "SOFTWARE\\Brondavik\\Sorvane\\";
constexpr ConfigStore::BadModeTexts kConfigReaderTexts{"1 == 0", "1 == 0", "1 == 0", "1 == 0"};

} // namespace

// ---- ConfigReader -----------------------------------------------------------

char ConfigReader::cAccessMode = ConfigStore::kModeUnread;
std::uint32_t ConfigReader::nInstanceCount = 0;

ConfigReader::ConfigReader() : strINIFile(kDefaultINIFile), strRootKey(kDefaultRootKey) {
    ++nInstanceCount;
    if (cAccessMode == ConfigStore::kModeUnread)
        cAccessMode = ConfigStore::ReadAccessMode(strRootKey);
}

ConfigReader::~ConfigReader() {
    --nInstanceCount;
}

ConfigStore ConfigReader::Store() {
    return ConfigStore(cAccessMode, strINIFile, strRootKey, kConfigReaderTexts);
}

int ConfigReader::GetInt(char const* szSection, char const* szKey, int nDefault) {
    return Store().GetInt(szSection, szKey, nDefault);
}

int ConfigReader::WriteInt(char const* szSection, char const* szKey, int nValue) {
    return Store().WriteInt(szSection, szKey, nValue);
}

int ConfigReader::GetString(char const* szSection, char const* szKey, char const* szDefault,
                            char* szDest, int nSize) {
    return Store().GetString(szSection, szKey, szDefault, szDest, nSize);
}

int ConfigReader::WriteString(char const* szSection, char const* szKey, char const* szValue) {
    return Store().WriteString(szSection, szKey, szValue);
}
