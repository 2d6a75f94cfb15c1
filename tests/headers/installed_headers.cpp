// Every installed header at once, under -pedantic with warnings as errors,
// and the calls a C++ programmer on 64-bit Linux writes first: each must
// compile, unambiguously. What they answer is checked by the layers' tests.
#include "all_headers.h"

#include <cstdint>
#include <sstream>
#include <type_traits>
#include <utility>

int main() {
    Token tok;
    tok.SetValue(5L);
    tok.SetValue(5UL, 1);
    tok.SetValue(5LL);
    long const l = tok;
    unsigned long const ul = tok;
    long long const ll = tok;
    bool const b =
        tok.Match(5L) && tok.Match(5UL) && tok.Match(5LL) && tok == 5 && 5L == tok && tok != 6U;
    tok.SetValue(true);
    bool const truth = tok;
    static_assert(std::is_same_v<decltype(std::declval<Token const&>()._get_szVal()), char const*>);
    bool const collection = Token::MapStringToType("TY_COLLECTION") == TY_COLLECTION;

    std::istringstream in("100000 5 words\nmore");
    Scanner scn(&in);
    scn.SetDumpStream(new std::ostringstream); // the scanner's: Reset deletes it
    bool const scanned = scn.Match(100000L) && !scn.MatchPeek(5UL) && !scn.Match(5LL) &&
                         !scn.Match(true) && scn.Consume2EOL() == 1;
    scn.Reset();
    CharCQ const queue;
    bool const queued = queue[0] == '\0';

    auto* const pcr = new Createable;
    pcr->AddRef();
    CrDictionary dct;
    CrTree tree;
    std::uintptr_t const kWide = (std::uintptr_t{1} << 32) + 3;
    dct.AddKeyNum(kWide, pcr);
    tree.AddKeyNum(kWide, pcr);
    bool const keyed = dct[kWide] == pcr && tree[kWide] == pcr && dct[3] == nullptr;

    CPStack stk;
    stk.Push(pcr);
    CPStack const& cstk = stk;
    delete stk.CreateIterationState(); // the caller's, with a count of 0
    CPSymmetricMap map;
    map.AddMapping(CPString("a"), CPString("b"), pcr);
    CPString const key("a");
    CPString out;
    bool const mapped = cstk[0] == pcr && map.RetrieveA(&key, &out) == pcr;

    CPString context("on the stack");
    ExceptionContext guard(&context);

    map.Clear();
    dct.RemoveAll();
    tree.RemoveAll();
    pcr->Release();
    bool const all = l == 5 && ul == 5 && ll == 5 && b && truth && collection && scanned &&
                     queued && keyed && mapped;
    return all ? 0 : 1;
}
