// Strings and collections: a CPString built up and written to a stream, a
// CPList of pointers sorted and walked by its cursor, a CPDictionary keyed
// by text, and an Iterator that refuses to step on a list changed under it.
//
// Collections hold untyped pointers and own nothing: the pumps below live on
// the stack and outlive every collection that points at them.
#include <cpcoll/cpdict.h>
#include <cpcoll/cplist.h>
#include <cpcoll/iterate.h>
#include <util/pstring.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <sstream>

namespace {

struct Pump {
    CPString tag;
    double kW;
};

// Sort hands over pointers to the element pointers.
int ByTag(void const* a, void const* b) {
    Pump* pa = *static_cast<Pump* const*>(a);
    Pump* pb = *static_cast<Pump* const*>(b);
    return pa->tag.StrCmp(pb->tag.GetBuffer());
}

} // namespace

int main() {
    // A string: numbers append as text, and FILTER_WORD_SPLIT puts a blank
    // before each inner capital.
    CPString title("HeatExchanger");
    title.Filter(CPString::FILTER_WORD_SPLIT);
    title += " rated ";
    title += 42;
    title += " kW";
    std::printf("text: %s (%d characters, CRC-16 0x%04X)\n", title.GetBuffer(), title.Length(),
                title._get_nCRC());

    // The stream form is the framework's binary one; it reads back equal.
    std::stringstream stream;
    stream << title;
    CPString back;
    stream >> back;
    std::printf("stream form: %zu bytes, reads back %s\n", stream.str().size(),
                back == title ? "equal" : "different");

    // A list: Add appends, Sort reorders, and the list's own cursor walks it.
    Pump pumps[] = {{"P-103", 7.5}, {"P-101", 15.0}, {"P-102", 11.0}};
    Pump spare{"P-104", 5.5};
    CPList list;
    for (Pump& pump : pumps)
        list.Add(&pump);
    list.Sort(ByTag);
    std::printf("list of %u, sorted:", list.Length());
    list.GotoTop();
    for (void* pv = list.Retrieve(); pv != nullptr; list.Next(), pv = list.Retrieve())
        std::printf(" %s", static_cast<Pump*>(pv)->tag.GetBuffer());
    std::printf("\n");

    // A dictionary keyed by text; a second value under the same key is
    // ignored, the first stays.
    CPDictionary byTag;
    for (Pump& pump : pumps)
        byTag.AddKeyString(pump.tag.GetBuffer(), &pump);
    byTag.AddKeyString("P-102", &pumps[0]);
    auto* found = static_cast<Pump*>(byTag.FindKeyString("P-102"));
    std::printf("dictionary: P-102 runs at %.1f kW; P-999 %s\n", found->kW,
                byTag.ExistsKeyString("P-999") != 0 ? "exists" : "is not there");

    // An Iterator walks a position of its own, leaving the list's cursor
    // alone. A position placed before a change throws IterationFault at its
    // next step: it cannot walk a list that is no longer the one it knew.
    std::unique_ptr<Iterator> walk(list.GetIterator());
    double total = 0.0;
    walk->forEach(
        [](void* pv, void* sum) { *static_cast<double*>(sum) += static_cast<Pump*>(pv)->kW; },
        &total);
    std::printf("iterator: %.1f kW in all\n", total);
    IterationState* position = walk->_get_pitsThe();
    position->gotoTop();
    list.Add(&spare);
    try {
        position->gotoNext();
        std::printf("iterator: stepped on a changed list\n");
        return 1;
    } catch (unsigned int fault) {
        std::printf("iterator: a step after the change throws 0x%X\n", fault);
    }
    return back == title && found == &pumps[2] ? 0 : 1;
}
