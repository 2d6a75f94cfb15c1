/// \file
/// Objects with a name, and the nodes of the graph of typed, directed
/// relations that paths walk: Navigable knows nothing of how a class keeps its
/// relations and does everything through its sixteen virtual operations.
/// EdgeSpec is one step of a walk: a relation, and a name or an index within it.
#pragma once

#include <cpcoll/recycler.h>
#include <platform/export.h>
#include <util/createable.h>

#include <cstddef>
#include <cstdint>

class CPString;
class Navigable;
class PMoniker;

// A relation code is a kind in the low byte and a direction in bit 8.
/// Relation codes: a kind in the low byte and a direction in bit 8. Outgoing.
inline constexpr short RT_OUT = 0;
/// Incoming (the direction bit).
inline constexpr short RT_IN = 0x100;
/// Containment.
inline constexpr short RT_CONTAINMENT = 1;
/// Creation.
inline constexpr short RT_CREATION = 2;
/// Connection.
inline constexpr short RT_CONNECTION = 4;
/// Summary.
inline constexpr short RT_SUMMARY = 8;
/// Reference.
inline constexpr short RT_REFERENCE = 0x20;
/// Ownership.
inline constexpr short RT_OWNERSHIP = 0x40;
/// Named.
inline constexpr short RT_NAMED = 0x80;

/// \brief An object with a name.
class SORVANE_API NamedObject : public virtual Createable {
public:
    NamedObject() = default;
    /// \param other the object copied, with its name.
    NamedObject(NamedObject const& other);
    /// \param other the object whose name is copied.
    /// \return this object.
    NamedObject& operator=(NamedObject const& other);
    /// Frees the name.
    ~NamedObject() override;

    /// The name.
    /// \param dest when not null, receives a copy (an unset name copies as empty text).
    /// \return the name, kept by the object; null until set.
    char* _get_szName(char* dest) const;
    /// Frees the old name and keeps a copy.
    /// \param sz the name; null leaves no name.
    void _set_szName(char const* sz);

private:
    char* szName = nullptr;
};

/// \brief One step of a walk through the graph: a relation, and a name or an
/// index within it.
class SORVANE_API EdgeSpec : public Createable, public Recyclable {
public:
    /// The room of the name and the supplemental text.
    static constexpr std::size_t kTextRoom = 2048;
    /// The step selects nothing.
    static constexpr short kSelectNothing = 0;
    /// The step selects by name.
    static constexpr short kSelectByName = 1;
    /// The step selects by index.
    static constexpr short kSelectByIndex = 2;

    /// A containment step that selects nothing.
    EdgeSpec() { Initialize(); }
    /// \param other the step copied.
    EdgeSpec(EdgeSpec const& other);
    /// \param other the step copied.
    /// \return this step.
    EdgeSpec& operator=(EdgeSpec const& other);
    ~EdgeSpec() override = default;

    /// Makes the step a containment step that selects nothing.
    void Initialize();
    /// As Initialize(), on leaving the pool.
    void InitializeObject() override { Initialize(); }
    /// Nothing to tidy.
    void UnInitializeObject() override {}

    /// Selects by name. The room is fixed: a text that does not fit ends the
    /// process through the fatal check.
    /// \param sz the name.
    void SetName(char const* sz);
    /// Selects by index.
    /// \param n the index.
    void SetIndex(std::int32_t n);
    /// The name.
    /// \param dest when not null, receives a copy.
    /// \return the step's name.
    char* _get_szName(char* dest);
    /// \return the supplemental text.
    char* _get_szSupplemental() { return szSupplemental; }
    /// Sets the supplemental text; one that does not fit ends the process
    /// through the fatal check.
    /// \param sz the text.
    void _set_szSupplemental(char const* sz);

    /// \return the relation's kind (the low byte).
    short GetRelationType() const { return static_cast<short>(nRelationType & 0xFF); }
    /// \return 1 for incoming, 0 for outgoing.
    short GetRelationDirectedness() const { return static_cast<short>(nRelationType >> 8); }
    /// \return the relation code.
    short _get_nRelationType() const { return nRelationType; }
    /// \param n the relation code.
    void _set_nRelationType(short n) { nRelationType = n; }
    /// \return what the step selects by: kSelectNothing, kSelectByName or kSelectByIndex.
    std::int32_t _get_nType() const { return nType; }
    /// \return the index.
    std::int32_t _get_nDX() const { return nDX; }
    /// \return non-zero for a step of a direct path.
    short _get_bDirectSpec() const { return bDirectSpec; }
    /// \param b non-zero for a step of a direct path.
    void _set_bDirectSpec(short b) { bDirectSpec = b; }
    /// \return the internal node riding on the step, not owned.
    void* _get_pvAttachedObject() const { return pvAttachedObject; }
    /// \param pv an internal node, not owned.
    void _set_pvAttachedObject(void* pv) { pvAttachedObject = pv; }

    /// \return the one pool of steps, for the node operations of paths.
    static Recycler<EdgeSpec>& _get_recycler();

private:
    void CopyFields(EdgeSpec const& other);

    short bDirectSpec = 0;
    short nType = kSelectNothing;
    short nRelationType = RT_CONTAINMENT;
    std::int32_t nDX = 0;
    char szName[kTextRoom] = {};
    char szSupplemental[kTextRoom] = {};
    // An internal node riding on the step; not owned.
    void* pvAttachedObject = nullptr;
};

/// A walk's action, called with (node, user).
using pfnNavAction = void (*)(Navigable* pnav, void* pvUser);
/// A walk's condition, called with (node, user).
using pfnNavCond = int (*)(Navigable* pnav, void* pvUser);

/// \brief A node of the graph of typed, directed relations that paths walk.
///
/// Navigable knows nothing of how a class keeps its relations and does
/// everything through its sixteen virtual operations.
class SORVANE_API Navigable : public NamedObject {
public:
    /// What ends a direct path before its tenth step.
    static inline void* const kEndOfPath = reinterpret_cast<void*>(static_cast<std::intptr_t>(-1));
    /// Below this a direct path's argument is an index, from here a text.
    static constexpr std::uintptr_t kDirectIndexLimit = 1000;

    Navigable() = default;
    ~Navigable() override = default;

    /// Relates a node to this one by the step.
    /// \param pnav the node.
    /// \param pes the step.
    /// \return the concrete class's answer, non-zero on success.
    virtual short AddRelation(Navigable* pnav, EdgeSpec* pes) = 0;
    /// Removes the relation of a node by the step.
    /// \param pnav the node.
    /// \param pes the step.
    /// \return the concrete class's answer, non-zero on success.
    virtual short RemoveRelation(Navigable* pnav, EdgeSpec* pes) = 0;
    /// Removes the relation the step selects.
    /// \param pes the step.
    /// \return the concrete class's answer, non-zero on success.
    virtual short RemoveRelation(EdgeSpec* pes) = 0;
    /// \param pes a step.
    /// \return the node it leads to, or null.
    virtual Navigable* TraverseRelation(EdgeSpec* pes) = 0;
    /// \param nRelation a relation code.
    /// \param szSupplemental the supplemental text, or null.
    /// \return the number of nodes related so.
    virtual short GetRelatedNodeCount(short nRelation, char* szSupplemental) = 0;
    /// Starts a walk of the nodes related so.
    /// \param nRelation a relation code.
    /// \param szSupplemental the supplemental text, or null.
    /// \return the first node, or null.
    virtual Navigable* GetFirstRelatedNode(short nRelation, char* szSupplemental) = 0;
    /// \return the next node of the walk, or null.
    virtual Navigable* GetNextRelatedNode() = 0;
    /// Describes the node; "X" here.
    /// \param pstr receives the description, when not null.
    virtual void WhoAmI(CPString* pstr);
    /// \return the node's class; 0 here.
    virtual std::int32_t GetClass() { return 0; }
    /// \return the node's sub-class; 0 here.
    virtual std::int32_t GetSubClass() { return 0; }
    /// \return a new node of the same class, owned by the caller.
    virtual Navigable* CreateInstance() = 0;
    /// A new node from CreateInstance(), related to this one by the step.
    /// \param pes the step.
    /// \return the node, or null.
    virtual Navigable* CreateRelatedNode(EdgeSpec* pes);
    /// \return the internal form of this node: a cheaper node, opaque to the caller.
    virtual void* GetRoot() = 0;
    /// \param pvNode an internal node.
    /// \param pes a step.
    /// \return the internal node it leads to, or null.
    virtual void* TraverseStep(void* pvNode, EdgeSpec* pes) = 0;
    /// \param pvNode an internal node.
    /// \param pes a step.
    /// \return a new internal node related by the step, or null.
    virtual void* CreateNode(void* pvNode, EdgeSpec* pes) = 0;
    /// Gives an internal node back.
    /// \param pvNode the node.
    virtual void ReleaseNode(void* pvNode) = 0;

    /// The text of one of the twelve directed kinds.
    /// \param nRelation a relation code.
    /// \param sz receives the text; empty for any other code, the plain
    ///        containment code among them.
    /// \return 1 for one of the kinds, else 0.
    static short ConvertRelation2String(short nRelation, char* sz);
    /// Reads a relation's text; a text without "RT_OUT" reads as incoming.
    /// \param sz the text.
    /// \param pnRelation receives the code.
    /// \return 1 when the text names a kind.
    static short ConvertString2Relation(char* sz, short* pnRelation);

    /// Follows up to ten containment steps, each an index below
    /// kDirectIndexLimit or a name text; kEndOfPath ends the list.
    /// \param a0 the first step.
    /// \param a1 the second step.
    /// \param a2 the third step.
    /// \param a3 the fourth step.
    /// \param a4 the fifth step.
    /// \param a5 the sixth step.
    /// \param a6 the seventh step.
    /// \param a7 the eighth step.
    /// \param a8 the ninth step.
    /// \param a9 the tenth step.
    /// \return the node reached, or null.
    Navigable* FollowDirectPath(void* a0, void* a1 = kEndOfPath, void* a2 = kEndOfPath,
                                void* a3 = kEndOfPath, void* a4 = kEndOfPath, void* a5 = kEndOfPath,
                                void* a6 = kEndOfPath, void* a7 = kEndOfPath, void* a8 = kEndOfPath,
                                void* a9 = kEndOfPath);
    /// As FollowDirectPath(), making each node that is missing.
    /// \param a0 the first step.
    /// \param a1 the second step.
    /// \param a2 the third step.
    /// \param a3 the fourth step.
    /// \param a4 the fifth step.
    /// \param a5 the sixth step.
    /// \param a6 the seventh step.
    /// \param a7 the eighth step.
    /// \param a8 the ninth step.
    /// \param a9 the tenth step.
    /// \return the node reached, or null.
    Navigable* InternDirectPath(void* a0, void* a1 = kEndOfPath, void* a2 = kEndOfPath,
                                void* a3 = kEndOfPath, void* a4 = kEndOfPath, void* a5 = kEndOfPath,
                                void* a6 = kEndOfPath, void* a7 = kEndOfPath, void* a8 = kEndOfPath,
                                void* a9 = kEndOfPath);

    /// Reads a path into a moniker's steps, a bracketed index evaluated from
    /// this node, and walks it from here.
    /// \param szPath the path.
    /// \param nCreate 0 finds, -1 finds and cuts the last link, any other value
    ///        creates what is missing.
    /// \param nSkip steps passed over first.
    /// \return the node reached, or null.
    Navigable* FollowPath(char const* szPath, short nCreate, short nSkip);
    /// Walks a moniker's steps from here.
    /// \param pmk the moniker; null finds nothing.
    /// \param nCreate 0 finds, -1 finds and cuts the last link, any other value
    ///        creates what is missing.
    /// \param nSkip steps passed over first.
    /// \return the node reached, or null.
    Navigable* FollowPath(PMoniker* pmk, short nCreate, short nSkip);

    /// Relates both ends, the far end by the relation with the incoming bit set.
    /// \param pnav the far end.
    /// \param nRelation the relation code.
    /// \param szSupplemental the supplemental text, or null.
    /// \return 1, whatever the two ends said.
    short ForgeRelation(Navigable* pnav, short nRelation, char* szSupplemental);
    /// \param szName a name.
    /// \param nRelation a relation code.
    /// \return the node related so under that name, or null.
    Navigable* TraverseRelation(char* szName, short nRelation);
    /// \param nIndex an index.
    /// \param nRelation a relation code.
    /// \return the node related so at that index, or null.
    Navigable* TraverseRelation(short nIndex, short nRelation);
    /// Relates a node, and optionally links it back. The back link flips the
    /// direction bit and, without a name of its own, reuses the first name or index.
    /// \param pnav the node.
    /// \param nRelation the relation code.
    /// \param bLinkBack non-zero to link back.
    /// \param szName the name, or null.
    /// \param szBackName the back link's name, or null.
    /// \return 1, whatever the two ends said.
    short AddRelatedNode(Navigable* pnav, short nRelation, short bLinkBack, char* szName,
                         char* szBackName);
    /// Removes a node's relation.
    /// \param pnav the node.
    /// \param nRelation the relation code.
    /// \param szSupplemental the supplemental text, or null.
    /// \return RemoveRelation(Navigable*, EdgeSpec*)'s answer.
    short RemoveRelation(Navigable* pnav, short nRelation, char* szSupplemental);
    /// Removes a node's relation and the far end's back link.
    /// \param pnav the node.
    /// \param nRelation the relation code.
    /// \return the answer of this end's removal.
    short UnlinkRelatedNode(Navigable* pnav, short nRelation);

    /// Walks related nodes. A node is not walked again while it is being walked,
    /// so a cycle ends where it meets its own path; the depth of the graph costs
    /// heap, not stack.
    /// \param fn called on each node.
    /// \param pvUser the functions' second argument.
    /// \param nOrder 0 visits this level only, 1 a node before its related
    ///        nodes, 2 after.
    /// \param nRelation the relation code.
    /// \param szSupplemental the supplemental text, or null.
    /// \param fnBefore called before a node's related nodes, or null.
    /// \param fnAfter called after them, or null.
    /// \param fnBetween called between them, or null.
    void ForEach(pfnNavAction fn, void* pvUser, short nOrder, short nRelation, char* szSupplemental,
                 pfnNavAction fnBefore = nullptr, pfnNavAction fnAfter = nullptr,
                 pfnNavAction fnBetween = nullptr);
    /// As the other ForEach(); the results of fn (order 1) and fnBefore (order 2)
    /// decide whether the walk descends from the node.
    /// \param fn called on each node.
    /// \param pvUser the functions' second argument.
    /// \param nOrder 0, 1 or 2, as the other ForEach().
    /// \param nRelation the relation code.
    /// \param szSupplemental the supplemental text, or null.
    /// \param fnBefore called before a node's related nodes, or null.
    /// \param fnAfter called after them, or null.
    /// \param fnBetween called between them, or null.
    void ForEach(pfnNavCond fn, void* pvUser, short nOrder, short nRelation, char* szSupplemental,
                 pfnNavCond fnBefore = nullptr, pfnNavCond fnAfter = nullptr,
                 pfnNavCond fnBetween = nullptr);
    /// Walks related nodes and acts on those that meet the condition.
    /// \param fn the action.
    /// \param pvUser its second argument.
    /// \param fnCond the condition.
    /// \param pvCondUser its second argument.
    /// \param nOrder 0, 1 or 2, as ForEach().
    /// \param nRelation the relation code.
    /// \param szSupplemental the supplemental text, or null.
    void ForEachThat(pfnNavAction fn, void* pvUser, pfnNavCond fnCond, void* pvCondUser,
                     short nOrder, short nRelation, char* szSupplemental);
    /// The first related node that meets the condition.
    /// \param fn the condition.
    /// \param pvUser its second argument.
    /// \param nOrder 0, 1 or 2, as ForEach().
    /// \param nRelation the relation code.
    /// \param szSupplemental the supplemental text, or null.
    /// \param fnSkip when it holds, the node is passed over, or null.
    /// \param pvSkipUser its second argument.
    /// \return the node, or null.
    Navigable* FirstThat(pfnNavCond fn, void* pvUser, short nOrder, short nRelation,
                         char* szSupplemental, pfnNavCond fnSkip = nullptr,
                         void* pvSkipUser = nullptr);

    /// \brief What a walk does with one related node.
    class Visitor {
    public:
        /// What Enter() asks: descend, go on to Leave() at once, pass the node
        /// over, or end the walk.
        enum class Step { Descend, Leave, Pass, Stop };
        /// Called before the node's own related nodes.
        /// \param pnav the node.
        /// \return whether to descend, go on to Leave at once, pass the node over
        ///         or end the walk.
        virtual Step Enter(Navigable* pnav) = 0;
        /// Called after the descent, or in its place.
        /// \param pnav the node.
        /// \return true to end the walk.
        virtual bool Leave(Navigable* pnav) = 0;

    protected:
        /// Not deleted through this base.
        ~Visitor() = default;
    };
    /// The walk under every form above.
    /// \param visitor decides at each node.
    /// \param nRelation the relation code.
    /// \param szSupplemental the supplemental text, or null.
    void Walk(Visitor& visitor, short nRelation, char* szSupplemental);
};
