// Objects with a name, and the nodes of the graph of typed, directed
// relations that paths walk: Navigable knows nothing of how a class keeps its
// relations and does everything through its sixteen virtual operations.
// EdgeSpec is one step of a walk: a relation, and a name or an index within it.
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
inline constexpr short RT_OUT = 0;
inline constexpr short RT_IN = 0x100;
inline constexpr short RT_CONTAINMENT = 1;
inline constexpr short RT_CREATION = 2;
inline constexpr short RT_CONNECTION = 4;
inline constexpr short RT_SUMMARY = 8;
inline constexpr short RT_REFERENCE = 0x20;
inline constexpr short RT_OWNERSHIP = 0x40;
inline constexpr short RT_NAMED = 0x80;

class SORVANE_API NamedObject : public virtual Createable {
public:
    NamedObject() = default;
    NamedObject(NamedObject const& other);
    NamedObject& operator=(NamedObject const& other);
    ~NamedObject() override;

    // The name, null until set; copied to dest as well when dest is given
    // (an unset name copies as empty text).
    char* _get_szName(char* dest) const;
    // Frees the old name and keeps a copy; null leaves no name.
    void _set_szName(char const* sz);

private:
    char* szName = nullptr;
};

class SORVANE_API EdgeSpec : public Createable, public Recyclable {
public:
    static constexpr std::size_t kTextRoom = 2048;
    // What nType says the step selects by.
    static constexpr short kSelectNothing = 0;
    static constexpr short kSelectByName = 1;
    static constexpr short kSelectByIndex = 2;

    EdgeSpec() { Initialize(); }
    EdgeSpec(EdgeSpec const& other);
    EdgeSpec& operator=(EdgeSpec const& other);
    ~EdgeSpec() override = default;

    void Initialize();
    void InitializeObject() override { Initialize(); }
    void UnInitializeObject() override {}

    // The rooms are fixed: a text that does not fit ends through the fatal
    // check.
    void SetName(char const* sz);
    void SetIndex(std::int32_t n);
    char* _get_szName(char* dest);
    char* _get_szSupplemental() { return szSupplemental; }
    void _set_szSupplemental(char const* sz);

    short GetRelationType() const { return static_cast<short>(nRelationType & 0xFF); }
    // 1 for incoming, 0 for outgoing.
    short GetRelationDirectedness() const { return static_cast<short>(nRelationType >> 8); }
    short _get_nRelationType() const { return nRelationType; }
    void _set_nRelationType(short n) { nRelationType = n; }
    std::int32_t _get_nType() const { return nType; }
    std::int32_t _get_nDX() const { return nDX; }
    short _get_bDirectSpec() const { return bDirectSpec; }
    void _set_bDirectSpec(short b) { bDirectSpec = b; }
    void* _get_pvAttachedObject() const { return pvAttachedObject; }
    void _set_pvAttachedObject(void* pv) { pvAttachedObject = pv; }

    // The one pool of steps, for the node operations of paths.
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

// The functions of the walks over related nodes, called with (node, user).
using pfnNavAction = void (*)(Navigable* pnav, void* pvUser);
using pfnNavCond = int (*)(Navigable* pnav, void* pvUser);

class SORVANE_API Navigable : public NamedObject {
public:
    // What ends a direct path before its tenth step.
    static inline void* const kEndOfPath = reinterpret_cast<void*>(static_cast<std::intptr_t>(-1));
    // Below this a direct path's argument is an index, from here a text.
    static constexpr std::uintptr_t kDirectIndexLimit = 1000;

    Navigable() = default;
    ~Navigable() override = default;

    // The operations a concrete class gives, in their order.
    virtual short AddRelation(Navigable* pnav, EdgeSpec* pes) = 0;
    virtual short RemoveRelation(Navigable* pnav, EdgeSpec* pes) = 0;
    virtual short RemoveRelation(EdgeSpec* pes) = 0;
    virtual Navigable* TraverseRelation(EdgeSpec* pes) = 0;
    virtual short GetRelatedNodeCount(short nRelation, char* szSupplemental) = 0;
    virtual Navigable* GetFirstRelatedNode(short nRelation, char* szSupplemental) = 0;
    virtual Navigable* GetNextRelatedNode() = 0;
    virtual void WhoAmI(CPString* pstr);
    virtual std::int32_t GetClass() { return 0; }
    virtual std::int32_t GetSubClass() { return 0; }
    virtual Navigable* CreateInstance() = 0;
    // A new node from CreateInstance, related to this one by the step.
    virtual Navigable* CreateRelatedNode(EdgeSpec* pes);
    // A cheaper, internal form of node, opaque to the caller.
    virtual void* GetRoot() = 0;
    virtual void* TraverseStep(void* pvNode, EdgeSpec* pes) = 0;
    virtual void* CreateNode(void* pvNode, EdgeSpec* pes) = 0;
    virtual void ReleaseNode(void* pvNode) = 0;

    // The text of one of the twelve directed kinds; 0 and empty text for
    // any other code, the plain containment code among them.
    static short ConvertRelation2String(short nRelation, char* sz);
    // 1 when the text names a kind; a text without "RT_OUT" reads as
    // incoming.
    static short ConvertString2Relation(char* sz, short* pnRelation);

    // Up to ten steps, each an index below 1000 or a name text, by
    // containment; kEndOfPath ends the list.
    Navigable* FollowDirectPath(void* a0, void* a1 = kEndOfPath, void* a2 = kEndOfPath,
                                void* a3 = kEndOfPath, void* a4 = kEndOfPath, void* a5 = kEndOfPath,
                                void* a6 = kEndOfPath, void* a7 = kEndOfPath, void* a8 = kEndOfPath,
                                void* a9 = kEndOfPath);
    // The same, making each node that is missing.
    Navigable* InternDirectPath(void* a0, void* a1 = kEndOfPath, void* a2 = kEndOfPath,
                                void* a3 = kEndOfPath, void* a4 = kEndOfPath, void* a5 = kEndOfPath,
                                void* a6 = kEndOfPath, void* a7 = kEndOfPath, void* a8 = kEndOfPath,
                                void* a9 = kEndOfPath);

    // The path read into a moniker's steps, a bracketed index evaluated from
    // this node, and walked from here: 0 finds, -1 finds and cuts the last
    // link, any other value creates what is missing; nSkip steps are passed
    // over first.
    Navigable* FollowPath(char const* szPath, short nCreate, short nSkip);
    Navigable* FollowPath(PMoniker* pmk, short nCreate, short nSkip);

    // Relates both ends, the far end by the relation with the incoming bit
    // set. 1 whatever the two ends said.
    short ForgeRelation(Navigable* pnav, short nRelation, char* szSupplemental);
    Navigable* TraverseRelation(char* szName, short nRelation);
    Navigable* TraverseRelation(short nIndex, short nRelation);
    // The back link flips the direction bit and, without a name of its own,
    // reuses the first name or index. 1 whatever the two ends said.
    short AddRelatedNode(Navigable* pnav, short nRelation, short bLinkBack, char* szName,
                         char* szBackName);
    short RemoveRelation(Navigable* pnav, short nRelation, char* szSupplemental);
    short UnlinkRelatedNode(Navigable* pnav, short nRelation);

    // Walks of related nodes. nOrder 0 visits this level only, 1 a node
    // before its related nodes, 2 after. A node is not walked again while
    // it is being walked, so a cycle ends where it meets its own path; the
    // depth of the graph costs heap, not stack.
    void ForEach(pfnNavAction fn, void* pvUser, short nOrder, short nRelation, char* szSupplemental,
                 pfnNavAction fnBefore = nullptr, pfnNavAction fnAfter = nullptr,
                 pfnNavAction fnBetween = nullptr);
    // The results of fn (order 1) and fnBefore (order 2) decide whether the
    // walk descends from the node.
    void ForEach(pfnNavCond fn, void* pvUser, short nOrder, short nRelation, char* szSupplemental,
                 pfnNavCond fnBefore = nullptr, pfnNavCond fnAfter = nullptr,
                 pfnNavCond fnBetween = nullptr);
    void ForEachThat(pfnNavAction fn, void* pvUser, pfnNavCond fnCond, void* pvCondUser,
                     short nOrder, short nRelation, char* szSupplemental);
    Navigable* FirstThat(pfnNavCond fn, void* pvUser, short nOrder, short nRelation,
                         char* szSupplemental, pfnNavCond fnSkip = nullptr,
                         void* pvSkipUser = nullptr);

    // What a walk does with one related node.
    class Visitor {
    public:
        enum class Step { Descend, Leave, Pass, Stop };
        // Before the node's own related nodes: whether to descend, go on to
        // Leave at once, pass the node over or end the walk.
        virtual Step Enter(Navigable* pnav) = 0;
        // After the descent, or in its place; true ends the walk.
        virtual bool Leave(Navigable* pnav) = 0;

    protected:
        ~Visitor() = default;
    };
    // The walk under every form above.
    void Walk(Visitor& visitor, short nRelation, char* szSupplemental);
};
