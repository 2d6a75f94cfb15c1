// Monikers: textual paths to objects. A PMoniker is an ordered list of
// EdgeSpec steps that can be read from text and followed through Navigable
// objects, finding, creating or cutting the nodes on the way. Its text form
// is built from two parts, the head and the path, which each kind of moniker
// writes in its own way; the text can also be kept as it was given.
#pragma once

#include <baseobj/namedobj.h>
#include <cpcoll/cplist.h>
#include <platform/export.h>
#include <util/createable.h>

#include <cstdint>

class CPString;
class EdgeSpec;
class Navigable;
class Scanner;
class Token;

class SORVANE_API PMoniker : public Createable {
public:
    // The form of the text: 2 the arrow form, any other the bracketed form.
    static constexpr short kArrowForm = 2;
    // How FollowPath and TraversePath treat a missing node: 0 finds, -1
    // finds and then cuts the last link, any other value creates.
    static constexpr short kFind = 0;
    static constexpr short kFindAndCut = -1;
    static constexpr short kCreate = 1;
    // The steps ahead of the sub-values: the head of the path.
    static constexpr std::int32_t kHeadSteps = 2;

    // Reads a node reached by a bracketed expression of a path as an index.
    // Without one, such an index is 0.
    using pfnNodeIndex = std::int32_t (*)(Navigable* pnav);

    PMoniker();
    PMoniker(PMoniker const&) = delete;
    PMoniker& operator=(PMoniker const&) = delete;
    ~PMoniker() override;

    // Reads the text into steps, dropping those held. The plain moniker reads
    // a path of steps, as ScanPath with no node to evaluate against. 1 when
    // read; scanning faults are thrown as Exception.
    virtual short Scan(char const* sz);

    // Gives back every step and drops the kept text.
    void Clear();

    // Appending steps, each with the relation given. The step object is
    // copied; the moniker's steps are its own.
    void AddNode(EdgeSpec* pes, short nRelation);
    void AddNode(std::int32_t nIndex, short nRelation);
    void AddNode(char const* szName, short nRelation);
    void AddNode(char const* szName, short nRelation, char* szSupplemental);

    // All the steps, in order; null after the last.
    EdgeSpec* GetFirstStep();
    EdgeSpec* GetNextStep();
    // The steps after the head.
    EdgeSpec* GetFirstSubval();
    EdgeSpec* GetNextSubval();
    EdgeSpec* GetLastSubval();
    short HasSubvalues() const;
    std::int32_t GetStepCount() const { return static_cast<std::int32_t>(lstSteps.Length()); }
    // The step at an index from 0, or null.
    EdgeSpec* GetStep(std::int32_t n);

    // Runs Scan over the text; with bCacheText set the text is kept, so that
    // BuildMonikerString gives it back as it was written.
    short ScanBuffer(char const* sz, short bCacheText);
    // A path of steps: ":name" for a name, "[n]" for an index, and
    // "[path]" for the index that the node at the end of that path gives,
    // followed from pnav. A leading name needs no colon.
    short ScanPath(char const* sz, Navigable* pnav);

    // Walks the steps from pnav after skipping nSkip of them (a negative
    // count skips them all); see kFind. The node the last step led to, or
    // null when a step led nowhere or there was none.
    Navigable* FollowPath(Navigable* pnav, short nCreate, short nSkip);
    // The same walk over pnav's internal nodes and the sub-values alone.
    // Each step carries the node it reached until ReleasePath. To cut
    // (nCreate -1), the internal nodes must be Navigable objects passed as
    // void *, since the cut asks the node before the last of them.
    void* TraversePath(Navigable* pnav, short nCreate);
    // Gives the nodes carried by the sub-values to pnav->ReleaseNode.
    void ReleasePath(Navigable* pnav);

    // The kept text. A string with no holder is copied first, so that the
    // moniker holds a counted one.
    void CacheString(CPString* pstr);
    void CacheMoniker();
    void ClearCachedMoniker();
    CPString* _get_pstrCached() const { return pstrCached; }

    // The kept text if there is one, otherwise the head and then the path.
    // The buffer is the caller's to size.
    char* BuildMonikerString(char* buf);
    void BuildMonikerString(CPString* pstr);
    // Each appends its part to the string. The plain moniker has no head,
    // and writes its path with ":name" and "[n]".
    virtual void BuildFirstPartOfMonikerString(CPString* pstr);
    virtual void BuildLastPartOfMonikerString(CPString* pstr);

    short _get_nFormCode() const { return nFormCode; }
    void _set_nFormCode(short n) { nFormCode = n; }
    // Where the last scan ended.
    short _get_nRow() const { return nRow; }
    short _get_nCol() const { return nCol; }

    static void _set_pfnNodeIndex(pfnNodeIndex pfn);
    static pfnNodeIndex _get_pfnNodeIndex();

    // Kill function of the steps.
    static void itReleaseEdgeSpec(void* pvItem, void* pvUser);
    // The text of any token, empty for none.
    static void TokenTextOf(Token* ptok, CPString* pstr);
    // The same for a name of a step: one that would not fit a step's room
    // throws Exception 274.
    static void TokenNameOf(Token* ptok, CPString* pstr);
    static void CheckNameRoom(CPString& str);

protected:
    // The step made for appending, already in the list.
    EdgeSpec* NewStep(short nRelation);
    // Notes where the scanner stands.
    void NoteEnd(Scanner const& scn);
    // Writes ":name" or "[n]" for one step.
    static void AppendStep(CPString* pstr, EdgeSpec* pes);

    CPList lstSteps;
    short nFormCode = kArrowForm;
    short nRow = 0;
    short nCol = 0;
    CPString* pstrCached = nullptr;

private:
    void AddNameStep(Token* ptok);
    void ScanIndex(Scanner& scn, Navigable* pnav);
    std::int32_t EvaluateIndex(char const* szPath, Navigable* pnav);

    static pfnNodeIndex pfnIndexOfNode;
};
