// What the counted dictionary and the counted tree share. Each keeps its
// entries in an inner keyed collection and holds one reference per entry:
// taken when the entry is stored, given back when the entry is destroyed.
// An inner collection that could not be made stores nothing and answers
// nothing. Internal to the two units; the classes keep their own interfaces.
#pragma once

#include <util/createable.h>

namespace crkeyed {

// CheckEntry is the unit's own fatal check of a stored entry, so that its
// report names the unit that stored it.
template <class Inner, void (*CheckEntry)(Createable*)> struct CountedKeys {
    Inner* inner;

    // Stores an entry whose key is not there yet and counts its reference.
    // The key is tested first, so the first entry under a key stays even
    // where the inner collection would replace it.
    template <class Exists, class Store>
    short AddFirst(Exists const& exists, Store const& store, Createable* pcrEntry) const {
        if (inner == nullptr) return 0;
        if (exists() != 0) return 0;
        store(*inner);
        CheckEntry(pcrEntry);
        pcrEntry->AddRef();
        return 1;
    }

    // Destroys a stored entry, giving back its reference. 0 when the key
    // holds nothing.
    template <class Find, class Destroy>
    static short RemoveFound(Find const& find, Destroy const& destroy) {
        if (find() == nullptr) return 0;
        destroy();
        return 1;
    }

    template <class Op> void Do(Op const& op) const {
        if (inner != nullptr) op(*inner);
    }

    // The inner collection's element as an entry; Element is what the
    // element really is (an entry, or the inner collection's own holder).
    template <class Element = Createable, class Op> Createable* Entry(Op const& op) const {
        return inner != nullptr ? static_cast<Element*>(op(*inner)) : nullptr;
    }

    // The inner collection's answer, or none without one.
    template <class Result, class Op> Result Answer(Result none, Op const& op) const {
        return inner != nullptr ? static_cast<Result>(op(*inner)) : none;
    }

    template <class Op> short Exists(Op const& op) const {
        return inner != nullptr && op(*inner) != 0 ? 1 : 0;
    }
};

} // namespace crkeyed
