#include <omdiunit/cuserunit.h>

#include <util/exceptions.h>

#include <cstdlib>
#include <istream>
#include <memory>
#include <new>

namespace {

constexpr char const* kUnit = "omdiunit/cuserunit";
constexpr int kLineNullUnit = 87;
constexpr int kLineNoMemory = 94;
constexpr int kLineBadFile = 167;
constexpr std::uint32_t kArrayStep = 32;
// Lines are read into areas of this size; a longer line fails the stream.
constexpr std::streamsize kLineArea = 256;

} // namespace

CPString* CUserUnit::pstrDimensionName = nullptr;
CPString* CUserUnit::pstrDimensionSymbol = nullptr;
CUserUnit** CUserUnit::ppuuUnits = nullptr;
std::uint32_t CUserUnit::nUserUnits = 0;
std::int32_t CUserUnit::nLiveCount = 0;

CUserUnit::CUserUnit(char const* name, char const* symbol, double factor, double offset)
    : CUnit(unitid::kUserUnitId), strName(name), strSymbol(symbol), dFactor(factor),
      dOffset(offset) {
    ++nLiveCount;
}

// The array goes with the last unit, so that nothing points into it after.
CUserUnit::~CUserUnit() {
    if (--nLiveCount == 0 && ppuuUnits != nullptr) {
        std::free(ppuuUnits);
        ppuuUnits = nullptr;
        nUserUnits = 0;
    }
}

CPString& CUserUnit::DimensionName() {
    if (pstrDimensionName == nullptr) pstrDimensionName = new CPString();
    return *pstrDimensionName;
}

CPString& CUserUnit::DimensionSymbol() {
    if (pstrDimensionSymbol == nullptr) pstrDimensionSymbol = new CPString();
    return *pstrDimensionSymbol;
}

CUserUnit* CUserUnit::At(std::uint32_t nIndex) {
    return nIndex < nUserUnits ? ppuuUnits[nIndex] : nullptr;
}

void CUserUnit::AddToArray(CUserUnit* puu) {
    if (puu == nullptr) throw FWError(3, kUnit, kLineNullUnit);
    if (nUserUnits % kArrayStep == 0) {
        void* pv = std::realloc(ppuuUnits, (nUserUnits + kArrayStep) * sizeof(CUserUnit*));
        if (pv == nullptr) throw FWError(1, kUnit, kLineNoMemory);
        ppuuUnits = static_cast<CUserUnit**>(pv);
    }
    ppuuUnits[nUserUnits++] = puu;
}

namespace {

// One unit line: a factor, a word that is the symbol, and the rest of the
// line, which is the name. Each read works on whatever the last one left.
struct UnitLine {
    double dFactor = 0.0;
    char szSymbol[kLineArea] = "";
    char szName[kLineArea] = "";
};

UnitLine ReadUnitLine(std::istream& in) {
    UnitLine line;
    in >> line.dFactor;
    in >> std::ws;
    in.width(kLineArea);
    in >> line.szSymbol;
    in >> std::ws;
    in.getline(line.szName, kLineArea);
    return line;
}

} // namespace

void CUserUnit::ReadUnits(std::istream& in, void (*pfnAdded)(CUserUnit* puu, void* pvArg),
                          void* pvArg) {
    std::int32_t nLine = 0;
    while (!in.eof()) {
        in >> std::ws;
        int const c = in.peek();
        if (c == std::char_traits<char>::eof()) break;
        if (c == '#') {
            char szComment[kLineArea];
            in.getline(szComment, kLineArea);
            continue;
        }
        if (nLine == 0) {
            char szDimension[kLineArea] = "";
            in.getline(szDimension, kLineArea);
            DimensionName() = szDimension;
        } else {
            UnitLine const line = ReadUnitLine(in);
            if (nLine == 1) DimensionSymbol() = line.szSymbol;
            auto puu = std::make_unique<CUserUnit>(line.szName, line.szSymbol, line.dFactor, 0.0);
            AddToArray(puu.get());
            CUserUnit* pAdded = puu.release();
            if (pfnAdded != nullptr) pfnAdded(pAdded, pvArg);
        }
        if (in.bad()) throw FWError(2, kUnit, kLineBadFile);
        ++nLine;
    }
}
