#include <baseobj/exception.h>

#include <baseobj/token.h>
#include <cpcoll/cpstack.h>
#include <platform/msgbox.h>
#include <util/exceptions.h>
#include <util/pstring.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string>

namespace {

// The language's words: code, text, in the scanner's table, in the printed
// table. 31527 only scans, so it prints as nothing; 31700 only prints.
constexpr LanguageKeyword kKeywords[] = {
    {31500, "not", true, true},
    {31501, "exists", true, true},
    {31503, "valtype", true, true},
    {31504, "valcount", true, true},
    {31505, "classname", true, true},
    {31506, "selector", true, true},
    {31507, "atindex", true, true},
    {31508, "GetProperty", true, true},
    {31509, "InvokeMethod", true, true},
    {31510, "smart_expr", true, true},
    {31511, "maxvalue", true, true},
    {31512, "minvalue", true, true},
    {31513, "maxvalue_index", true, true},
    {31514, "minvalue_index", true, true},
    {31515, "exists_item", true, true},
    {31516, "ifdef", true, true},
    {31517, "ifndef", true, true},
    {31518, "typecast", true, true},
    {31519, "sum", true, true},
    {31520, "GetObject", true, true},
    {31521, "phasename", true, true},
    {31522, "matchtype", true, true},
    {31523, "GetCaseObject", true, true},
    {31524, "query", true, true},
    {31525, "valname", true, true},
    {31526, "GetAssociatedItem", true, true},
    {31527, "traverse_relation", true, false},
    {31528, "display", true, true},
    {31529, "default", true, true},
    {31530, "case", true, true},
    {31531, "item_lineage", true, true},
    {31532, "item_progeny", true, true},
    {31533, "item_methods", true, true},
    {31534, "this", true, true},
    {31535, "GetCellText", true, true},
    {31536, "ValueRange", true, true},
    {31600, "for", true, true},
    {31601, "while", true, true},
    {31602, "if", true, true},
    {31603, "switch", true, true},
    {31604, "smart_switch", true, true},
    {31605, "function", true, true},
    {31606, "print", true, true},
    {31607, "input", true, true},
    {31608, "branch", true, true},
    {31609, "evaluate_table", true, true},
    {31610, "execute_script", true, true},
    {31611, "lock", true, true},
    {31612, "unlock", true, true},
    {31613, "setselector", true, true},
    {31614, "addvalue", true, true},
    {31615, "addnamedvalue", true, true},
    {31616, "create_item", true, true},
    {31617, "CreateCORBAObject", true, true},
    {31618, "CreateAutomationObject", true, true},
    {31619, "DeleteObject", true, true},
    {31620, "SetProperty", true, true},
    {31621, "InvokeMethod", true, true},
    {31622, "foreach", true, true},
    {31623, "delete_item", true, true},
    {31624, "delete_variable", true, true},
    {31625, "clone_item", true, true},
    {31626, "convert_units", true, true},
    {31629, "else", true, true},
    {31630, "include", true, true},
    {31631, "define", true, true},
    {31632, "local", true, true},
    {31633, "promote_to_collection", true, true},
    {31634, "GetObject", true, true},
    {31635, "execute_function", true, true},
    {31636, "namevalue", true, true},
    {31637, "display_table", true, true},
    {31638, "add_relation", true, true},
    {31639, "remove_relation", true, true},
    {31640, "class", true, true},
    {31641, "CreateScriptObject", true, true},
    {31642, "dprint", true, true},
    {31643, "runlevel", true, true},
    {31644, "init", true, true},
    {31645, "nochangeprop", true, true},
    {31646, "CreateItemScriptObject", true, true},
    {31647, "specialize", true, true},
    {31648, "generalize", true, true},
    {31649, "CreateClassScriptObject", true, true},
    {31650, "LoadModel", true, true},
    {31651, "RevertModel", true, true},
    {31652, "SetCellText", true, true},
    {31653, "DeleteCell", true, true},
    {31654, "SetCellAttribute", true, true},
    {31655, "SetValueRange", true, true},
    {31656, "break", true, true},
    {31657, "next", true, true},
    {31658, "return", true, true},
    {kFormatMarkerCode, "%s", false, true},
};

// An error's message: the text before the detail, whether the detail is
// used at all, and the text after it.
struct ErrorText {
    short nCode;
    char const* szBefore;
    bool bDetail;
    char const* szAfter;
};

constexpr ErrorText kErrors[] = {
    {101, "", true, ": Incorrect Parameters"},
    {106, "Invalid Range ", true, ""},
    {107, "Invalid parameter type ", true, ""},
    {200, "Branch", false, ""},
    {201, "break", false, ""},
    {202, "next", false, ""},
    {203, "return", false, ""},
    {210, "Value stack not present", false, ""},
    {211, "Symbol table not present", false, ""},
    {213, "Input stream not present.", false, ""},
    {214, "Expected input, got ", true, ""},
    {215, "Null token", false, ""},
    {216, "Model not present.", false, ""},
    {230, "Unresolved symbol ", true, ""},
    {250, "Syntax Error: ", true, ""},
    {260, "Expected equals sign, got ", true, ""},
    {261, "Expected string, got ", true, ""},
    {262, "Expected open bracket (, got ", true, ""},
    {263, "Expected closing bracket ), got ", true, ""},
    {264, "Expected semicolon, got ", true, ""},
    {265, "Expected closing brace }, got ", true, ""},
    {266, "Expected quotation mark, got ", true, ""},
    {267, "Expected colon, got ", true, ""},
    {268, "Expected comma, got ", true, ""},
    {269, "Expected open brace {, got ", true, ""},
    {270, "Expected closing square bracket ], got ", true, ""},
    {271, "Expected closing angular bracket >, got ", true, ""},
    {272, "Expected BEGIN, got ", true, ""},
    {273, "Expected CSL keyword, got ", true, ""},
    {274, "String literal too long: ", true, ""},
    {290, "Unexpected closing brace", true, ""},
    {291, "Unexpected closing bracket", false, ""},
    {292, "Unexpected end of file: ", true, ""},
    {293, "Expected ", true, " got unexpected end of line."},
    {301, "No return value", false, ""},
    {302, "Invalid object class ", true, ""},
    {303, "Invalid object name ", true, ""},
    {304, "Failure setting property ", true, ""},
    {305, "Failure getting property ", true, ""},
    {306, "Failure invoking method ", true, ""},
    {307, "Bounds violation ", true, ""},
    {309, "Null expression result", false, ""},
    {310, "Invalid Typecast", false, ""},
    {320, "Invalid Item name ", true, ""},
    {321, "Cannot assign to locked value ", true, ""},
    {323, "Expected hyphen, got ", true, ""},
    {324, "Cannot combine expressions ", true, ""},
    {325, "Unable to load ", true, ""},
    {326, "Failure initializing ", true, ""},
    {327, "", true, ": Execution failure"},
    {328, "Too many iterations", true, ""},
    {342, "Newline in string", true, ""},
    {343, "", true, ": No header cell"},
    {344, "", true, ": Cannot tokenize"},
    {345, "", true, ": Not a collection"},
    {346, "Expected Dereference Operator '->', got : ", true, ""},
    {347, "", true, ": Cannot Assign to collection without Selector"},
    {348, "Stack Overflow", false, ""},
    {350, "Cannot assign undefined to value", true, ""},
    {401, "Unknown File Version", false, ""},
    {402, "Unable to Load File", false, ""},
    {403, "File Not Found", false, ""},
    {500, "Invalid stack configuration", false, ""},
    {501, "Division by zero", false, ""},
    {600, "", true, ": C DLL Call threw exception"},
    {701, "Record Format Not Defined", false, ""},
    {1343, "Unknown unit string ", true, ""},
    {1344, "Invalid unit conversion ", true, ""},
    {2000, "", true, ""},
};

constexpr std::size_t kTokenTextSize = 256;

ErrorText const* FindError(int nCode) {
    for (ErrorText const& error : kErrors)
        if (error.nCode == nCode) return &error;
    return nullptr;
}

// Appends to the message, which holds 1,024 bytes: a message that would run
// past them is cut.
class MessageWriter {
public:
    explicit MessageWriter(char (&szMessage)[Exception::kMessageSize])
        : sz(szMessage), nUsed(std::strlen(szMessage)) {}

    void Append(char const* text) {
        if (text == nullptr) return;
        std::size_t const nRoom = Exception::kMessageSize - 1 - nUsed;
        std::size_t const n = std::min(std::strlen(text), nRoom);
        std::memcpy(sz + nUsed, text, n);
        nUsed += n;
        sz[nUsed] = '\0';
    }

private:
    char* sz;
    std::size_t nUsed;
};

void itAppendContext(void* pvItem, void* pvWriter) {
    auto* const writer = static_cast<MessageWriter*>(pvWriter);
    writer->Append(static_cast<CPString*>(pvItem)->GetBuffer());
    writer->Append("\n");
}

} // namespace

std::span<LanguageKeyword const> LanguageKeywords() {
    return kKeywords;
}

short Exception::bDisableMessageBoxes = 0;

CPStack& Exception::_get_stkContexts() {
    static CPStack stkContexts;
    return stkContexts;
}

Exception::Exception(short nCode, char const* szDetail) {
    BuildErrorMessage(nCode, szDetail);
}

Exception::Exception(short nCode, Token* ptok, char const* szDetail) {
    // Without a token the detail stands alone.
    if (ptok == nullptr) {
        BuildErrorMessage(nCode, szDetail);
        return;
    }
    char szWork[kTokenTextSize];
    char const* szToken = szWork;
    if (ptok->_get_nDataType() == TY_STRING) {
        // What the C library prints for a null text.
        szToken = ptok->_get_szVal() != nullptr ? ptok->_get_szVal() : "(null)";
    } else {
        ptok->FetchAsString(szWork, sizeof szWork, 6);
    }
    if (szDetail == nullptr) szDetail = " ";
    nRow = ptok->_get_nRow();
    nCol = ptok->_get_nCol();
    CPString strDetail;
    if (nRow > 0 && nCol > 0)
        strDetail.SPrintF("(%d:%d): \"%s\" %s", nRow, nCol, szToken, szDetail);
    else
        strDetail.SPrintF("\"%s\" %s", szToken, szDetail);
    BuildErrorMessage(nCode, strDetail.GetBuffer());
}

// The caller's format is applied to the code alone. A conversion other than
// "%d" would have read an argument that is not there; it is copied as it
// stands instead.
Exception::Exception(char const* szFormat, short nCode) {
    if (szFormat == nullptr) return;
    MessageWriter writer(szMessage);
    if (std::strstr(szFormat, "%d") == nullptr) {
        writer.Append(szFormat);
        return;
    }
    std::string text;
    for (char const* p = szFormat; *p != '\0'; ++p) {
        if (p[0] == '%' && p[1] == 'd') {
            text += std::to_string(nCode);
            ++p;
        } else if (p[0] == '%' && p[1] == '%') {
            text += '%';
            ++p;
        } else {
            text += *p;
        }
    }
    writer.Append(text.c_str());
}

void Exception::AugmentMessage(char const* sz) {
    MessageWriter writer(szMessage);
    writer.Append("\n  ");
    writer.Append(sz);
}

void Exception::BuildErrorMessage(int nCode, char const* szDetail) {
    if (szDetail == nullptr) szDetail = "";
    nException = static_cast<short>(nCode);
    szMessage[0] = '\0';
    MessageWriter writer(szMessage);
    _get_stkContexts().ForEach(itAppendContext, &writer);
    if (ErrorText const* error = FindError(nCode)) {
        writer.Append(error->szBefore);
        if (error->bDetail) writer.Append(szDetail);
        writer.Append(error->szAfter);
    } else {
        writer.Append(("Unknown error code " + std::to_string(nCode)).c_str());
    }
    // The flow-control codes are thrown as signals, never shown.
    if (nCode >= 200 && nCode <= 203) return;
    if (bDisableMessageBoxes != 0) return;
    platform::MessageBoxA(nullptr, szMessage, "Exception", platform::MB_OK);
}

// ExceptionContext -----------------------------------------------------------

ExceptionContext::ExceptionContext(char const* sz)
    : pstrThisContext(new (std::nothrow) CPString(sz)) {
    SV_FAIL_IF_NIL(pstrThisContext, "pstrThisContext");
    Push();
}

// A string with a count of 0 is nobody's to release: the guard holds a copy
// of it (sharing its text), which its end frees.
ExceptionContext::ExceptionContext(CPString* pstr)
    : pstrThisContext(pstr->_get_nRefCount() == 0 ? new (std::nothrow) CPString(*pstr) : pstr) {
    SV_FAIL_IF_NIL(pstrThisContext, "pstrThisContext");
    Push();
}

// The stack holds 255 texts. A guard whose text found no room keeps it out of
// the stack, so that its end does not pop an outer guard's text.
void ExceptionContext::Push() {
    pstrThisContext->AddRef();
    bPushed = Exception::_get_stkContexts().Push(pstrThisContext) != 0;
}

// Pops the top, which is this guard's own text while guards end in order.
ExceptionContext::~ExceptionContext() {
    CPString* const pstrTop =
        bPushed ? static_cast<CPString*>(Exception::_get_stkContexts().Pop()) : pstrThisContext;
    if (pstrTop != nullptr) pstrTop->Release();
}
