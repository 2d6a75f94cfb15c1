#include <baseobj/configreader.h>

#include <baseobj/token.h>
#include <baseobj/xmlparser.h>
#include <util/exceptions.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

namespace {

constexpr char kDefaultINIFile[] = "sorvane.ini";
constexpr char kDefaultRootKey[] = "SOFTWARE\\Brondavik\\Sorvane\\";
constexpr ConfigStore::BadModeTexts kConfigReaderTexts{"1 == 0", "1 == 0", "1 == 0", "1 == 0"};

// The dialect.
constexpr char kSectionElement[] = "Section";
constexpr char kParameterElement[] = "Parameter";
constexpr char kSectionNameAttribute[] = "Nsme";
constexpr char kNameAttribute[] = "Name";
constexpr char kValueAttribute[] = "Val";
constexpr char kTypeAttribute[] = "Type";
constexpr char kStringSpecAdditions[] = {'/', '\\', ':', ' '};
constexpr std::uint32_t kDictionarySize = 256;
constexpr std::size_t kValueTextSize = 16384;
constexpr char kValuePrecision = 6;

// The value of the named attribute, or null.
char const* AttributeValue(char const** ppszAttributes, char const* szName) {
    for (char const** pp = ppszAttributes; pp[0] != nullptr; pp += 2)
        if (std::strcmp(pp[0], szName) == 0) return pp[1];
    return nullptr;
}

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

// ---- ConfigFile -------------------------------------------------------------

CPDictionary* ConfigFile::pdctCFWorking = nullptr;

ConfigFile::ConfigFile() : CPDictionary(kDictionarySize) {
    for (char const c : kStringSpecAdditions)
        scnThe.AugmentStringSpec(c);
}

ConfigFile::~ConfigFile() {
    DestroyAll(&itReleaseSection);
}

void ConfigFile::itReleaseToken(void* pvItem, void*) {
    static_cast<Token*>(pvItem)->Release();
}

void ConfigFile::itReleaseSection(void* pvItem, void*) {
    auto* const pdct = static_cast<CPDictionary*>(pvItem);
    pdct->DestroyAll(&itReleaseToken);
    pdct->Release();
}

short ConfigFile::Load(char const* szPath) {
    SV_FAIL_IF_NIL(szPath, "szPath");
    std::ifstream in(szPath, std::ios::binary);
    if (!in) return 0;
    // The reader parses in place, in a buffer of ours that survives a throw.
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    pdctCFWorking = nullptr;
    XMLReader rdr;
    try {
        rdr.ReadXMLFile(text.data(), 0, &itStartElement, &itEndElement, &itText, this, 1);
    } catch (...) {
        pdctCFWorking = nullptr;
        throw;
    }
    pdctCFWorking = nullptr;
    return 1;
}

void ConfigFile::itStartElement(void* pvUser, char const* pszName, char const** ppszAttributes) {
    auto* const pcf = static_cast<ConfigFile*>(pvUser);
    if (std::strcmp(pszName, kSectionElement) == 0) pcf->OpenSection(ppszAttributes);
    if (std::strcmp(pszName, kParameterElement) == 0) pcf->AddParameter(ppszAttributes);
}

void ConfigFile::itEndElement(void*, char const* pszName) {
    if (std::strcmp(pszName, kSectionElement) != 0) return;
    if (pdctCFWorking == nullptr) throw static_cast<int>(kSectionNotOpen);
    pdctCFWorking = nullptr;
}

void ConfigFile::itText(void*, char const*, int) {}

// A section that comes twice is one: its parameters join the first's.
void ConfigFile::OpenSection(char const** ppszAttributes) {
    if (pdctCFWorking != nullptr) throw static_cast<int>(kSectionInSection);
    if (ppszAttributes[0] == nullptr ||
        std::strcmp(ppszAttributes[0], kSectionNameAttribute) != 0 ||
        ppszAttributes[1] == nullptr || ppszAttributes[1][0] == '\0')
        throw static_cast<int>(kSectionWithoutName);
    pdctCFWorking = Section(ppszAttributes[1], true);
}

// The first parameter of a name in a section wins.
void ConfigFile::AddParameter(char const** ppszAttributes) {
    auto* const ptok = new Token;
    ptok->AddRef();
    char const* const szName = AttributeValue(ppszAttributes, kNameAttribute);
    if (pdctCFWorking == nullptr || szName == nullptr) {
        ptok->Release();
        throw static_cast<int>(pdctCFWorking == nullptr ? kParameterOutsideSection
                                                        : kParameterWithoutName);
    }
    char const* const szType = AttributeValue(ppszAttributes, kTypeAttribute);
    ptok->_set_nDataType(szType != nullptr && szType[0] == 'N' ? TY_SHORT : TY_STRING);
    char const* const szValue = AttributeValue(ppszAttributes, kValueAttribute);
    ptok->SetValueFromString(szValue != nullptr ? szValue : "");
    pdctCFWorking->AddKeyString(szName, ptok);
    if (pdctCFWorking->FindKeyString(szName) != ptok) ptok->Release();
}

short ConfigFile::Save(char const* szPath) {
    SV_FAIL_IF_NIL(szPath, "szPath");
    std::FILE* const pfile = std::fopen(szPath, "wb");
    if (pfile == nullptr) return 0;
    std::string text;
    for (std::int32_t n = 0; n < static_cast<std::int32_t>(Length()); ++n) {
        CPDictionaryAssociation* const pdaSection = RetrieveDAIDX(n);
        auto* const pdct = static_cast<CPDictionary*>(pdaSection->GetValue());
        text = text + "<Section Name=\"" + pdaSection->GetKeyString(static_cast<char*>(nullptr)) +
               "\">\r\n";
        for (std::int32_t m = 0; m < static_cast<std::int32_t>(pdct->Length()); ++m) {
            CPDictionaryAssociation* const pda = pdct->RetrieveDAIDX(m);
            std::string value(kValueTextSize, '\0');
            static_cast<Token*>(pda->GetValue())
                ->FetchAsString(value.data(), value.size(), kValuePrecision);
            text = text + "    <Parameter Name=\"" +
                   pda->GetKeyString(static_cast<char*>(nullptr)) + "\" Val=\"" + value.c_str() +
                   "\"/>\r\n";
        }
        text += "</Section>\r\n";
    }
    std::fwrite(text.data(), 1, text.size(), pfile);
    std::fclose(pfile);
    return 1;
}

CPDictionary* ConfigFile::Section(char const* szSection, bool bMake) {
    auto* pdct = static_cast<CPDictionary*>(FindKeyString(szSection));
    if (pdct != nullptr || !bMake) return pdct;
    pdct = new CPDictionary(kDictionarySize);
    SV_FAIL_IF_NIL(pdct, "pdctCFWorking");
    pdct->AddRef();
    AddKeyString(szSection, pdct);
    return pdct;
}

Token* ConfigFile::Parameter(char const* szSection, char const* szParameter, bool bMake) {
    CPDictionary* const pdct = Section(szSection, bMake);
    if (pdct == nullptr) return nullptr;
    auto* ptok = static_cast<Token*>(pdct->FindKeyString(szParameter));
    if (ptok != nullptr || !bMake) return ptok;
    ptok = new Token;
    ptok->AddRef();
    pdct->AddKeyString(szParameter, ptok);
    return ptok;
}

short ConfigFile::GetInt(char const* szSection, char const* szParameter) {
    Token const* const ptok = Parameter(szSection, szParameter, false);
    return ptok != nullptr ? ptok->FetchShort() : 0;
}

char const* ConfigFile::GetString(char const* szSection, char const* szParameter) {
    Token const* const ptok = Parameter(szSection, szParameter, false);
    return ptok != nullptr ? ptok->FetchStringPointer() : nullptr;
}

void ConfigFile::SetInt(char const* szSection, char const* szParameter, short nValue) {
    Parameter(szSection, szParameter, true)->SetValue(nValue);
}

void ConfigFile::SetString(char const* szSection, char const* szParameter, char const* szValue) {
    Parameter(szSection, szParameter, true)->SetValue(szValue);
}
