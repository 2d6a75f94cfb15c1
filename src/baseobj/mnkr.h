/// \file
/// Monikers: textual paths to objects. A PMoniker is an ordered list of
/// EdgeSpec steps that can be read from text and followed through Navigable
/// objects, finding, creating or cutting the nodes on the way. Its text form
/// is built from two parts, the head and the path, which each kind of moniker
/// writes in its own way; the text can also be kept as it was given.
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

/// \brief A textual path to an object: an ordered list of EdgeSpec steps that
/// can be read from text and followed through Navigable objects, finding,
/// creating or cutting the nodes on the way.
///
/// Its text form is built from two parts, the head and the path, which each
/// kind of moniker writes in its own way; the text can also be kept as it
/// was given.
class SORVANE_API PMoniker : public Createable {
public:
    /// The form of the text: 2 the arrow form, any other the bracketed form.
    static constexpr short kArrowForm = 2;
    /// How FollowPath() and TraversePath() treat a missing node: 0 finds,
    static constexpr short kFind = 0;
    /// -1 finds and then cuts the last link,
    static constexpr short kFindAndCut = -1;
    /// any other value creates.
    static constexpr short kCreate = 1;
    /// The steps ahead of the sub-values: the head of the path.
    static constexpr std::int32_t kHeadSteps = 2;

    /// Reads a node reached by a bracketed expression of a path as an index.
    /// Without one, such an index is 0.
    using pfnNodeIndex = std::int32_t (*)(Navigable* pnav);

    PMoniker();
    PMoniker(PMoniker const&) = delete;
    PMoniker& operator=(PMoniker const&) = delete;
    /// Gives back every step and the kept text.
    ~PMoniker() override;

    /// Reads the text into steps, dropping those held. The plain moniker reads a
    /// path of steps, as ScanPath() with no node to evaluate against.
    /// \param sz the text.
    /// \return 1 when read.
    /// \throws Exception for a scanning fault.
    virtual short Scan(char const* sz);

    /// Gives back every step and drops the kept text.
    void Clear();

    /// Appends a copy of a step; the moniker's steps are its own.
    /// \param pes the step.
    /// \param nRelation its relation.
    void AddNode(EdgeSpec* pes, short nRelation);
    /// Appends a step by index.
    /// \param nIndex the index.
    /// \param nRelation its relation.
    void AddNode(std::int32_t nIndex, short nRelation);
    /// Appends a step by name.
    /// \param szName the name.
    /// \param nRelation its relation.
    void AddNode(char const* szName, short nRelation);
    /// Appends a step by name, with a supplemental text.
    /// \param szName the name.
    /// \param nRelation its relation.
    /// \param szSupplemental the supplemental text.
    void AddNode(char const* szName, short nRelation, char* szSupplemental);

    /// \return the first step, kept by the moniker; null when there is none.
    EdgeSpec* GetFirstStep();
    /// \return the next step; null after the last.
    EdgeSpec* GetNextStep();
    /// \return the first step after the head, or null.
    EdgeSpec* GetFirstSubval();
    /// \return the next step after the head; null after the last.
    EdgeSpec* GetNextSubval();
    /// \return the last step after the head, or null.
    EdgeSpec* GetLastSubval();
    /// \return 1 when there are steps after the head.
    short HasSubvalues() const;
    /// \return the number of steps.
    std::int32_t GetStepCount() const { return static_cast<std::int32_t>(lstSteps.Length()); }
    /// \param n an index from 0.
    /// \return the step there, or null.
    EdgeSpec* GetStep(std::int32_t n);

    /// Runs Scan() over the text.
    /// \param sz the text.
    /// \param bCacheText non-zero keeps the text, so that BuildMonikerString()
    ///        gives it back as it was written.
    /// \return Scan()'s answer.
    /// \throws Exception as Scan().
    short ScanBuffer(char const* sz, short bCacheText);
    /// Reads a path of steps: ":name" for a name, "[n]" for an index, and
    /// "[path]" for the index that the node at the end of that path gives,
    /// followed from pnav. A leading name needs no colon.
    /// \param sz the text.
    /// \param pnav the node bracketed paths are followed from.
    /// \return 1 when read.
    /// \throws Exception for a scanning fault.
    short ScanPath(char const* sz, Navigable* pnav);

    /// Walks the steps from a node; see kFind.
    /// \param pnav the node.
    /// \param nCreate kFind, kFindAndCut or kCreate.
    /// \param nSkip steps skipped first; a negative count skips them all.
    /// \return the node the last step led to, or null when a step led nowhere
    ///         or there was none.
    Navigable* FollowPath(Navigable* pnav, short nCreate, short nSkip);
    /// The same walk over a node's internal nodes and the sub-values alone. Each
    /// step carries the node it reached until ReleasePath(). To cut, the
    /// internal nodes must be Navigable objects passed as void *, since the cut
    /// asks the node before the last of them.
    /// \param pnav the node.
    /// \param nCreate kFind, kFindAndCut or kCreate.
    /// \return the internal node reached, or null.
    void* TraversePath(Navigable* pnav, short nCreate);
    /// Gives the nodes carried by the sub-values to pnav->ReleaseNode().
    /// \param pnav the node of TraversePath().
    void ReleasePath(Navigable* pnav);

    /// Keeps a text as the moniker's. A string with no holder is copied first,
    /// so that the moniker holds a counted one.
    /// \param pstr the text.
    void CacheString(CPString* pstr);
    /// Keeps the text the steps build.
    void CacheMoniker();
    /// Drops the kept text.
    void ClearCachedMoniker();
    /// \return the kept text, or null.
    CPString* _get_pstrCached() const { return pstrCached; }

    /// The kept text if there is one, otherwise the head and then the path.
    /// \param buf the caller's buffer, which the caller sizes.
    /// \return buf.
    char* BuildMonikerString(char* buf);
    /// The kept text if there is one, otherwise the head and then the path.
    /// \param pstr receives the text.
    void BuildMonikerString(CPString* pstr);
    /// Appends the head; the plain moniker has none.
    /// \param pstr the string.
    virtual void BuildFirstPartOfMonikerString(CPString* pstr);
    /// Appends the path; the plain moniker writes ":name" and "[n]".
    /// \param pstr the string.
    virtual void BuildLastPartOfMonikerString(CPString* pstr);

    /// \return the form of the text.
    short _get_nFormCode() const { return nFormCode; }
    /// \param n the form of the text, kArrowForm or another.
    void _set_nFormCode(short n) { nFormCode = n; }
    /// \return the row where the last scan ended.
    short _get_nRow() const { return nRow; }
    /// \return the column where the last scan ended.
    short _get_nCol() const { return nCol; }

    /// \param pfn how a node reached by a bracketed expression reads as an index.
    static void _set_pfnNodeIndex(pfnNodeIndex pfn);
    /// \return how a node reached by a bracketed expression reads as an index.
    static pfnNodeIndex _get_pfnNodeIndex();

    /// The kill function of the steps.
    /// \param pvItem the step.
    /// \param pvUser not used.
    static void itReleaseEdgeSpec(void* pvItem, void* pvUser);
    /// The text of any token.
    /// \param ptok the token, or null for empty text.
    /// \param pstr receives the text.
    static void TokenTextOf(Token* ptok, CPString* pstr);
    /// The text of a token as a step's name.
    /// \param ptok the token.
    /// \param pstr receives the text.
    /// \throws Exception 274 for a name that would not fit a step's room.
    static void TokenNameOf(Token* ptok, CPString* pstr);
    /// \param str a name.
    /// \throws Exception 274 when it would not fit a step's room.
    static void CheckNameRoom(CPString& str);

protected:
    /// \param nRelation the relation.
    /// \return a new step, already in the list.
    EdgeSpec* NewStep(short nRelation);
    /// Notes where the scanner stands.
    /// \param scn the scanner.
    void NoteEnd(Scanner const& scn);
    /// Writes ":name" or "[n]" for one step.
    /// \param pstr the string.
    /// \param pes the step.
    static void AppendStep(CPString* pstr, EdgeSpec* pes);

    /// The steps, owned.
    CPList lstSteps;
    /// The form of the text.
    short nFormCode = kArrowForm;
    /// The row where the last scan ended.
    short nRow = 0;
    /// The column where the last scan ended.
    short nCol = 0;
    /// The kept text, counted, or null.
    CPString* pstrCached = nullptr;

private:
    void AddNameStep(Token* ptok);
    void ScanIndex(Scanner& scn, Navigable* pnav);
    std::int32_t EvaluateIndex(char const* szPath, Navigable* pnav);

    static pfnNodeIndex pfnIndexOfNode;
};
