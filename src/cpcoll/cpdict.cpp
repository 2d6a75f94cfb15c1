#include <cpcoll/cpdict.h>

#include <util/exceptions.h>
#include <util/pstring.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

namespace {

constexpr char kUnNamed[] = "UnNamed";
// StringKeyList reads each key into a buffer of this size.
constexpr std::int32_t kKeyTextSize = 44;

CPDictionaryAssociation* AsAssociation(void* pv) {
    return static_cast<CPDictionaryAssociation*>(pv);
}

CPDictionaryAssociation* AssociationIn(CPBucket const* pbkt) {
    return pbkt != nullptr ? AsAssociation(pbkt->_get_pvData()) : nullptr;
}

void itDeleteAssociation(void* pvItem, void*) {
    delete AsAssociation(pvItem);
}

int itMatchKeyCardinal(void* pvItem, void* pvKey) {
    return AsAssociation(pvItem)->MatchKeyCardinal(*static_cast<std::uintptr_t*>(pvKey));
}

int itValueIs(void* pvItem, void* pvValue) {
    return pvItem == pvValue ? 1 : 0;
}

// A caller's function and value, carried through a chain's walk to be
// applied to each association's parts.
template <class F> struct Call {
    F pfn;
    void* pvUser;
};

int itCondOnValue(void* pvItem, void* pvCall) {
    auto const* const call = static_cast<Call<pfnCondFunc> const*>(pvCall);
    return call->pfn(AsAssociation(pvItem)->GetValue(), call->pvUser);
}

int itCondOnAssociation(void* pvItem, void* pvCall) {
    auto const* const call = static_cast<Call<pfnCondFunc> const*>(pvCall);
    return call->pfn(pvItem, call->pvUser);
}

int itCondOnKeyCardinal(void* pvItem, void* pvCall) {
    auto const* const call = static_cast<Call<pfnCondFunc> const*>(pvCall);
    return call->pfn(reinterpret_cast<void*>(AsAssociation(pvItem)->GetKeyCardinal()),
                     call->pvUser);
}

void itActOnKeyCardinal(void* pvItem, void* pvCall) {
    auto const* const call = static_cast<Call<pfnKillFunc> const*>(pvCall);
    call->pfn(reinterpret_cast<void*>(AsAssociation(pvItem)->GetKeyCardinal()), call->pvUser);
}

void itActWithKey(void* pvItem, void* pvCall) {
    auto const* const call = static_cast<Call<CPDictionary::pfnKeyFunc> const*>(pvCall);
    CPDictionaryAssociation const* const pda = AsAssociation(pvItem);
    call->pfn(pda->GetValue(), call->pvUser, pda->_get_nKeyWord());
}

void itKillValueAndDelete(void* pvItem, void* pvKill) {
    CPDictionaryAssociation* const pda = AsAssociation(pvItem);
    (*static_cast<pfnKillFunc*>(pvKill))(pda->GetValue(), nullptr);
    delete pda;
}

void itKillValue(void* pvItem, void* pvKill) {
    (*static_cast<pfnKillFunc*>(pvKill))(AsAssociation(pvItem)->GetValue(), nullptr);
}

void itAddAssociationTo(void* pvItem, void* pvDictionary) {
    CPDictionaryAssociation* const pda = AsAssociation(pvItem);
    auto* const pdct = static_cast<CPDictionary*>(pvDictionary);
    if (pda->_get_pstrKey() != nullptr)
        pdct->AddKeyString(pda->_get_pstrKey(), pda->GetValue());
    else
        pdct->AddKeyNum(pda->GetKeyCardinal(), pda->GetValue());
}

struct VectorFill {
    CPDictionaryAssociation** ppda;
    std::uint32_t nSize;
    std::uint32_t nNext;
};

void itFillVector(void* pvItem, void* pvFill) {
    auto* const fill = static_cast<VectorFill*>(pvFill);
    // A count lowered by the detach of an absent key leaves more entries
    // than the vector has room for; the rest stay out.
    if (fill->nNext < fill->nSize) fill->ppda[fill->nNext++] = AsAssociation(pvItem);
}

// The word a chain's index compares first: for a number key the key folded
// to 32 bits, for a string key a print of its text (its length and its first
// and last eight bytes). Equal keys give equal words, so an entry with
// another word can't match and is passed over unread; an equal word is only
// a candidate, which the key kept beside it confirms.
std::uint32_t NumberPrint(std::uintptr_t nKey) {
    auto const n = static_cast<std::uint64_t>(nKey);
    return static_cast<std::uint32_t>(n ^ (n >> 32));
}

std::uint32_t TextPrint(char const* szText) {
    std::size_t const nLength = std::strlen(szText);
    std::uint64_t nHead = 0;
    std::uint64_t nTail = 0;
    std::memcpy(&nHead, szText, std::min<std::size_t>(nLength, 8));
    if (nLength > 8) std::memcpy(&nTail, szText + nLength - 8, 8);
    std::uint64_t nPrint = (nHead ^ (nLength << 56)) * 0x9E3779B97F4A7C15u;
    nPrint ^= (nTail + (nPrint >> 29)) * 0xC2B2AE3D27D4EB4Fu;
    return static_cast<std::uint32_t>(nPrint >> 32);
}

// The test a chain's index confirms a number key's candidate with.
auto MatchingNumber(std::uintptr_t nKey) {
    return [nKey](CPDictionaryAssociation const* pda) {
        return pda != nullptr && pda->MatchKeyCardinal(nKey) != 0;
    };
}

// The scan FirstThat makes of a short chain, by its links, without a
// position object: false where it would differ from FirstThat's (a null
// element, which ends FirstThat's walk; no head; links that go on past the
// count), which is then left to FirstThat.
bool ScanShortChain(CPList const& lst, std::uintptr_t nKey, CPBucket** ppbktMatch) {
    CPBucket* pbkt = lst._get_pbktHead();
    if (pbkt == nullptr) return false;
    for (std::uint32_t i = 0; i < lst.Length() && pbkt != nullptr; ++i) {
        void* const pv = pbkt->_get_pvData();
        if (pv == nullptr) return false;
        if (itMatchKeyCardinal(pv, &nKey) != 0) {
            *ppbktMatch = pbkt;
            return true;
        }
        pbkt = pbkt == lst._get_pbktTail() ? nullptr : pbkt->_get_pbktNext();
    }
    *ppbktMatch = nullptr;
    return pbkt == nullptr;
}

// A search by index counts with 16 bits, signed: it ends after index 32767.
constexpr std::uint32_t kStringSearchLimit = 32768;
// Shorter chains are walked: their index would cost more than it saves.
constexpr std::uint32_t kIndexFrom = 8;

void itAppendKeyText(void* pvItem, void* pvOut) {
    CPDictionaryAssociation const* const pda = AsAssociation(pvItem);
    // The key is read into a fixed buffer; a longer one would overrun it.
    SV_CRIT_ASSERT(pda->_get_pstrKey() == nullptr || pda->_get_pstrKey()->Length() < kKeyTextSize,
                   "strlen(szKey) < 44");
    char szKey[kKeyTextSize];
    pda->GetKeyString(szKey);
    auto* const pszOut = static_cast<char*>(pvOut);
    std::strcat(pszOut, szKey);
    std::strcat(pszOut, "\r\n");
}

} // namespace

// CPDictionaryAssociation ----------------------------------------------------

std::atomic<std::uint32_t> CPDictionaryAssociation::nKeyEdits{0};

CPDictionaryAssociation::~CPDictionaryAssociation() {
    ReleaseKeyString();
}

void CPDictionaryAssociation::ReleaseKeyString() {
    if (pstrKey == nullptr) return;
    pstrKey->Release();
    pstrKey = nullptr;
}

void CPDictionaryAssociation::HoldKeyString(CPString* pstr) {
    pstr->AddRef();
    if (pstr->Length() == 0 || pstr->GetBuffer()[0] == '\0') *pstr = kUnNamed;
    pstrKey = pstr;
    nKey = reinterpret_cast<std::uintptr_t>(pstr);
    bUseString = 1;
}

void CPDictionaryAssociation::SetKeyString(char const* szKey) {
    NoteKeyEdit();
    AssignKeyString(szKey);
}

void CPDictionaryAssociation::SetKeyString(CPString* pstr) {
    NoteKeyEdit();
    AssignKeyString(pstr);
}

void CPDictionaryAssociation::SetKeyCardinal(std::uintptr_t n) {
    NoteKeyEdit();
    AssignKeyCardinal(n);
}

void CPDictionaryAssociation::AssignKeyString(char const* szKey) {
    ReleaseKeyString();
    HoldKeyString(new CPString(szKey));
}

void CPDictionaryAssociation::AssignKeyString(CPString* pstr) {
    ReleaseKeyString();
    // Nobody counts a string on the stack, so it is copied (sharing its
    // buffer and so its cached CRC).
    HoldKeyString(pstr->_get_nRefCount() == 0 ? new CPString(*pstr) : pstr);
}

void CPDictionaryAssociation::AssignKeyCardinal(std::uintptr_t n) {
    ReleaseKeyString();
    nKey = n;
    bUseString = 0;
}

std::uintptr_t CPDictionaryAssociation::_get_nKeyWord() const {
    return bUseString == 1 ? reinterpret_cast<std::uintptr_t>(pstrKey) : nKey;
}

char const* CPDictionaryAssociation::GetKeyString(char* szBuffer) const {
    if (bUseString == 1 && pstrKey != nullptr) {
        if (szBuffer != nullptr) pstrKey->StrCpy(szBuffer, 0xFFFFFFFF);
        return pstrKey->GetBuffer();
    }
    if (szBuffer != nullptr) szBuffer[0] = '\0';
    return "";
}

char const* CPDictionaryAssociation::GetKeyString(CPString* pstrDest) const {
    if (pstrDest == nullptr) return GetKeyString(static_cast<char*>(nullptr));
    if (bUseString == 1 && pstrKey != nullptr) {
        // Assigning a string to itself would empty it.
        if (pstrDest != pstrKey) *pstrDest = *pstrKey;
    } else {
        *pstrDest = "";
    }
    return pstrDest->GetBuffer();
}

// DictionaryIterationState ---------------------------------------------------

DictionaryIterationState&
DictionaryIterationState::operator=(DictionaryIterationState const& other) {
    IterationState::operator=(other);
    pbktCurrent = other.pbktCurrent;
    nSlot = other.nSlot;
    return *this;
}

CPDictionary* DictionaryIterationState::Dictionary() const {
    return static_cast<CPDictionary*>(pclAssociated);
}

void DictionaryIterationState::Place(std::uint32_t nSlotAt, bool bAtTail) {
    CPList* const plst = Dictionary()->_get_plstSlot(nSlotAt);
    nSlot = static_cast<std::int16_t>(nSlotAt);
    pbktCurrent = bAtTail ? plst->_get_pbktTail() : plst->_get_pbktHead();
}

short DictionaryIterationState::vgotoTop() {
    std::uint32_t const nFirst = Dictionary()->NextNonblankSlot(0);
    if (nFirst == CPDictionary::kNoSlot) {
        nSlot = -1;
        pbktCurrent = nullptr;
        return 0;
    }
    Place(nFirst, false);
    return 1;
}

short DictionaryIterationState::vgotoBottom() {
    CPDictionary* const pdct = Dictionary();
    if (pdct->Length() == 0) return vgotoTop();
    for (std::int32_t n = CPDictionary::kSlots - 1; n >= 0; --n) {
        if (pdct->_get_plstSlot(static_cast<std::uint32_t>(n)) != nullptr) {
            Place(static_cast<std::uint32_t>(n), true);
            return 1;
        }
    }
    nSlot = -1;
    pbktCurrent = nullptr;
    return 1;
}

short DictionaryIterationState::vgotoIDX(std::uint32_t n) {
    if (vgotoTop() == 0) return 0;
    // Past the end a step moves nothing, so the first failure decides.
    for (std::uint32_t i = 0; i < n; ++i)
        if (vgotoNext() == 0) return 0;
    return 1;
}

short DictionaryIterationState::vgotoNext() {
    if (pbktCurrent == nullptr) return 0;
    CPDictionary* const pdct = Dictionary();
    CPList* const plst = pdct->_get_plstSlot(static_cast<std::uint32_t>(nSlot));
    if (plst != nullptr && pbktCurrent != plst->_get_pbktTail()) {
        pbktCurrent = pbktCurrent->_get_pbktNext();
        return pbktCurrent != nullptr ? 1 : 0;
    }
    std::uint32_t const nNext = pdct->NextNonblankSlot(static_cast<std::uint32_t>(nSlot) + 1);
    if (nNext == CPDictionary::kNoSlot) {
        pbktCurrent = nullptr;
        return 0;
    }
    Place(nNext, false);
    return 1;
}

short DictionaryIterationState::vgotoPrev() {
    return 1;
}

void* DictionaryIterationState::vretrieve() {
    CPDictionaryAssociation const* const pda = AssociationIn(pbktCurrent);
    return pda != nullptr ? pda->GetValue() : nullptr;
}

CPInternalContainer* DictionaryIterationState::vretrieveInternalContainer() {
    return pbktCurrent;
}

// The index of a chain ------------------------------------------------------

// A chain's entries in chain order (bucket, association and word), and a
// table of cells open addressed by the word that gives an entry's position
// without a scan of the chain. It is taken again whenever the chain or a key
// may have changed other than through the dictionary (see Matches).
struct CPDictionary::ChainIndex {
    struct Entry {
        CPBucket* pbkt;
        CPDictionaryAssociation* pda;
        std::uint32_t nWord;
    };
    // A word and the position after its entry's; 0 marks an empty cell.
    struct Cell {
        std::uint32_t nWord;
        std::uint32_t nAfter;
    };

    bool Matches(CPList const* plstChain) const {
        return plst == plstChain && nEdits == plstChain->_get_nEdits() &&
               !plstChain->_get_bSharesBuckets() &&
               nLinks == CPBucket::_get_nLinksSetFromOutside() &&
               nKeyEdits == CPDictionaryAssociation::_get_nKeyEdits();
    }

    void Stamp(CPList const* plstChain) {
        plst = plstChain;
        nEdits = plstChain->_get_nEdits();
        nLinks = CPBucket::_get_nLinksSetFromOutside();
        nKeyEdits = CPDictionaryAssociation::_get_nKeyEdits();
    }

    // Reads the buckets by their links, leaving the chain's cursor alone.
    void Rebuild(CPList const* plstChain) {
        arEntries.clear();
        CPBucket* pbkt = plstChain->_get_pbktHead();
        for (std::uint32_t i = 0; i < plstChain->Length() && pbkt != nullptr; ++i) {
            CPDictionaryAssociation* const pda = AssociationIn(pbkt);
            arEntries.push_back(Entry{pbkt, pda, WordOf(pda)});
            pbkt = pbkt == plstChain->_get_pbktTail() ? nullptr : pbkt->_get_pbktNext();
        }
        // Links that hold fewer buckets than the count are left to the walk.
        bWhole = arEntries.size() == plstChain->Length();
        Rehash();
        Stamp(plstChain);
    }

    // Made or taken again for the chain of the slot; null when it is left to
    // the walk.
    __attribute__((noinline)) static ChainIndex* Retaken(CPDictionary& dct, std::uint32_t nSlot);

    // A number key's word is the key folded to 32 bits; a string key's, a
    // print of its text. A string with no text matches nothing: any word
    // will do.
    static std::uint32_t WordOf(CPDictionaryAssociation const* pda) {
        if (pda == nullptr) return 0;
        if (pda->_get_bUseString() != 1) return NumberPrint(pda->GetKeyCardinal());
        CPString const* const pstrKey = pda->_get_pstrKey();
        DynaBuffer* const pdybuf = pstrKey != nullptr ? pstrKey->_get_pdybuf() : nullptr;
        return pdybuf != nullptr && pdybuf->GetBuffer() != nullptr ? TextPrint(pdybuf->GetBuffer())
                                                                   : 0;
    }

    void Append(CPBucket* pbkt, CPDictionaryAssociation* pda) {
        arEntries.push_back(Entry{pbkt, pda, WordOf(pda)});
        if (arEntries.size() * 2 > arCells.size())
            Rehash();
        else
            Place(arEntries.size() - 1);
    }

    // The position of an association, most often the one found last; the
    // size when it is not there.
    std::size_t PositionOf(CPDictionaryAssociation const* pda) const {
        if (nLastFound < arEntries.size() && arEntries[nLastFound].pda == pda) return nLastFound;
        std::size_t i = 0;
        while (i < arEntries.size() && arEntries[i].pda != pda)
            ++i;
        return i;
    }

    // Empties the entry's cell and moves the positions after it down.
    void RemoveAt(std::size_t n) {
        EmptyCell(CellOf(n));
        auto const nGone = static_cast<std::uint32_t>(n + 1);
        for (Cell& cell : arCells)
            if (cell.nAfter > nGone) --cell.nAfter;
        arEntries.erase(arEntries.begin() + static_cast<std::ptrdiff_t>(n));
    }

    // The position of the first of the first nScan entries with the word
    // whose association the match confirms, or nScan. Unless two entries
    // share a word, the first candidate confirmed is the only one.
    template <class Match>
    std::uint32_t Find(std::uint32_t nWord, std::uint32_t nScan, Match match) {
        std::uint32_t nFound = nScan;
        for (std::size_t i = Home(nWord);; i = (i + 1) & nMask) {
            Cell const cell = arCells[i];
            if (cell.nAfter == 0) break;
            if (cell.nWord != nWord || cell.nAfter - 1 >= nFound) continue;
            if (!match(arEntries[cell.nAfter - 1].pda)) continue;
            nFound = cell.nAfter - 1;
            if (!bSharedWords) break;
        }
        if (nFound < nScan) nLastFound = nFound;
        return nFound;
    }

    CPBucket* BucketAt(std::uint32_t n) const { return arEntries[n].pbkt; }
    CPDictionaryAssociation* AssociationAt(std::uint32_t n) const { return arEntries[n].pda; }

    // The words of one chain share their low byte, and number keys in steps
    // share more: the product's top bits depend on every bit of the word.
    std::size_t Home(std::uint32_t nWord) const {
        return std::size_t{static_cast<std::uint32_t>(nWord * 0x9E3779B1u)} >> nShift;
    }

    void Place(std::size_t n) {
        std::uint32_t const nWord = arEntries[n].nWord;
        std::size_t i = Home(nWord);
        for (; arCells[i].nAfter != 0; i = (i + 1) & nMask)
            if (arCells[i].nWord == nWord) bSharedWords = true;
        arCells[i] = Cell{nWord, static_cast<std::uint32_t>(n + 1)};
    }

    std::size_t CellOf(std::size_t n) const {
        std::size_t i = Home(arEntries[n].nWord);
        while (arCells[i].nAfter != n + 1)
            i = (i + 1) & nMask;
        return i;
    }

    // Linear probing's removal: each later cell of the run whose home does
    // not lie after the gap moves into it, so that no search stops short.
    void EmptyCell(std::size_t nGap) {
        for (std::size_t j = (nGap + 1) & nMask; arCells[j].nAfter != 0; j = (j + 1) & nMask) {
            std::size_t const nHome = Home(arCells[j].nWord);
            bool const bHomeAfterGap =
                nGap <= j ? nGap < nHome && nHome <= j : nGap < nHome || nHome <= j;
            if (bHomeAfterGap) continue;
            arCells[nGap] = arCells[j];
            nGap = j;
        }
        arCells[nGap] = Cell{0, 0};
    }

    // At most half the cells are used, so that a probe ends soon.
    void Rehash() {
        std::size_t nCells = 16;
        while (nCells < arEntries.size() * 4)
            nCells *= 2;
        arCells.assign(nCells, Cell{0, 0});
        nMask = nCells - 1;
        nShift = 32 - static_cast<std::uint32_t>(std::countr_zero(nCells));
        bSharedWords = false;
        for (std::size_t n = 0; n < arEntries.size(); ++n)
            Place(n);
    }

    CPList const* plst = nullptr;
    std::uint32_t nEdits = 0;
    std::uint32_t nLinks = 0;
    std::uint32_t nKeyEdits = 0;
    std::size_t nLastFound = 0;
    std::vector<Entry> arEntries;
    std::vector<Cell> arCells;
    std::size_t nMask = 0;
    // 32 less the bits of a cell's position.
    std::uint32_t nShift = 32;
    // Two entries share a word: a search looks on past the first match.
    bool bSharedWords = false;
    bool bWhole = false;
};

struct CPDictionary::ChainIndexes {
    std::array<std::unique_ptr<ChainIndex>, kSlots> arpcix;
};

// The index of a slot's chain, taken again if the chain changed; null for a
// short chain.
// Inline: every search of a long chain starts here, and the index is most
// often in step.
inline CPDictionary::ChainIndex* CPDictionary::IndexOf(std::uint32_t nSlot) {
    CPList const* const plst = arplstSlots[nSlot];
    if (plst == nullptr || plst->Length() < kIndexFrom) return nullptr;
    if (pcixIndexes != nullptr) {
        ChainIndex* const pcix = pcixIndexes->arpcix[nSlot].get();
        if (pcix != nullptr && pcix->Matches(plst)) return pcix->bWhole ? pcix : nullptr;
    }
    return ChainIndex::Retaken(*this, nSlot);
}

CPDictionary::ChainIndex* CPDictionary::ChainIndex::Retaken(CPDictionary& dct,
                                                            std::uint32_t nSlot) {
    if (dct.pcixIndexes == nullptr) dct.pcixIndexes = new ChainIndexes;
    std::unique_ptr<ChainIndex>& pcix = dct.pcixIndexes->arpcix[nSlot];
    if (pcix == nullptr) pcix = std::make_unique<ChainIndex>();
    pcix->Rebuild(dct.arplstSlots[nSlot]);
    return pcix->bWhole ? pcix.get() : nullptr;
}

// The index of a slot's chain only if it is up to date, for a change about
// to be made to the chain and to the index alike.
CPDictionary::ChainIndex* CPDictionary::IndexInStep(std::uint32_t nSlot) {
    if (pcixIndexes == nullptr || arplstSlots[nSlot] == nullptr) return nullptr;
    ChainIndex* const pcix = pcixIndexes->arpcix[nSlot].get();
    return pcix != nullptr && pcix->bWhole && pcix->Matches(arplstSlots[nSlot]) ? pcix : nullptr;
}

void CPDictionary::ForgetIndex(std::uint32_t nSlot) {
    if (pcixIndexes != nullptr) pcixIndexes->arpcix[nSlot].reset();
}

// CPDictionary: life ---------------------------------------------------------

crc16 CPDictionary::c16The;

CPDictionary::CPDictionary(std::uint32_t) {}

CPDictionary::CPDictionary(CPDictionary const& other)
    : Createable(other), CPKeyedCollection(other), nSlotCursor(other.nSlotCursor),
      arplstSlots(other.arplstSlots), pdaLastFound(other.pdaLastFound) {
    for (CPList* plst : arplstSlots)
        if (plst != nullptr) plst->AddRef();
    // The copy builds its own vector on its first indexed read, so that
    // each frees only its own.
}

CPDictionary& CPDictionary::operator=(CPDictionary const& other) {
    if (this == &other) return *this;
    // The chains held so far are given back rather than lost.
    for (std::uint32_t n = 0; n < kSlots; ++n)
        if (arplstSlots[n] != nullptr) DropChain(n, nullptr);
    CPKeyedCollection::operator=(other);
    nSlotCursor = other.nSlotCursor;
    arplstSlots = other.arplstSlots;
    for (CPList* plst : arplstSlots)
        if (plst != nullptr) plst->AddRef();
    bVectorStale = 1;
    delete[] ppdaVector;
    ppdaVector = nullptr;
    pdaLastFound = other.pdaLastFound;
    delete pcixIndexes;
    pcixIndexes = nullptr;
    return *this;
}

CPDictionary::~CPDictionary() {
    DetachAll();
    // A count lowered by the detach of an absent key stops DetachAll before
    // the last chains; they go here.
    for (std::uint32_t n = 0; n < kSlots; ++n)
        if (arplstSlots[n] != nullptr) DropChain(n, nullptr);
    delete[] ppdaVector;
    delete pcixIndexes;
}

CPCollection* CPDictionary::CreateInstance() {
    return new (std::nothrow) CPDictionary(kSlots);
}

IterationState* CPDictionary::CreateIterationState() {
    return new (std::nothrow) DictionaryIterationState(this);
}

// Slots and chains -----------------------------------------------------------

std::uint32_t CPDictionary::HashOnString(char const* szText) {
    std::uint16_t nCRC = 0;
    if (c16The.Calc(szText, &nCRC) == 0) return 0;
    return nCRC;
}

std::uint32_t CPDictionary::NextNonblankSlot(std::uint32_t n) const {
    for (; n < kSlots; ++n)
        if (arplstSlots[n] != nullptr) return n;
    return kNoSlot;
}

void CPDictionary::AddAssociation(std::uint32_t nSlot, CPDictionaryAssociation* pda) {
    CPList*& plstSlot = arplstSlots[nSlot];
    if (plstSlot == nullptr) {
        plstSlot = new (std::nothrow) CPList;
        SV_FAIL_IF_NIL(plstSlot, "plstSlot");
        plstSlot->AddRef();
    }
    ChainIndex* const pcix = IndexInStep(nSlot);
    plstSlot->Add(pda);
    IncrementLength();
    if (pcix != nullptr) {
        pcix->Append(plstSlot->_get_pbktTail(), pda);
        pcix->Stamp(plstSlot);
    }
}

void CPDictionary::DetachAssociation(std::uint32_t nSlot, CPDictionaryAssociation* pda) {
    CPList* const plst = arplstSlots[nSlot];
    ChainIndex* const pcix = IndexInStep(nSlot);
    std::size_t const n = pcix != nullptr ? pcix->PositionOf(pda) : 0;
    if (pcix != nullptr && n < pcix->arEntries.size()) {
        // The index knows the bucket: the chain's own search is not needed.
        plst->DetachKnownBucket(pcix->BucketAt(static_cast<std::uint32_t>(n)));
        pcix->RemoveAt(n);
        pcix->Stamp(plst);
    } else {
        plst->Detach(pda);
    }
    DropEmptyChain(nSlot);
}

void CPDictionary::DropEmptyChain(std::uint32_t nSlot) {
    CPList* const plst = arplstSlots[nSlot];
    if (plst == nullptr || plst->Length() != 0) return;
    arplstSlots[nSlot] = nullptr;
    ForgetIndex(nSlot);
    plst->Release();
}

// Chains are counted so that a copied dictionary can share them: the last
// holder deletes the associations, any other only lets go.
void CPDictionary::DropChain(std::uint32_t nSlot, pfnKillFunc pfnKill) {
    CPList* const plst = arplstSlots[nSlot];
    arplstSlots[nSlot] = nullptr;
    ForgetIndex(nSlot);
    if (plst->_get_nRefCount() == 1) {
        if (pfnKill != nullptr) {
            plst->ForEach(itKillValueAndDelete, &pfnKill);
            plst->DetachAll();
        } else {
            plst->DestroyAll(itDeleteAssociation);
        }
    } else if (pfnKill != nullptr) {
        plst->ForEach(itKillValue, &pfnKill);
    }
    plst->Release();
}

// Lookup ---------------------------------------------------------------------

CPDictionaryAssociation* CPDictionary::FindDAKeyString(char const* szKey, std::uint32_t* pulHash,
                                                       std::uint32_t* pulSlot) {
    if (szKey == nullptr) {
        pdaLastFound = nullptr;
        return nullptr;
    }
    std::uint32_t const nHash = pulHash != nullptr ? *pulHash : HashOnString(szKey);
    std::uint32_t const nSlot = HashOnCardinal(nHash);
    if (pulSlot != nullptr) *pulSlot = nSlot;
    CPList* const plst = arplstSlots[nSlot];
    if (plst == nullptr) return nullptr;
    pdaLastFound = nullptr;
    if (ChainIndex* const pcix = IndexOf(nSlot)) {
        std::uint32_t const nScan = std::min(plst->Length(), kStringSearchLimit);
        std::uint32_t const n =
            pcix->Find(TextPrint(szKey), nScan, [szKey](CPDictionaryAssociation const* pda) {
                return pda != nullptr && pda->MatchKeyString(szKey) != 0;
            });
        return SettleIndexedSearch(plst, *pcix, n, nScan);
    }
    // Indexed reads from 0 would first walk back from wherever the chain's
    // cursor rests; starting at the top ends in the same place.
    plst->GotoTop();
    // The counter is 16-bit signed: past 32767 it turns negative, reads as a
    // huge unsigned index, and the search ends there.
    std::uint32_t const nLen = plst->Length();
    for (std::int16_t i = 0; static_cast<std::uint32_t>(static_cast<std::int32_t>(i)) < nLen; ++i) {
        CPDictionaryAssociation* const pda = AsAssociation(plst->RetrieveIDX(i));
        if (pda->MatchKeyString(szKey) != 0) {
            pdaLastFound = pda;
            break;
        }
    }
    return pdaLastFound;
}

// Leaves the chain and pdaLastFound as the walk by index over the first
// nScan entries would, when the index has found entry n (nScan: none).
CPDictionaryAssociation* CPDictionary::SettleIndexedSearch(CPList* plst, ChainIndex const& cix,
                                                           std::uint32_t n, std::uint32_t nScan) {
    if (n < nScan) {
        plst->SettleIndexedRead(cix.BucketAt(n), n);
        pdaLastFound = cix.AssociationAt(n);
    } else if (nScan != 0) {
        plst->SettleIndexedRead(cix.BucketAt(nScan - 1), nScan - 1);
    }
    return pdaLastFound;
}

CPDictionaryAssociation* CPDictionary::FindDAKeyNum(std::uintptr_t nKey) {
    std::uint32_t const nSlot = HashOnCardinal(nKey);
    CPList* const plst = arplstSlots[nSlot];
    if (plst == nullptr) return nullptr;
    pdaLastFound = nullptr;
    if (ChainIndex* const pcix = IndexOf(nSlot)) {
        std::uint32_t const nLen = plst->Length();
        std::uint32_t const n = pcix->Find(NumberPrint(nKey), nLen, MatchingNumber(nKey));
        return SettleIndexedSearch(plst, *pcix, n, nLen);
    }
    plst->GotoTop();
    std::uint32_t const nLen = plst->Length();
    for (std::uint32_t i = 0; i < nLen; ++i) {
        CPDictionaryAssociation* const pda = AsAssociation(plst->RetrieveIDX(i));
        if (pda->MatchKeyCardinal(nKey) != 0) {
            pdaLastFound = pda;
            break;
        }
    }
    return pdaLastFound;
}

CPDictionaryAssociation* CPDictionary::FirstDAKeyNum(std::uintptr_t nKey) {
    std::uint32_t const nSlot = HashOnCardinal(nKey);
    CPList* const plst = arplstSlots[nSlot];
    if (plst == nullptr) return nullptr;
    if (ChainIndex* const pcix = IndexOf(nSlot)) {
        std::uint32_t const nLen = plst->Length();
        std::uint32_t const n = pcix->Find(NumberPrint(nKey), nLen, MatchingNumber(nKey));
        return AsAssociation(plst->SettleFirstThat(n < nLen ? pcix->BucketAt(n) : nullptr));
    }
    CPBucket* pbktMatch = nullptr;
    if (ScanShortChain(*plst, nKey, &pbktMatch))
        return AsAssociation(plst->SettleFirstThat(pbktMatch));
    return AsAssociation(plst->FirstThat(itMatchKeyCardinal, &nKey));
}

void* CPDictionary::FindKeyNum(std::uintptr_t nKey) {
    CPDictionaryAssociation const* const pda = FindDAKeyNum(nKey);
    return pda != nullptr ? pda->GetValue() : nullptr;
}

void* CPDictionary::FindKeyString(char const* szKey, std::uint32_t* pulHash) {
    CPDictionaryAssociation const* const pda = FindDAKeyString(szKey, pulHash, nullptr);
    return pda != nullptr ? pda->GetValue() : nullptr;
}

void* CPDictionary::FindKeyString(CPString* pstrKey) {
    std::uint32_t nHash = pstrKey->_get_nCRC();
    return FindKeyString(pstrKey->GetBuffer(), &nHash);
}

std::int32_t CPDictionary::ExistsKeyNum(std::uintptr_t nKey) {
    return FirstDAKeyNum(nKey) != nullptr ? 1 : 0;
}

std::int32_t CPDictionary::ExistsKeyString(CPString* pstrKey) {
    std::uint32_t nHash = pstrKey->_get_nCRC();
    return ExistsKeyString(pstrKey->GetBuffer(), &nHash);
}

std::int32_t CPDictionary::ExistsKeyString(char const* szKey, std::uint32_t* pulHash) {
    return FindDAKeyString(szKey, pulHash, nullptr) != nullptr ? 1 : 0;
}

std::int32_t CPDictionary::ExistsValue(void* pv) {
    return FirstThat(itValueIs, pv) != nullptr ? 1 : 0;
}

void* CPDictionary::operator[](std::uintptr_t nKey) {
    return FindKeyNum(nKey);
}

// Adding ---------------------------------------------------------------------

void CPDictionary::AddKeyNum(std::uintptr_t nKey, void* pv) {
    if (ExistsKeyNum(nKey) != 0) return;
    bVectorStale = 1;
    auto* const pdaThis = new (std::nothrow) CPDictionaryAssociation;
    SV_FAIL_IF_NIL(pdaThis, "pdaThis");
    pdaThis->AssignKeyCardinal(nKey);
    pdaThis->SetValue(pv);
    AddAssociation(HashOnCardinal(nKey), pdaThis);
}

void CPDictionary::AddKeyString(char const* szKey, void* pv, std::uint32_t* pulHash) {
    std::uint32_t nHash = pulHash != nullptr ? *pulHash : HashOnString(szKey);
    if (ExistsKeyString(szKey, &nHash) != 0) return;
    bVectorStale = 1;
    auto* const pdaThis = new (std::nothrow) CPDictionaryAssociation;
    SV_FAIL_IF_NIL(pdaThis, "pdaThis");
    pdaThis->AssignKeyCardinal(nHash);
    pdaThis->AssignKeyString(szKey);
    pdaThis->SetValue(pv);
    AddAssociation(HashOnCardinal(nHash), pdaThis);
}

void CPDictionary::AddKeyString(CPString* pstrKey, void* pv) {
    std::uint32_t nHash = pstrKey->_get_nCRC();
    if (ExistsKeyString(pstrKey->GetBuffer(), &nHash) != 0) return;
    bVectorStale = 1;
    auto* const pdaThis = new (std::nothrow) CPDictionaryAssociation;
    SV_FAIL_IF_NIL(pdaThis, "pdaThis");
    pdaThis->AssignKeyCardinal(nHash);
    pdaThis->AssignKeyString(pstrKey);
    pdaThis->SetValue(pv);
    AddAssociation(HashOnCardinal(nHash), pdaThis);
}

void CPDictionary::Add(void* pv) {
    AddKeyNum(reinterpret_cast<std::uintptr_t>(pv), pv);
}

void CPDictionary::AddInternalContainer(CPInternalContainer*) {}

void CPDictionary::AddList(CPList* plst) {
    bVectorStale = 1;
    plst->ForEach(itAddAssociationTo, this);
}

// Removing -------------------------------------------------------------------

void CPDictionary::Forget(CPDictionaryAssociation* pda) {
    if (pdaLastFound == pda) pdaLastFound = nullptr;
    delete pda;
}

void CPDictionary::RemoveKeyString(char const* szKey, std::uint32_t nHash, pfnKillFunc pfnKill) {
    bVectorStale = 1;
    // Where the text hashes; a null text is found nowhere and names no slot
    // of its own.
    std::uint32_t nSlot = HashOnCardinal(nHash);
    CPDictionaryAssociation* const pda = FindDAKeyString(szKey, &nHash, &nSlot);
    // An absent key trips the list's own check here.
    if (arplstSlots[nSlot] != nullptr) DetachAssociation(nSlot, pda);
    if (pda != nullptr && pfnKill != nullptr) pfnKill(pda->GetValue(), nullptr);
    Forget(pda);
    pdaLastFound = nullptr;
    bVectorStale = 1;
    // Lowered whether or not the key was there.
    DecrementLength();
}

void CPDictionary::RemoveKeyNum(std::uintptr_t nKey, pfnKillFunc pfnKill) {
    bVectorStale = 1;
    std::uint32_t const nSlot = HashOnCardinal(nKey);
    CPList* const plst = arplstSlots[nSlot];
    if (plst == nullptr) return;
    CPDictionaryAssociation* const pda = FirstDAKeyNum(nKey);
    if (pda == nullptr) return;
    DetachAssociation(nSlot, pda);
    if (pfnKill != nullptr) pfnKill(pda->GetValue(), nullptr);
    Forget(pda);
    DecrementLength();
}

void CPDictionary::DetachKeyString(char const* szKey, std::uint32_t* pulHash) {
    RemoveKeyString(szKey, pulHash != nullptr ? *pulHash : HashOnString(szKey), nullptr);
}

void CPDictionary::DetachKeyString(CPString* pstrKey) {
    RemoveKeyString(pstrKey->GetBuffer(), pstrKey->_get_nCRC(), nullptr);
}

void CPDictionary::DetachKeyNum(std::uintptr_t nKey) {
    RemoveKeyNum(nKey, nullptr);
}

void CPDictionary::DestroyKeyNum(std::uintptr_t nKey, pfnKillFunc pfnKill) {
    RemoveKeyNum(nKey, pfnKill);
}

void CPDictionary::DestroyKeyString(char const* szKey, pfnKillFunc pfnKill,
                                    std::uint32_t* pulHash) {
    RemoveKeyString(szKey, pulHash != nullptr ? *pulHash : HashOnString(szKey), pfnKill);
}

void CPDictionary::DestroyKeyString(CPString* pstrKey, pfnKillFunc pfnKill) {
    RemoveKeyString(pstrKey->GetBuffer(), pstrKey->_get_nCRC(), pfnKill);
}

char CPDictionary::Detach(void* pv) {
    GotoTop();
    for (CPDictionaryAssociation* pda; (pda = CursorAssociation()) != nullptr; Next()) {
        if (pda->GetValue() == pv && pda->_get_pstrKey() != nullptr) {
            DetachKeyString(pda->_get_pstrKey());
            return 1;
        }
    }
    return 0;
}

char CPDictionary::Destroy(void* pv, pfnKillFunc pfnKill) {
    GotoTop();
    for (CPDictionaryAssociation* pda; (pda = CursorAssociation()) != nullptr; Next()) {
        if (pda->GetValue() != pv) continue;
        if (pda->_get_pstrKey() != nullptr)
            DestroyKeyString(pda->_get_pstrKey(), pfnKill);
        else
            DestroyKeyNum(pda->GetKeyCardinal(), pfnKill);
        return 1;
    }
    return 0;
}

char CPDictionary::DetachAll() {
    bVectorStale = 1;
    // Signed, so that chains longer than the count can't wrap it.
    std::int64_t nUnseen = nLength;
    for (std::uint32_t n = 0; nUnseen > 0 && n < kSlots; ++n) {
        if (arplstSlots[n] == nullptr) continue;
        nUnseen -= arplstSlots[n]->Length();
        DropChain(n, nullptr);
    }
    ClearLength();
    pdaLastFound = nullptr;
    return 1;
}

char CPDictionary::DestroyAll(pfnKillFunc pfnKill) {
    bVectorStale = 1;
    std::int64_t nUnseen = nLength;
    for (std::uint32_t n = 0; nUnseen > 0 && n < kSlots; ++n) {
        if (arplstSlots[n] == nullptr) continue;
        nUnseen -= arplstSlots[n]->Length();
        DropChain(n, pfnKill);
    }
    ClearLength();
    pdaLastFound = nullptr;
    return 1;
}

// By position ----------------------------------------------------------------

void CPDictionary::RefreshParallelVector() {
    if (bVectorStale == 0) return;
    bVectorStale = 0;
    delete[] ppdaVector;
    ppdaVector = nullptr;
    if (nLength == 0) return;
    ppdaVector = new CPDictionaryAssociation*[nLength]();
    VectorFill fill{ppdaVector, nLength, 0};
    ForEachInternalContainer(itFillVector, &fill);
}

CPDictionaryAssociation* CPDictionary::RetrieveDAIDX(std::int32_t n) {
    RefreshParallelVector();
    if (static_cast<std::uint32_t>(n) >= nLength) return nullptr;
    return ppdaVector[n];
}

void* CPDictionary::RetrieveIDX(std::uint32_t n) {
    CPDictionaryAssociation const* const pda = RetrieveDAIDX(static_cast<std::int32_t>(n));
    return pda != nullptr ? pda->GetValue() : nullptr;
}

// The own cursor -------------------------------------------------------------

void CPDictionary::GotoTop() {
    nSlotCursor = static_cast<std::int16_t>(NextNonblankSlot(0));
    if (nSlotCursor != -1) arplstSlots[nSlotCursor]->GotoTop();
}

void CPDictionary::GotoBottom() {
    if (nLength == 0) {
        GotoTop();
        return;
    }
    // The scan starts at the last slot.
    for (std::int32_t n = kSlots - 1; n >= 0; --n) {
        if (arplstSlots[n] != nullptr) {
            nSlotCursor = static_cast<std::int16_t>(n);
            arplstSlots[n]->GotoBottom();
            return;
        }
    }
    nSlotCursor = -1;
}

std::int32_t CPDictionary::Next() {
    if (nSlotCursor < 0 || nSlotCursor >= static_cast<std::int32_t>(kSlots)) return 0;
    CPList* const plst = arplstSlots[nSlotCursor];
    if (plst == nullptr) return 0;
    if (plst->Next() != 0) return 1;
    std::uint32_t const nNext = NextNonblankSlot(static_cast<std::uint32_t>(nSlotCursor) + 1);
    if (nNext == kNoSlot) return 0;
    nSlotCursor = static_cast<std::int16_t>(nNext);
    arplstSlots[nNext]->GotoTop();
    return 1;
}

std::int32_t CPDictionary::Prev() {
    return 0;
}

CPDictionaryAssociation* CPDictionary::CursorAssociation() const {
    if (nSlotCursor < 0 || nSlotCursor >= static_cast<std::int32_t>(kSlots)) return nullptr;
    CPList* const plst = arplstSlots[nSlotCursor];
    return plst != nullptr ? AsAssociation(plst->Retrieve()) : nullptr;
}

void* CPDictionary::Retrieve() {
    CPDictionaryAssociation const* const pda = CursorAssociation();
    return pda != nullptr ? pda->GetValue() : nullptr;
}

void* CPDictionary::RetrieveInternalContainer() {
    return CursorAssociation();
}

// Walks ----------------------------------------------------------------------

void CPDictionary::ForEachInternalContainer(pfnKillFunc pfn, void* pvUser) {
    for (std::uint32_t n = 0; n < kSlots; ++n) {
        // The slot is read again at each step: the function may have emptied
        // it.
        CPList* plst;
        for (std::uint32_t i = 0; (plst = arplstSlots[n]) != nullptr && i < plst->Length(); ++i)
            pfn(plst->RetrieveIDX(i), pvUser);
    }
}

void CPDictionary::ForEach(pfnKillFunc pfn, void* pvUser) {
    for (std::uint32_t n = 0; n < kSlots; ++n) {
        CPList* plst;
        for (std::uint32_t i = 0; (plst = arplstSlots[n]) != nullptr && i < plst->Length(); ++i)
            pfn(AsAssociation(plst->RetrieveIDX(i))->GetValue(), pvUser);
    }
}

void CPDictionary::ForEach(pfnKeyFunc pfn, void* pvUser) {
    Call<pfnKeyFunc> call{pfn, pvUser};
    ForEachInternalContainer(itActWithKey, &call);
}

void CPDictionary::ForEach(IteratorAction* pia) {
    GotoTop();
    for (CPDictionaryAssociation* pda; (pda = CursorAssociation()) != nullptr; Next()) {
        pia->pvItem = pda->GetValue();
        if (pda->_get_bUseString() == 1)
            pia->SetKeyString(pda->_get_pstrKey());
        else
            pia->SetKeyNum(pda->GetKeyCardinal());
        pia->Execute();
    }
}

void CPDictionary::ForEachKeyCardinal(pfnKillFunc pfn, void* pvUser) {
    Call<pfnKillFunc> call{pfn, pvUser};
    for (CPList* plst : arplstSlots)
        if (plst != nullptr) plst->ForEach(itActOnKeyCardinal, &call);
}

void* CPDictionary::FirstThatKeyCardinal(pfnCondFunc pfnCond, void* pvUser) {
    Call<pfnCondFunc> call{pfnCond, pvUser};
    // A null condition goes on to each chain, which answers null for it.
    pfnCondFunc const pfnChain = pfnCond != nullptr ? itCondOnKeyCardinal : nullptr;
    for (CPList* plst : arplstSlots) {
        if (plst == nullptr) continue;
        if (void* const pv = plst->FirstThat(pfnChain, &call)) return AsAssociation(pv)->GetValue();
    }
    return nullptr;
}

void* CPDictionary::FirstThatOf(pfnCondFunc pfnCond, void* pvUser, bool bAssociation) {
    Call<pfnCondFunc> call{pfnCond, pvUser};
    pfnCondFunc const pfnChain = pfnCond == nullptr ? nullptr
                                 : bAssociation     ? itCondOnAssociation
                                                    : itCondOnValue;
    for (CPList* plst : arplstSlots) {
        if (plst == nullptr) continue;
        if (void* const pv = plst->FirstThat(pfnChain, &call))
            return bAssociation ? pv : AsAssociation(pv)->GetValue();
    }
    return nullptr;
}

void* CPDictionary::FirstThat(pfnCondFunc pfnCond, void* pvUser) {
    return FirstThatOf(pfnCond, pvUser, false);
}

void* CPDictionary::FirstThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) {
    return FirstThatOf(pfnCond, pvUser, true);
}

void* CPDictionary::NextThat(pfnCondFunc, void*) {
    SV_ASSERT(1 == 0, "1==0");
    return nullptr;
}

void* CPDictionary::NextThatInternalContainer(pfnCondFunc, void*) {
    SV_ASSERT(1 == 0, "1==0");
    return nullptr;
}

CPCollection* CPDictionary::AllThatOf(pfnCondFunc pfnCond, void* pvUser, bool bAssociation) {
    auto* const pdctNew = new (std::nothrow) CPDictionary(kSlots);
    SV_FAIL_IF_NIL(pdctNew, "pdctNew");
    Call<pfnCondFunc> call{pfnCond, pvUser};
    // A null condition goes on to the chains, whose own check reports it.
    pfnCondFunc const pfnChain = pfnCond == nullptr ? nullptr
                                 : bAssociation     ? itCondOnAssociation
                                                    : itCondOnValue;
    for (CPList* plst : arplstSlots) {
        if (plst == nullptr) continue;
        CPCollection* const pclMatches = plst->AllThat(pfnChain, &call);
        pdctNew->AddList(static_cast<CPList*>(pclMatches));
        delete pclMatches;
    }
    return pdctNew;
}

CPCollection* CPDictionary::AllThat(pfnCondFunc pfnCond, void* pvUser) {
    return AllThatOf(pfnCond, pvUser, false);
}

CPCollection* CPDictionary::AllThatInternalContainer(pfnCondFunc pfnCond, void* pvUser) {
    return AllThatOf(pfnCond, pvUser, true);
}

void CPDictionary::StringKeyList(char* pszOut) {
    pszOut[0] = '\0';
    ForEach(itAppendKeyText, pszOut);
}
