/// \file
/// One model of iteration for every collection: a collection makes position
/// objects on request, an Iterator owns one and walks it, and an
/// IteratorAction is a walk's callback as an object. A position remembers the
/// collection's transaction number from where it was placed; any later step
/// after a change of the collection throws IterationFault.
#pragma once

#include <util/createable.h>
#include <platform/export.h>

#include <cstdint>

class CPCollection;
class CPInternalContainer;
class CPString;
class IterationState;

/// The bare value thrown by a step on a changed collection, and by a walk
/// started again from inside its own action.
inline constexpr unsigned int IterationFault = 0xDEADF0CC;

// The walking functions of an Iterator: a condition answers a 16-bit truth,
// an action answers nothing. Each comes in a form that sees the element and
// one that sees the node holding it.
/// A walk's condition on an element: non-zero means a match.
using IteratorCondFunc = short (*)(void* pvItem, void* pvUser);
/// A walk's action on an element.
using IteratorActionFunc = void (*)(void* pvItem, void* pvUser);
/// A walk's condition on the node holding an element.
using IteratorContainerCondFunc = short (*)(CPInternalContainer* pic, void* pvUser);
/// A walk's action on the node holding an element.
using IteratorContainerActionFunc = void (*)(CPInternalContainer* pic, void* pvUser);

/// \brief Walks a collection through a position object that it holds.
///
/// A step after the collection changed under the position throws
/// IterationFault, and so does a walk started again from inside its own
/// action.
class SORVANE_API Iterator : public virtual Createable {
public:
    Iterator() = default;
    /// Copies share the one position; it is counted, so that each copy can give
    /// up its hold without freeing it under the other.
    /// \param other the iterator copied.
    Iterator(Iterator const& other);
    /// Shares the other's position, giving up the one held.
    /// \param other the iterator copied.
    /// \return this iterator.
    Iterator& operator=(Iterator const& other);
    /// Gives up the position held.
    ~Iterator() override;

    /// Calls the action on every element, from the top.
    /// \param pfnAction the action.
    /// \param pvArg its second argument.
    /// \return 1.
    /// \throws unsigned IterationFault when the collection changes during the walk, or
    ///         for a walk started from inside its own action.
    short forEach(IteratorActionFunc pfnAction, void* pvArg);
    /// Calls the action on the node of every element, from the top.
    /// \param pfnAction the action.
    /// \param pvArg its second argument.
    /// \return 1.
    /// \throws unsigned IterationFault as the element form.
    short forEach(IteratorContainerActionFunc pfnAction, void* pvArg);
    /// Calls the action on every element that meets the condition.
    /// \param pfnCond the condition.
    /// \param pvCondArg its second argument.
    /// \param pfnAction the action.
    /// \param pvActionArg its second argument.
    /// \return 1.
    /// \throws unsigned IterationFault as forEach().
    short forEachThat(IteratorCondFunc pfnCond, void* pvCondArg, IteratorActionFunc pfnAction,
                      void* pvActionArg);
    /// Calls the action on the node of every element whose node meets the condition.
    /// \param pfnCond the condition.
    /// \param pvCondArg its second argument.
    /// \param pfnAction the action.
    /// \param pvActionArg its second argument.
    /// \return 1.
    /// \throws unsigned IterationFault as forEach().
    short forEachThat(IteratorContainerCondFunc pfnCond, void* pvCondArg,
                      IteratorContainerActionFunc pfnAction, void* pvActionArg);
    /// The elements that meet the condition.
    /// \param pfnCond the condition.
    /// \param pvArg its second argument.
    /// \return a new collection of the walked one's class, which the caller owns
    ///         (count 0); it shares the elements.
    CPCollection* allThat(IteratorCondFunc pfnCond, void* pvArg);
    /// The container form adds through AddInternalContainer, which every
    /// collection ignores, so it always answers an empty collection.
    /// \param pfnCond the condition.
    /// \param pvArg its second argument.
    /// \return a new, empty collection, which the caller owns (count 0).
    CPCollection* allThat(IteratorContainerCondFunc pfnCond, void* pvArg);
    /// Places the position at the first element that meets the condition.
    /// \param pfnCond the condition.
    /// \param pvArg its second argument.
    /// \return the element, or null.
    void* firstThat(IteratorCondFunc pfnCond, void* pvArg);
    /// Places the position at the first element whose node meets the condition.
    /// \param pfnCond the condition.
    /// \param pvArg its second argument.
    /// \return the element (not its node), or null.
    void* firstThat(IteratorContainerCondFunc pfnCond, void* pvArg);
    /// Places the position at the first element that meets the condition.
    /// \param pfnCond the condition.
    /// \param pvArg its second argument.
    /// \return the element's node, or null.
    CPInternalContainer* firstinternalcontainerThat(IteratorCondFunc pfnCond, void* pvArg);
    /// Places the position at the first node that meets the condition.
    /// \param pfnCond the condition.
    /// \param pvArg its second argument.
    /// \return the node, or null.
    CPInternalContainer* firstinternalcontainerThat(IteratorContainerCondFunc pfnCond, void* pvArg);
    /// Moves the position to the next element that meets the condition.
    /// \param pfnCond the condition.
    /// \param pvArg its second argument.
    /// \return the element, or null.
    /// \throws unsigned IterationFault when the collection changed since the position was placed.
    void* nextThat(IteratorCondFunc pfnCond, void* pvArg);
    /// Moves the position to the next element whose node meets the condition.
    /// \param pfnCond the condition.
    /// \param pvArg its second argument.
    /// \return the element (not its node), or null.
    /// \throws unsigned IterationFault when the collection changed since the position was placed.
    void* nextThat(IteratorContainerCondFunc pfnCond, void* pvArg);
    /// Moves the position to the next element that meets the condition.
    /// \param pfnCond the condition.
    /// \param pvArg its second argument.
    /// \return the element's node, or null.
    /// \throws unsigned IterationFault when the collection changed since the position was placed.
    CPInternalContainer* nextinternalcontainerThat(IteratorCondFunc pfnCond, void* pvArg);
    /// Moves the position to the next node that meets the condition.
    /// \param pfnCond the condition.
    /// \param pvArg its second argument.
    /// \return the node, or null.
    /// \throws unsigned IterationFault when the collection changed since the position was placed.
    CPInternalContainer* nextinternalcontainerThat(IteratorContainerCondFunc pfnCond, void* pvArg);

    /// \return the position held, or null.
    IterationState* _get_pitsThe() const { return pitsThe; }
    /// Gives up the position held, if any, and holds the new one.
    /// \param pits the new position, or null; the iterator takes a reference.
    void _set_pitsThe(IterationState* pits);

protected:
    /// Non-zero during a forEach walk.
    std::int16_t bInWalk = 0;
    /// The position held.
    IterationState* pitsThe = nullptr;

private:
    IterationState* Position() const;
    template <class Retrieve, class Match> void* Scan(bool fromTop, Retrieve retrieve, Match match);
};

/// \brief What a collection is to its iterators: a maker of position objects.
class SORVANE_API Iterable : public Iterator {
public:
    /// The Iterator inside a collection never gets a position: at this point
    /// the derived class, which knows how to make one, does not exist yet.
    Iterable() { pitsThe = Iterable::CreateIterationState(); }
    /// \param other the object copied.
    Iterable(Iterable const& other) = default;
    /// \param other the object copied.
    /// \return this object.
    Iterable& operator=(Iterable const& other) = default;
    ~Iterable() override = default;

    /// A new position of the collection's own kind.
    /// \return the position, owned by the caller with a count of 0: delete it,
    ///         or AddRef it and let Release delete it. Null here.
    virtual IterationState* CreateIterationState() { return nullptr; }
    /// \return a new Iterator with a new position, owned by the caller (count 0).
    Iterator* GetIterator();
};

/// \brief A position in a collection, with the collection's transaction
/// number from where it was placed.
class SORVANE_API IterationState : public virtual Createable {
public:
    /// \param pcl the collection, which must outlive the position.
    explicit IterationState(CPCollection* pcl) : pclAssociated(pcl) {}
    /// A copy is a new position at the same place, held by nobody yet.
    /// \param other the position copied.
    IterationState(IterationState const& other)
        : Createable(), nXACT(other.nXACT), pclAssociated(other.pclAssociated) {}
    /// Takes the other's place and collection.
    /// \param other the position copied.
    /// \return this position.
    IterationState& operator=(IterationState const& other);
    ~IterationState() override = default;

    /// Takes the collection's transaction number and goes to the first element;
    /// placing is the only way to revive a position after the collection changed.
    /// \return non-zero when there is one.
    short gotoTop();
    /// Takes the collection's transaction number and goes to the last element.
    /// \return non-zero when there is one.
    short gotoBottom();
    /// Takes the collection's transaction number and goes to an element by index.
    /// \param n the index, from 0.
    /// \return non-zero when there is one.
    short gotoIDX(std::uint32_t n);
    /// Steps to the next element.
    /// \return non-zero when there is one.
    /// \throws unsigned IterationFault when the collection changed since the position was placed.
    short gotoNext();
    /// Steps to the previous element.
    /// \return non-zero when there is one.
    /// \throws unsigned IterationFault when the collection changed since the position was placed.
    short gotoPrev();
    /// \return the element at the position, or null.
    /// \throws unsigned IterationFault when the collection changed since the position was placed.
    void* retrieve();
    /// \return the node at the position, or null.
    /// \throws unsigned IterationFault when the collection changed since the position was placed.
    CPInternalContainer* retrieveInternalContainer();

    /// The collection's own gotoTop().
    /// \return non-zero when there is a first element.
    virtual short vgotoTop() = 0;
    /// The collection's own gotoBottom().
    /// \return non-zero when there is a last element.
    virtual short vgotoBottom() = 0;
    /// The collection's own gotoIDX(); here, steps from the top.
    /// \param n the index, from 0.
    /// \return non-zero when there is such an element.
    virtual short vgotoIDX(std::uint32_t n);
    /// The collection's own gotoNext().
    /// \return non-zero when there is a next element.
    virtual short vgotoNext() = 0;
    /// The collection's own gotoPrev().
    /// \return non-zero when there is a previous element.
    virtual short vgotoPrev() = 0;
    /// The collection's own retrieve().
    /// \return the element, or null.
    virtual void* vretrieve() = 0;
    /// The collection's own retrieveInternalContainer().
    /// \return the node, or null.
    virtual CPInternalContainer* vretrieveInternalContainer() = 0;

    /// \return the transaction number taken when the position was placed.
    std::int16_t _get_nXACT() const { return nXACT; }
    /// \return the collection.
    CPCollection* _get_pclAssociated() const { return pclAssociated; }

protected:
    /// \throws unsigned IterationFault when the collection changed since the position was placed.
    void CheckXACT() const;

    /// The collection's transaction number when placed; meaningless until then.
    std::int16_t nXACT = 0;
    /// The collection.
    CPCollection* pclAssociated;

private:
    void* get();
};

/// \brief A walk's callback as an object: the collection fills the fields
/// before each call of Execute(), which subclasses override and read them in.
class SORVANE_API IteratorAction {
public:
    IteratorAction() = default;
    /// Copies the fields.
    IteratorAction(IteratorAction const&) = default;
    /// Copies the fields.
    /// \return this action.
    IteratorAction& operator=(IteratorAction const&) = default;
    virtual ~IteratorAction() = default;

    /// Acts on the element and key in the fields.
    /// \return the subclass's answer.
    virtual short Execute() = 0;

    /// Sets a number key.
    /// \param n the key.
    void SetKeyNum(std::uintptr_t n) {
        Key = n;
        bKeyIsString = 0;
    }
    /// Sets a string key.
    /// \param pstr the key, not owned.
    void SetKeyString(CPString* pstr) {
        Key = reinterpret_cast<std::uintptr_t>(pstr);
        bKeyIsString = 1;
    }

    /// The element.
    void* pvItem = nullptr;
    /// A number, or the CPString * of the key when bKeyIsString is 1.
    std::uintptr_t Key = 0;
    /// 1 when Key is a CPString *.
    char bKeyIsString = 0;
};
