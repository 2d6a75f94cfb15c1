// Arbitrary bytes as a user unit file, read into freshly built tables; the
// units read are then parsed and converted by their symbols. A file may only
// add units or stop reading; nothing may crash, hang or leak.
#include <omdiunit/cuserunit.h>
#include <omdiunit/omdiunit.h>
#include <omdiunit/unitpriv.h>
#include <util/exceptions.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

namespace {

constexpr std::size_t kMaxInput = 8192;
// A user symbol longer than this does not fit the dimension's text area.
constexpr std::size_t kMaxWrittenSymbol = 40;

void Check(bool ok, char const* what) {
    if (ok) return;
    std::fprintf(stderr, "fuzz_userunits: %s\n", what);
    std::abort();
}

void AddToTable(CUserUnit* puu, void*) {
    UnitSymbolTable()->Add(HashPair{UnitTextOf(puu->Symbol()), puu});
}

void ExerciseUnit(CUserUnit& unit) {
    char const* symbol = UnitTextOf(unit.Symbol());
    Check(std::strlen(symbol) < 256, "a symbol longer than its area");
    try {
        std::uint32_t const id = IdFromString(symbol);
        (void)ConvertToSI(1.0, symbol, 0);
        (void)UnitGetInfo(symbol);
        if (std::strlen(UnitTextOf(CUserUnit::DimensionSymbol())) < kMaxWrittenSymbol)
            (void)StringFromId(id);
    } catch (FWError const&) {
        Check(std::strncmp(FWError::ErrorString(), "exponent overflow", 17) == 0 ||
                  std::strncmp(FWError::ErrorString(), "unit string too big", 19) == 0,
              "unexpected error for a user symbol");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size > kMaxInput) return 0;
    UnitUnInitialize();
    UnitInitialize(nullptr);
    std::istringstream in(std::string(reinterpret_cast<char const*>(data), size));
    try {
        CUserUnit::ReadUnits(in, AddToTable, nullptr);
    } catch (FWError const&) {
        Check(false, "a string stream went bad");
    }
    std::uint32_t const count = CUserUnit::Count();
    for (std::uint32_t i = 0; i < count; ++i)
        ExerciseUnit(*CUserUnit::At(i));
    UnitUnInitialize();
    // The units go with the input; the last one takes the array with it.
    for (std::uint32_t i = count; i > 0; --i)
        delete CUserUnit::At(i - 1);
    Check(CUserUnit::Count() == 0 && CUserUnit::LiveCount() == 0, "user units outlived the input");
    return 0;
}
