#include <baseobj/xmlparser.h>

#include <baseobj/fileobject.h>
#include <cpcoll/cpstack.h>
#include <util/exceptions.h>
#include <util/pstring.h>

#include <cstddef>
#include <cstring>
#include <istream>
#include <new>

namespace {

// The states of the parse; 8 is not used.
enum State : unsigned char {
    kOutside = 0,     // outside tags, or in a comment's or declaration's body
    kAfterOpen = 1,   // after "<"
    kName = 2,        // in the tag's name
    kInTag = 3,       // between a tag's name, attributes and its end
    kBeforeValue = 4, // after an attribute's "="
    kAttribute = 5,   // in an attribute's name
    kValue = 6,       // in a quoted value
    kText = 7,        // in the text behind a start tag
    kTagDone = 9,     // at the "<" that ends a tag and its text
};

inline bool AboveSpace(char c) {
    return static_cast<unsigned char>(c) > ' ';
}

// One entity by the byte behind its "&": the replacement and the count of
// bytes removed behind it; 0 when it is no entity.
struct Entity {
    char cReplacement;
    int nRemoved;
};

inline Entity Judge(char const* pcAmp) {
    switch (pcAmp[1]) {
    case 'a':
        return pcAmp[2] == 'p' ? Entity{'\'', 5} : Entity{'&', 4};
    case 'g':
        return {'>', 3};
    case 'l':
        return {'<', 3};
    case 'q':
        return {'"', 5};
    default:
        return {'&', 0};
    }
}

// One run of the state machine over a buffer. Positions are indices; the
// mark may stand one before the buffer.
class Machine {
public:
    Machine(pfnXMLStartHandler start, pfnXMLEndHandler end, pfnXMLDefaultHandler text, void* pvUser,
            char* pBuffer, std::size_t nLength)
        : pfnStart(start), pfnEnd(end), pfnText(text), pvUserData(pvUser), pc(pBuffer), n(nLength) {
    }

    unsigned int Run();

private:
    void Step(std::size_t& i);
    void OpenValue(std::size_t& i);
    void EmptyElement(std::size_t& i);
    void TagDone(std::size_t i);
    void ReportText(std::size_t i);
    void CleanAttributes();
    unsigned int Finish();

    pfnXMLStartHandler pfnStart;
    pfnXMLEndHandler pfnEnd;
    pfnXMLDefaultHandler pfnText;
    void* pvUserData;
    char* pc;
    std::size_t n;

    State state = kOutside;
    std::ptrdiff_t nMark = 0;
    char* pszName = nullptr;
    std::size_t nTextStart = 0;
    int nAttributes = 0;
    bool bBangTag = false;
    char const* apszAttributes[CXMLParser::kAttributeSlots] = {};
};

unsigned int Machine::Run() {
    for (std::size_t i = 0; i < n; ++i) {
        // Text runs until the next "<"; its line ends become spaces.
        if (state == kOutside || state == kText) {
            while (i < n && pc[i] != '<') {
                if (pc[i] == '\r' || pc[i] == '\n') pc[i] = ' ';
                ++i;
            }
            if (i == n) break;
        }
        if (pc[i] == '\r' || pc[i] == '\n') pc[i] = ' ';
        Step(i);
    }
    return Finish();
}

// Handles the byte at i; some transitions look at the same byte again in
// the next state, some move i on.
void Machine::Step(std::size_t& i) {
    for (;;) {
        char const c = pc[i];
        switch (state) {
        case kOutside:
            if (c == '<') {
                nMark = static_cast<std::ptrdiff_t>(i) - 1;
                pc[i] = '\0';
                bBangTag = false;
                state = kAfterOpen;
            }
            return;
        case kAfterOpen:
            if (AboveSpace(c)) {
                pszName = pc + i;
                if (c == '!') bBangTag = true;
                state = kName;
            }
            return;
        case kName:
            if (!AboveSpace(c)) {
                pc[i] = '\0';
                state = kInTag;
                continue;
            }
            if (c == '>') {
                pc[i] = '\0';
                nTextStart = i + 1;
                state = kText;
            }
            return;
        case kInTag:
            if (bBangTag) {
                // A comment's or declaration's body is passed over as
                // outside text, up to the next "<".
                nMark = static_cast<std::ptrdiff_t>(i);
                state = kOutside;
                continue;
            }
            if (c == '>') {
                pc[i] = '\0';
                nTextStart = i + 1;
                state = kText;
            } else if (c == '/') {
                EmptyElement(i);
            } else if (c != '?' && AboveSpace(c)) {
                apszAttributes[2 * nAttributes] = pc + i;
                state = kAttribute;
            }
            return;
        case kAttribute:
            if (c == '=') {
                pc[i] = '\0';
                state = kBeforeValue;
                return;
            }
            if (c == '>') {
                // An attribute without a value isn't counted.
                nTextStart = i + 1;
                state = kInTag;
                continue;
            }
            return;
        case kBeforeValue:
            if (c == '"') OpenValue(i);
            return;
        case kValue:
            if (c == '"') {
                pc[i] = '\0';
                state = kInTag;
                continue;
            }
            return;
        case kText:
            if (c == '<') {
                nMark = static_cast<std::ptrdiff_t>(i);
                state = kTagDone;
                continue;
            }
            return;
        case kTagDone:
            TagDone(i);
            return;
        }
        return;
    }
}

// The value counts into the list at its opening quote.
void Machine::OpenValue(std::size_t& i) {
    // The list is a fixed array: a 50th pair and its closing null would run
    // past it.
    SV_ASSERT(nAttributes < CXMLParser::kMaxAttributes, "nAttributes < 49");
    pc[i] = '\0';
    if (i + 1 < n && pc[i + 1] == '"') {
        pc[i + 1] = '\0';
        apszAttributes[2 * nAttributes + 1] = pc + i;
        ++i;
        state = kInTag;
    } else {
        apszAttributes[2 * nAttributes + 1] = pc + i + 1;
        state = kValue;
    }
    ++nAttributes;
    apszAttributes[2 * nAttributes] = nullptr;
}

void Machine::CleanAttributes() {
    apszAttributes[2 * nAttributes] = nullptr;
    CXMLParser::RemoveSpecialSymbols(pszName);
    for (int k = 0; k < 2 * nAttributes; ++k)
        CXMLParser::RemoveSpecialSymbols(const_cast<char*>(apszAttributes[k]));
}

// "<name .../>": the start handler, then the end handler with the text at
// the "/" itself; then on behind the next ">".
void Machine::EmptyElement(std::size_t& i) {
    CleanAttributes();
    pfnStart(pvUserData, pszName, apszAttributes);
    pfnEnd(pvUserData, pc + i);
    nAttributes = 0;
    while (i < n && pc[i] != '>')
        ++i;
    nMark = static_cast<std::ptrdiff_t>(i);
    state = kOutside;
}

// At the "<" behind a tag: an end tag is reported by its name; a start tag
// with its attributes, then the text that followed it.
void Machine::TagDone(std::size_t i) {
    nMark = static_cast<std::ptrdiff_t>(i) - 1;
    pc[i] = '\0';
    if (pszName[0] == '/') {
        pfnEnd(pvUserData, pszName + 1);
    } else {
        CleanAttributes();
        pfnStart(pvUserData, pszName, apszAttributes);
        ReportText(i);
    }
    nAttributes = 0;
    state = kAfterOpen;
}

// The text between the start tag and the "<" at i, less its leading blanks.
// The skip moves its start and its counter both, so it tests every second
// byte of the blanks; it stops at the end of the buffer.
void Machine::ReportText(std::size_t i) {
    std::size_t const nText = i - nTextStart;
    std::size_t nSkipped = 0;
    for (std::size_t k = 0; k < nText; ++k) {
        std::size_t const nLook = nTextStart + k;
        if (nLook >= n || AboveSpace(pc[nLook])) break;
        ++nSkipped;
        ++nTextStart;
    }
    if (nText == nSkipped) return;
    // The length is taken before the entities shrink.
    char* const pszText = pc + nTextStart;
    CXMLParser::RemoveSpecialSymbols(pszText);
    pfnText(pvUserData, pszText, static_cast<int>(nText - nSkipped));
}

unsigned int Machine::Finish() {
    auto const nEnd = static_cast<std::ptrdiff_t>(n);
    if (nMark >= nEnd) return 0;
    for (std::ptrdiff_t k = nMark < 0 ? 0 : nMark; k < nEnd; ++k)
        if (pc[k] == '\0') pc[k] = ' ';
    return static_cast<unsigned int>(nEnd - nMark);
}

} // namespace

CXMLParser::~CXMLParser() = default;

unsigned int CXMLParser::ParseBuffer(char* pBuffer, unsigned int nLength) {
    SV_FAIL_IF_NIL(pfnStartHandler, "pfnStartHandler");
    SV_FAIL_IF_NIL(pfnEndHandler, "pfnEndHandler");
    SV_FAIL_IF_NIL(pfnDefaultHandler, "pfnDefaultHandler");
    if (pBuffer == nullptr) return 0;
    Machine machine(pfnStartHandler, pfnEndHandler, pfnDefaultHandler, pvUserData, pBuffer,
                    nLength);
    return machine.Run();
}

// One pass, reading ahead of writing: the scan goes on behind each replaced
// byte, so "&amp;lt;" ends as "&lt;". Where fewer bytes than an entity's
// follow the "&", only those up to the end are removed.
void CXMLParser::RemoveSpecialSymbols(char* psz) {
    if (psz == nullptr) return;
    char* pcRead = std::strchr(psz, '&');
    if (pcRead == nullptr) return;
    char* pcWrite = pcRead;
    while (*pcRead != '\0') {
        if (*pcRead == '&') {
            Entity const entity = Judge(pcRead);
            if (entity.nRemoved != 0) {
                *pcWrite++ = entity.cReplacement;
                ++pcRead;
                for (int k = 0; k < entity.nRemoved && *pcRead != '\0'; ++k)
                    ++pcRead;
                continue;
            }
        }
        *pcWrite++ = *pcRead++;
    }
    *pcWrite = '\0';
}

XMLReader::~XMLReader() = default;

void XMLReader::SetHandlers(pfnXMLStartHandler pfnStart, pfnXMLEndHandler pfnEnd,
                            pfnXMLDefaultHandler pfnDefault, void* pvUser) {
    SetUserData(pvUser);
    SetElementHandler(pfnStart, pfnEnd);
    SetDefaultHandler(pfnDefault);
}

short XMLReader::ReadXMLFile(char const* pszFile, short nMode, pfnXMLStartHandler pfnStart,
                             pfnXMLEndHandler pfnEnd, pfnXMLDefaultHandler pfnDefault, void* pvUser,
                             short bIsText) {
    SetHandlers(pfnStart, pfnEnd, pfnDefault, pvUser);
    if (pszFile == nullptr) return 1;
    if (bIsText != 0) {
        // The caller's text is the buffer: parsed, and changed, in place.
        char* const pszText = const_cast<char*>(pszFile);
        ParseBuffer(pszText, static_cast<unsigned int>(std::strlen(pszText)));
        return 1;
    }
    std::int32_t nLength = 0;
    char* const pcBuffer = FileObject::CreateBuffer(pszFile, nMode, &nLength);
    if (pcBuffer != nullptr) {
        ParseBuffer(pcBuffer, static_cast<unsigned int>(nLength));
        FileObject::DeleteBuffer(pcBuffer);
    }
    return 1;
}

short XMLReader::ReadXML(std::istream* pis, pfnXMLStartHandler pfnStart, pfnXMLEndHandler pfnEnd,
                         pfnXMLDefaultHandler pfnDefault, void* pvUser) {
    SetHandlers(pfnStart, pfnEnd, pfnDefault, pvUser);
    if (pis == nullptr) return 1;
    CPString str;
    std::int32_t const nRead = str.ReadIStream(*pis);
    if (nRead > 0) ParseBuffer(str.GetBuffer(), static_cast<unsigned int>(nRead));
    return 1;
}

namespace {


constexpr char kHeader[] = "<?xml version = \"1.0\"?>";
constexpr char kAttributeAfterText[] = "<! ****** XML ERROR: ATTRIBS AFTER TEXT >\n\t\t";

} // namespace

XMLEmitter::XMLEmitter() : pstkTags(new CPStack(kMaxOpenTags)) {
    pstkTags->AddRef();
}

XMLEmitter::~XMLEmitter() {
    while (void* pv = pstkTags->Pop())
        delete static_cast<XMLTagState*>(pv);
    pstkTags->Release();
    if (pfile != nullptr) std::fclose(pfile);
}

short XMLEmitter::OpenFile(char* pszName) {
    if (pszName == nullptr) return 0;
    if (pfile != nullptr) std::fclose(pfile);
    pfile = std::fopen(pszName, "w");
    if (pfile == nullptr) return 0;
    bOpen = 1;
    nDepth = 0;
    EmitHeader();
    return 1;
}

void XMLEmitter::CloseFile() {
    EmitFooter();
    bOpen = 0;
    if (pfile != nullptr) std::fclose(pfile);
    pfile = nullptr;
}

void XMLEmitter::EmitHeader() {
    Put(kHeader);
}

void XMLEmitter::Put(char const* psz) {
    if (bOpen != 0 && psz != nullptr) std::fputs(psz, pfile);
}

void XMLEmitter::Indent() {
    for (int k = 0; k < nDepth; ++k)
        std::fputc('\t', pfile);
}

XMLTagState* XMLEmitter::Newest() const {
    return static_cast<XMLTagState*>(pstkTags->Top());
}

void XMLEmitter::StartTag(char* pszName) {
    if (bOpen == 0) return;
    // The record's name is a fixed field.
    SV_ASSERT(pszName != nullptr && std::strlen(pszName) < XMLTagState::kNameSize,
                      "strlen(pszName) < 64");
    if (XMLTagState* const pxmtsParent = Newest(); pxmtsParent == nullptr) {
        Put("\n\n"); // the first tag stands one blank line below the header
    } else {
        pxmtsParent->bHasChildren = 1;
        if (pxmtsParent->bStartClosed == 0) {
            pxmtsParent->bStartClosed = 1;
            Put(">");
        }
        Put("\n");
    }
    Indent();
    Put("<");
    Put(pszName);
    ++nDepth;
    auto* const pxmtsThe = new (std::nothrow) XMLTagState;
    SV_FAIL_IF_NIL(pxmtsThe, "pxmtsThe");
    std::strcpy(pxmtsThe->szName, pszName);
    if (pstkTags->Push(pxmtsThe) == 0) delete pxmtsThe; // a full stack loses the tag
}

void XMLEmitter::EndTag() {
    if (bOpen == 0) return;
    auto* const pxmtsThe = static_cast<XMLTagState*>(pstkTags->Pop());
    if (pxmtsThe == nullptr) return;
    --nDepth;
    if (pxmtsThe->bHasChildren != 0) {
        Put("\n");
        Indent();
    }
    if (pxmtsThe->bHasChildren == 0 && pxmtsThe->bHasText == 0) {
        Put("/>");
    } else {
        Put("</");
        Put(pxmtsThe->szName);
        Put(">");
    }
    delete pxmtsThe;
}

void XMLEmitter::Attribute(char* pszName, char* pszValue) {
    if (bOpen == 0) return;
    XMLTagState* const pxmtsThe = Newest();
    SV_FAIL_IF_NIL(pxmtsThe, "pxmtsThe");
    if (pxmtsThe->bHasText != 0) Put(kAttributeAfterText);
    Put(" ");
    Put(pszName);
    Put("=\"");
    Put(pszValue);
    Put("\"");
}

void XMLEmitter::Text(char* pszText, short bStartClosed) {
    if (bOpen == 0) return;
    XMLTagState* const pxmtsThe = Newest();
    SV_FAIL_IF_NIL(pxmtsThe, "pxmtsThe");
    pxmtsThe->bHasText = 1;
    if (bStartClosed == 0) Put(">");
    Put(pszText);
}
