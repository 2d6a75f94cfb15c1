// Arbitrary text through the three moniker readers. Bad text may only throw
// Exception; what was read must build back to text in both forms, the same
// through a string and through a caller's buffer, and walk a small graph
// finding, creating and cutting without fault.
#include <baseobj/exception.h>
#include <baseobj/mnkr.h>
#include <baseobj/resmnkr.h>
#include <baseobj/sorvmnkr.h>
#include <util/pstring.h>

#include "../tests/baseobj/navgraph.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

// Longer texts only repeat what these find; a comment of 65,535 bytes or
// more ends the process when scanned, by design.
constexpr std::size_t kMaxInput = 16384;

void Check(bool ok, char const* what) {
    if (ok) return;
    std::fprintf(stderr, "fuzz_moniker: %s\n", what);
    std::abort();
}

bool IsSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// "[" with nothing after it ends the resource reader through its fatal
// check, by design; such texts are left to it alone.
bool BracketAlone(std::string const& text) {
    std::size_t i = 0;
    while (i < text.size() && IsSpace(text[i]))
        ++i;
    if (i >= text.size() || text[i] != '[') return false;
    for (++i; i < text.size() && IsSpace(text[i]); ++i) {
    }
    return i >= text.size() || text[i] == '\xFF';
}

std::string Built(PMoniker& mk, short nForm) {
    mk._set_nFormCode(nForm);
    CPString str;
    mk.BuildMonikerString(&str);
    std::string const text = str.Length() > 0 ? str.GetBuffer() : "";
    std::vector<char> buf(text.size() + 1);
    mk.BuildMonikerString(buf.data());
    Check(text == buf.data(), "the text in a buffer differs from the text in a string");
    return text;
}

void BuildBoth(PMoniker& mk) {
    Built(mk, PMoniker::kArrowForm);
    Built(mk, 1);
    std::int32_t nSteps = 0;
    for (EdgeSpec* pes = mk.GetFirstStep(); pes != nullptr; pes = mk.GetNextStep())
        ++nSteps;
    Check(nSteps == mk.GetStepCount(), "the walk of the steps missed some");
}

template <class Moniker> void Read(std::string const& text) {
    Moniker mk;
    try {
        mk.Scan(text.c_str());
    } catch (Exception const&) {
        return;
    }
    BuildBoth(mk);
    navgraph::Sample g;
    mk.TraversePath(g.root, PMoniker::kFind);
    mk.ReleasePath(g.root);
}

void Walk(std::string const& text) {
    navgraph::Sample g;
    PMoniker mk;
    try {
        mk.ScanPath(text.c_str(), g.root);
    } catch (Exception const&) {
        return;
    }
    BuildBoth(mk);
    mk.FollowPath(g.root, PMoniker::kCreate, 0);
    mk.FollowPath(g.root, PMoniker::kFind, 0);
    mk.FollowPath(g.root, PMoniker::kFindAndCut, 1);
    try {
        mk.TraversePath(g.root, PMoniker::kCreate);
    } catch (Exception const&) {
    }
    mk.ReleasePath(g.root);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Exception::_set_bDisableMessageBoxes(1);
    PMoniker::_set_pfnNodeIndex(navgraph::ValueOf);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size > kMaxInput) return -1;
    std::string text(reinterpret_cast<char const*>(data), size);
    text.resize(std::strlen(text.c_str()));
    Read<SorvaneMoniker>(text);
    if (!BracketAlone(text)) Read<ResourceMoniker>(text);
    Walk(text);
    return 0;
}
