// One model of iteration for every collection: a collection makes position
// objects on request, an Iterator owns one and walks it, and an
// IteratorAction is a walk's callback as an object. A position remembers the
// collection's transaction number from where it was placed; any later step
// after a change of the collection throws IterationFault.
#pragma once

#include <util/createable.h>
#include <platform/export.h>

#include <cstdint>

class CPCollection;
class CPInternalContainer;
class CPString;
class IterationState;

// The bare value thrown by a step on a changed collection, and by a walk
// started again from inside its own action.
inline constexpr unsigned int IterationFault = 0xDEADF0CC;

// The walking functions of an Iterator: a condition answers a 16-bit truth,
// an action answers nothing. Each comes in a form that sees the element and
// one that sees the node holding it.
using IteratorCondFunc = short (*)(void* pvItem, void* pvUser);
using IteratorActionFunc = void (*)(void* pvItem, void* pvUser);
using IteratorContainerCondFunc = short (*)(CPInternalContainer* pic, void* pvUser);
using IteratorContainerActionFunc = void (*)(CPInternalContainer* pic, void* pvUser);

class SORVANE_API Iterator : public virtual Createable {
public:
    Iterator() = default;
    // Copies share the one position; it is counted, so that each copy can
    // give up its hold without freeing it under the other.
    Iterator(Iterator const& other);
    Iterator& operator=(Iterator const& other);
    ~Iterator() override;

    short forEach(IteratorActionFunc pfnAction, void* pvArg);
    short forEach(IteratorContainerActionFunc pfnAction, void* pvArg);
    short forEachThat(IteratorCondFunc pfnCond, void* pvCondArg, IteratorActionFunc pfnAction,
                      void* pvActionArg);
    short forEachThat(IteratorContainerCondFunc pfnCond, void* pvCondArg,
                      IteratorContainerActionFunc pfnAction, void* pvActionArg);
    // A new collection of the walked one's class, the caller's. The container
    // form adds through AddInternalContainer, which every collection ignores,
    // so it always answers an empty collection.
    CPCollection* allThat(IteratorCondFunc pfnCond, void* pvArg);
    CPCollection* allThat(IteratorContainerCondFunc pfnCond, void* pvArg);
    // Both forms answer the element, not the container.
    void* firstThat(IteratorCondFunc pfnCond, void* pvArg);
    void* firstThat(IteratorContainerCondFunc pfnCond, void* pvArg);
    CPInternalContainer* firstinternalcontainerThat(IteratorCondFunc pfnCond, void* pvArg);
    CPInternalContainer* firstinternalcontainerThat(IteratorContainerCondFunc pfnCond, void* pvArg);
    void* nextThat(IteratorCondFunc pfnCond, void* pvArg);
    void* nextThat(IteratorContainerCondFunc pfnCond, void* pvArg);
    CPInternalContainer* nextinternalcontainerThat(IteratorCondFunc pfnCond, void* pvArg);
    CPInternalContainer* nextinternalcontainerThat(IteratorContainerCondFunc pfnCond, void* pvArg);

    IterationState* _get_pitsThe() const { return pitsThe; }
    // Gives up the position held, if any, and holds the new one (may be null).
    void _set_pitsThe(IterationState* pits);

protected:
    std::int16_t bInWalk = 0;
    IterationState* pitsThe = nullptr;

private:
    IterationState* Position() const;
    template <class Retrieve, class Match> void* Scan(bool fromTop, Retrieve retrieve, Match match);
};

class SORVANE_API Iterable : public Iterator {
public:
    // The Iterator inside a collection never gets a position: at this point
    // the derived class, which knows how to make one, does not exist yet.
    Iterable() { pitsThe = Iterable::CreateIterationState(); }
    Iterable(Iterable const& other) = default;
    Iterable& operator=(Iterable const& other) = default;
    ~Iterable() override = default;

    // A new position of the collection's own kind, owned by the caller with
    // a count of 0: delete it, or AddRef it and let Release delete it.
    virtual IterationState* CreateIterationState() { return nullptr; }
    // A new Iterator with a new position, owned by the caller (count 0).
    Iterator* GetIterator();
};

class SORVANE_API IterationState : public virtual Createable {
public:
    explicit IterationState(CPCollection* pcl) : pclAssociated(pcl) {}
    // A copy is a new position at the same place, held by nobody yet.
    IterationState(IterationState const& other)
        : Createable(), nXACT(other.nXACT), pclAssociated(other.pclAssociated) {}
    IterationState& operator=(IterationState const& other);
    ~IterationState() override = default;

    // Placing: take the collection's transaction number, then place. These
    // are the only way to revive a position after the collection changed.
    short gotoTop();
    short gotoBottom();
    short gotoIDX(std::uint32_t n);
    // Stepping and reading: throw IterationFault when the collection has
    // changed since the position was placed.
    short gotoNext();
    short gotoPrev();
    void* retrieve();
    CPInternalContainer* retrieveInternalContainer();

    virtual short vgotoTop() = 0;
    virtual short vgotoBottom() = 0;
    virtual short vgotoIDX(std::uint32_t n);
    virtual short vgotoNext() = 0;
    virtual short vgotoPrev() = 0;
    virtual void* vretrieve() = 0;
    virtual CPInternalContainer* vretrieveInternalContainer() = 0;

    std::int16_t _get_nXACT() const { return nXACT; }
    CPCollection* _get_pclAssociated() const { return pclAssociated; }

protected:
    void CheckXACT() const;

    // Meaningless until the position is first placed.
    std::int16_t nXACT = 0;
    CPCollection* pclAssociated;

private:
    void* get();
};

// A walk's callback as an object: the collection fills the fields before
// each call of Execute, which subclasses override and read them in.
class SORVANE_API IteratorAction {
public:
    IteratorAction() = default;
    IteratorAction(IteratorAction const&) = default;
    IteratorAction& operator=(IteratorAction const&) = default;
    virtual ~IteratorAction() = default;

    virtual short Execute() = 0;

    void SetKeyNum(std::uintptr_t n) {
        Key = n;
        bKeyIsString = 0;
    }
    void SetKeyString(CPString* pstr) {
        Key = reinterpret_cast<std::uintptr_t>(pstr);
        bKeyIsString = 1;
    }

    void* pvItem = nullptr;
    // A number, or the CPString * of the key when bKeyIsString is 1.
    std::uintptr_t Key = 0;
    char bKeyIsString = 0;
};
