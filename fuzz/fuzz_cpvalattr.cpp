// Arbitrary attribute names and texts written into a value and read back.
// The input is lines of "name=text"; a name alone deletes the attribute. A
// write or read may refuse only by Exception (a unit text the scanner does
// not read, a type change that fails). A free name reads back the very
// value written, and a deleted free name reads as null.
#include <baseobj/cpval.h>
#include <baseobj/exception.h>
#include <omdiunit/omdiunit.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::size_t kMaxInput = 4096;
constexpr std::size_t kMaxText = 1024;

constexpr std::array<std::string_view, 18> kFixedNames{
    "UnitString",
    "UpperBound",
    "LowerBound",
    "Vector",
    "Parent",
    "DefinitionStatus",
    "DefinitionStatusReason",
    "LockStatus",
    "LockStatusReason",
    "DataType",
    "RelationEncoder",
    "PreserveUnitsOnAssignment",
    "CannotAssumeUndefinedState",
    "Purpose",
    "Selector",
    "ValueParameter",
    "ValCount",
    "Tolerance",
};

void Check(bool ok, char const* what) {
    if (ok) return;
    std::fprintf(stderr, "fuzz_cpvalattr: %s\n", what);
    std::abort();
}

bool IsFixed(std::string const& name) {
    for (std::string_view fixed : kFixedNames)
        if (fixed == name) return true;
    return false;
}

bool IsBorrowed(std::string const& name) {
    return name == "UpperBound" || name == "LowerBound" || name == "Parent";
}

// Whether the value is a number or a text decides how the fixed names read it.
CPValue* NewWritten(std::string const& text) {
    CPValue* pval = CPValue::NewValue();
    char* pcEnd = nullptr;
    double const d = std::strtod(text.c_str(), &pcEnd);
    if (!text.empty() && pcEnd != nullptr && *pcEnd == '\0') {
        pval->Set(d);
    } else {
        pval->_set_nDataType(TY_STRING);
        pval->Set(text.c_str());
    }
    return pval;
}

void WriteAndRead(CPValue& val, std::vector<CPValue*>& kept, std::string const& name,
                  std::string const& text) {
    CPValue* const pval = NewWritten(text);
    // The bounds and the parent are not held by the value: they stay alive
    // until it has gone.
    kept.push_back(pval);
    try {
        Check(val.SetAttribute(name.c_str(), pval) == 1, "a write was refused");
    } catch (Exception const&) {
        return;
    }
    CPValue* const pvalRead = val.GetAttribute(name.c_str());
    if (!IsFixed(name)) {
        // The dictionary keeps an empty name where no name finds it.
        Check(pvalRead == pval || (name.empty() && pvalRead == nullptr),
              "a free name did not read back its value");
        return;
    }
    if (IsBorrowed(name)) {
        Check(pvalRead == pval, "a bound or the parent did not read back itself");
        return;
    }
    Check(pvalRead != nullptr, "a fixed name read as null");
    static char szText[1 << 16];
    try {
        pvalRead->GetAsString(szText, 6);
    } catch (Exception const&) {
    }
    pvalRead->Release();
}

void Delete(CPValue& val, std::string const& name) {
    try {
        val.DeleteAttribute(name.c_str());
    } catch (Exception const&) {
        return;
    }
    if (!IsFixed(name))
        Check(val.GetAttribute(name.c_str()) == nullptr, "a deleted free name still reads");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Exception::_set_bDisableMessageBoxes(1);
    UnitInitialize(nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size > kMaxInput) return -1;
    std::string const input(reinterpret_cast<char const*>(data), size);
    double const dTolerance = CPValue::_get_dbTolerance();
    std::vector<CPValue*> kept;
    {
        CPValue val;
        val.Set(1.0);
        val.AddSubvalue(2.0, "x");
        std::size_t at = 0;
        while (at < input.size()) {
            std::size_t end = input.find('\n', at);
            if (end == std::string::npos) end = input.size();
            std::string const line = input.substr(at, end - at);
            at = end + 1;
            std::size_t const eq = line.find('=');
            std::string const name = line.substr(0, eq);
            if (name.find('\0') != std::string::npos) continue;
            if (eq == std::string::npos) {
                Delete(val, name);
                continue;
            }
            std::string text = line.substr(eq + 1, kMaxText);
            text = text.substr(0, text.find('\0'));
            WriteAndRead(val, kept, name, text);
        }
    }
    for (CPValue* pval : kept)
        pval->Release();
    CPValue::_set_dbTolerance(dTolerance);
    return 0;
}
