#include <cpcoll/cpdict.h>
#include <util/pstring.h>

#include "support.h"

#include <cstring>
#include <memory>

namespace {

using namespace cpcoll_test;

// Slots of these keys (low byte of the CRC): abc 56, alpha 79, gamma 86,
// beta 233.
void FillStrings(CPDictionary& dct) {
    dct.AddKeyString("beta", Item(3));
    dct.AddKeyString("abc", Item(0));
    dct.AddKeyString("gamma", Item(2));
    dct.AddKeyString("alpha", Item(1));
}

std::vector<void*> ByIndex(CPDictionary& dct) {
    std::vector<void*> out;
    for (std::uint32_t n = 0; n < dct.Length(); ++n)
        out.push_back(dct.RetrieveIDX(n));
    return out;
}

std::vector<void*> ByCursor(CPDictionary& dct) {
    std::vector<void*> out;
    dct.GotoTop();
    for (void* pv; (pv = dct.Retrieve()) != nullptr; dct.Next())
        out.push_back(pv);
    return out;
}

int itKeyIs(void* pvAssociation, void* pvText) {
    return static_cast<CPDictionaryAssociation*>(pvAssociation)
        ->MatchKeyString(static_cast<char const*>(pvText));
}

std::string KeyText(CPDictionaryAssociation const* pda) {
    return pda->GetKeyString(static_cast<char*>(nullptr));
}

} // namespace

TEST(CPDictionaryTest, ANewDictionaryHasNoPlaceToBe) {
    CPDictionary dct;
    EXPECT_EQ(dct._get_nNumberOfSlots(), 256u);
    dct.GotoTop();
    EXPECT_EQ(dct._get_nSlotCursor(), -1);
    EXPECT_EQ(dct.Next(), 0);
    EXPECT_EQ(dct.Retrieve(), nullptr);
    dct.GotoBottom();
    EXPECT_EQ(dct._get_nSlotCursor(), -1);
    EXPECT_EQ(dct.RetrieveIDX(0), nullptr);
    EXPECT_EQ(dct.NextNonblankSlot(0), CPDictionary::kNoSlot);
}

TEST(CPDictionaryTest, NumberKeysGoToTheSlotOfTheirLowByte) {
    CPDictionary dct;
    dct.AddKeyNum(5, Item(0));
    dct.AddKeyNum(5, Item(1)); // ignored: the first value stays
    EXPECT_EQ(dct.Length(), 1u);
    EXPECT_EQ(dct.FindKeyNum(5), Item(0));
    dct.AddKeyNum(261, Item(2)); // slot 5 too, behind 5
    EXPECT_EQ(dct._get_plstSlot(5)->Length(), 2u);
    EXPECT_EQ(dct.RetrieveIDX(1), Item(2));
    EXPECT_EQ(dct[261], Item(2)); // by key, not by position

    // Keys are as wide as a pointer.
    std::uintptr_t const nWide = (std::uintptr_t{1} << (sizeof(void*) * 8 - 1)) | 5;
    dct.AddKeyNum(nWide, Item(3));
    EXPECT_EQ(dct.FindKeyNum(nWide), Item(3));
    EXPECT_EQ(dct.FindKeyNum(5), Item(0));

    // A stored null is found as null; only Exists tells it from nothing.
    dct.AddKeyNum(9, nullptr);
    EXPECT_EQ(dct.FindKeyNum(9), nullptr);
    EXPECT_EQ(dct.ExistsKeyNum(9), 1);

    // Add keys an element by its own address: a set.
    CPDictionary set;
    set.Add(Item(4));
    set.Add(Item(4));
    EXPECT_EQ(set.Length(), 1u);
    EXPECT_EQ(set.FindKeyNum(reinterpret_cast<std::uintptr_t>(Item(4))), Item(4));
}

TEST(CPDictionaryTest, StringKeysHashByCrcAndMatchExactly) {
    EXPECT_EQ(CPDictionary::HashOnString("123456789"), 0xBB3Du);
    EXPECT_EQ(CPDictionary::HashOnString("abc"), 0x9738u);

    CPDictionary dct;
    dct.AddKeyString("abc", Item(0));
    ASSERT_NE(dct._get_plstSlot(56), nullptr);
    dct.AddKeyString("abc", Item(1));
    EXPECT_EQ(dct.Length(), 1u);
    EXPECT_EQ(dct.FindKeyString("abc"), Item(0));
    EXPECT_EQ(dct.FindKeyString("ABC"), nullptr);
    EXPECT_EQ(dct.ExistsKeyString("abc"), 1);

    // A precomputed hash is taken as given.
    std::uint32_t nWrong = 0x1234;
    std::uint32_t nSameSlot = 0x38;
    EXPECT_EQ(dct.FindKeyString("abc", &nWrong), nullptr);
    EXPECT_EQ(dct.FindKeyString("abc", &nSameSlot), Item(0));

    // A number key and a string key never match, even in one slot.
    std::uint32_t nSlotFive = 5;
    dct.AddKeyString("5", Item(2), &nSlotFive);
    dct.AddKeyNum(5, Item(3));
    EXPECT_EQ(dct._get_plstSlot(5)->Length(), 2u);
    EXPECT_EQ(dct.FindKeyNum(5), Item(3));
    EXPECT_EQ(dct.FindKeyString("5", &nSlotFive), Item(2));
    EXPECT_EQ(dct.FindKeyString("5"), nullptr); // its own hash names another slot
}

TEST(CPDictionaryTest, AnEmptyKeyReadsUnNamedAndCanNotBeFound) {
    CPDictionary dct;
    dct.AddKeyString("", Item(0));
    EXPECT_EQ(dct.Length(), 1u);
    EXPECT_NE(dct._get_plstSlot(0), nullptr); // where the empty text hashes
    EXPECT_EQ(KeyText(dct.RetrieveDAIDX(0)), "UnNamed");
    EXPECT_EQ(dct.FindKeyString(""), nullptr);
    EXPECT_EQ(dct.FindKeyString("UnNamed"), nullptr);
    EXPECT_EQ(dct.ExistsKeyString(""), 0);
    dct.AddKeyString("", Item(1)); // so a second one is added
    EXPECT_EQ(dct.Length(), 2u);

    // A counted string key that is empty is renamed in place.
    auto* const pstrEmpty = new CPString("");
    pstrEmpty->AddRef();
    dct.AddKeyString(pstrEmpty, Item(2));
    EXPECT_STREQ(pstrEmpty->GetBuffer(), "UnNamed");
    pstrEmpty->Release();
}

TEST(CPDictionaryTest, StringObjectKeysBringTheirCachedCrc) {
    CPDictionary dct;
    {
        // Uncounted, on the stack: the dictionary keeps a copy that shares
        // the buffer, and so the CRC cached there.
        CPString onStack("abc");
        dct.AddKeyString(&onStack, Item(0));
        CPString* const pstrKey = dct.RetrieveDAIDX(0)->_get_pstrKey();
        EXPECT_NE(pstrKey, &onStack);
        EXPECT_EQ(pstrKey->_get_pdybuf(), onStack._get_pdybuf());
        EXPECT_EQ(onStack._get_pdybuf()->_get_bCRCValid(), 1);
    }
    EXPECT_EQ(dct.FindKeyString("abc"), Item(0));

    // Counted: held as it is, with one more reference.
    auto* const pstrHeld = new CPString("alpha");
    pstrHeld->AddRef();
    dct.AddKeyString(pstrHeld, Item(1));
    EXPECT_EQ(pstrHeld->_get_nRefCount(), 2);
    EXPECT_EQ(dct.FindKeyString(pstrHeld), Item(1));
    EXPECT_EQ(dct.ExistsKeyString(pstrHeld), 1);
    dct.DetachKeyString(pstrHeld);
    EXPECT_EQ(pstrHeld->_get_nRefCount(), 1);
    pstrHeld->Release();

    // The lookup takes the cached CRC and never hashes again: a text changed
    // behind the cache is looked for where the cache says.
    CPString probe("abc");
    EXPECT_EQ(probe._get_nCRC(), 0x9738);
    probe.GetBuffer()[0] = 'x'; // "xbc", with the CRC of "abc"
    std::uint32_t nCachedSlot = 0x38;
    dct.AddKeyString("xbc", Item(2), &nCachedSlot);
    EXPECT_EQ(dct.FindKeyString(&probe), Item(2));
    EXPECT_EQ(dct.FindKeyString("xbc"), nullptr);
}

TEST(CPDictionaryTest, WalksGoBySlotThenByInsertion) {
    CPDictionary dct;
    FillStrings(dct);
    dct.AddKeyNum(56 + 256, Item(4)); // behind "abc" in slot 56
    std::vector<void*> const order{Item(0), Item(4), Item(1), Item(2), Item(3)};
    EXPECT_EQ(ByIndex(dct), order);
    EXPECT_EQ(dct.RetrieveIDX(5), nullptr);
    EXPECT_EQ(ByCursor(dct), order);
    EXPECT_EQ(dct.Next(), 0); // at the end the slot stays
    EXPECT_EQ(dct._get_nSlotCursor(), 233);
    EXPECT_EQ(dct.Retrieve(), nullptr);

    dct.GotoBottom();
    EXPECT_EQ(dct.Retrieve(), Item(3));
    EXPECT_EQ(dct.Prev(), 0);
    EXPECT_EQ(dct.Retrieve(), Item(3));

    // The vector follows a change at the next indexed read.
    dct.AddKeyNum(0, Item(5));
    EXPECT_EQ(dct.RetrieveIDX(0), Item(5));

    // Searches go by the chains' own cursors, which the dictionary's cursor
    // is made of.
    dct.GotoTop();
    dct.Next(); // slot 56, "abc"
    EXPECT_EQ(dct.Retrieve(), Item(0));
    EXPECT_EQ(dct.FindKeyNum(56 + 256), Item(4));
    EXPECT_EQ(dct.Retrieve(), Item(4));

    // The function walks leave the dictionary's cursor alone.
    std::vector<void*> seen;
    dct.ForEach(itCollect, &seen);
    EXPECT_EQ(seen, (std::vector<void*>{Item(5), Item(0), Item(4), Item(1), Item(2), Item(3)}));
    EXPECT_EQ(dct._get_nSlotCursor(), 56);
    seen.clear();
    dct.ForEachKeyCardinal(itCollect, &seen);
    EXPECT_EQ(seen,
              (std::vector<void*>{reinterpret_cast<void*>(0), nullptr,
                                  reinterpret_cast<void*>(56 + 256), nullptr, nullptr, nullptr}));
}

namespace {

struct KeyRecorder final : IteratorAction {
    std::vector<std::uintptr_t> keys;
    std::vector<char> kinds;
    short Execute() override {
        keys.push_back(Key);
        kinds.push_back(bKeyIsString);
        return 0;
    }
};

void itWithKey(void* pvItem, void* pvSeen, std::uintptr_t nKey) {
    static_cast<std::vector<void*>*>(pvSeen)->push_back(pvItem);
    static_cast<std::vector<void*>*>(pvSeen)->push_back(reinterpret_cast<void*>(nKey));
}

int itKeyAbove(void* pvKey, void* pvLimit) {
    return pvKey > pvLimit ? 1 : 0;
}

} // namespace

TEST(CPDictionaryTest, KeyedWalksHandOverTheKey) {
    CPDictionary dct;
    dct.AddKeyString("abc", Item(0));
    dct.AddKeyNum(100, Item(1));
    CPString* const pstrAbc = dct.RetrieveDAIDX(0)->_get_pstrKey();

    KeyRecorder recorder;
    dct.ForEach(&recorder);
    EXPECT_EQ(recorder.keys,
              (std::vector<std::uintptr_t>{reinterpret_cast<std::uintptr_t>(pstrAbc), 100}));
    EXPECT_EQ(recorder.kinds, (std::vector<char>{1, 0}));

    std::vector<void*> seen;
    dct.ForEach(itWithKey, &seen);
    EXPECT_EQ(seen, (std::vector<void*>{Item(0), pstrAbc, Item(1), reinterpret_cast<void*>(100)}));

    EXPECT_EQ(dct.FirstThatKeyCardinal(itKeyAbove, reinterpret_cast<void*>(50)), Item(1));
    EXPECT_EQ(dct.FirstThatKeyCardinal(nullptr, nullptr), nullptr);
    EXPECT_EQ(dct.FirstThat(itIs, Item(1)), Item(1));
    EXPECT_EQ(dct.FirstThat(nullptr, nullptr), nullptr);
    EXPECT_EQ(dct.FirstThatInternalContainer(itKeyIs, const_cast<char*>("abc")),
              dct.RetrieveDAIDX(0));
    EXPECT_EQ(dct.ExistsValue(Item(1)), 1);
    EXPECT_EQ(dct.ExistsValue(Item(7)), 0);
}

TEST(CPDictionaryTest, AllThatKeepsKeysAndCountsOnlyExactlyOne) {
    CPDictionary dct;
    FillStrings(dct);
    dct.AddKeyNum(3, Item(1));
    std::unique_ptr<CPCollection> const pmatch(dct.AllThat(itIs, Item(1)));
    auto* const pdct = dynamic_cast<CPDictionary*>(pmatch.get());
    ASSERT_NE(pdct, nullptr);
    EXPECT_EQ(pdct->Length(), 2u);
    EXPECT_EQ(pdct->FindKeyNum(3), Item(1));
    // The key string is shared, not copied.
    EXPECT_EQ(pdct->RetrieveDAIDX(1)->_get_pstrKey(), dct.RetrieveDAIDX(2)->_get_pstrKey());

    std::unique_ptr<CPCollection> const ptwos(dct.AllThat(itAnswerTwo, nullptr));
    EXPECT_EQ(ptwos->Length(), 0u);
    std::unique_ptr<CPCollection> const pbyKey(
        dct.AllThatInternalContainer(itKeyIs, const_cast<char*>("gamma")));
    EXPECT_EQ(ByIndex(*static_cast<CPDictionary*>(pbyKey.get())), std::vector<void*>{Item(2)});
}

TEST(CPDictionaryTest, RemovalDropsEmptyChainsAndKillsOnRequest) {
    CPDictionary dct;
    FillStrings(dct);
    dct.AddKeyNum(7, Item(5));
    dct.AddKeyNum(263, Item(6));

    dct.DetachKeyString("abc");
    EXPECT_EQ(dct._get_plstSlot(56), nullptr);
    EXPECT_EQ(dct.NextNonblankSlot(0), 7u);
    EXPECT_EQ(dct.NextNonblankSlot(8), 79u);
    EXPECT_EQ(dct.Length(), 5u);

    dct.DetachKeyNum(7);
    EXPECT_EQ(dct.FindKeyNum(263), Item(6));
    dct.DetachKeyNum(8); // absent: nothing changes
    EXPECT_EQ(dct.Length(), 4u);

    // By value: only a string key lets its element go; Destroy takes both.
    EXPECT_EQ(dct.Detach(Item(6)), 0);
    EXPECT_EQ(dct.FindKeyNum(263), Item(6));
    EXPECT_EQ(dct.Detach(Item(2)), 1);
    EXPECT_EQ(dct.ExistsKeyString("gamma"), 0);
    EXPECT_EQ(dct.Destroy(Item(6), Kills::Record), 1);
    EXPECT_EQ(dct.ExistsKeyNum(263), 0);
    dct.DestroyKeyString("beta", Kills::Record);
    dct.AddKeyNum(1, Item(4));
    dct.DestroyKeyNum(1, Kills::Record);
    EXPECT_EQ(Kills::seen, (std::vector<void*>{Item(6), Item(3), Item(4)}));
    EXPECT_EQ(dct.Length(), 1u);

    FillStrings(dct);
    dct.DestroyAll(Kills::Record);
    EXPECT_EQ(Kills::seen.size(), 7u);
    EXPECT_EQ(dct.Length(), 0u);
    EXPECT_EQ(dct.NextNonblankSlot(0), CPDictionary::kNoSlot);
}

TEST(CPDictionaryTest, DetachingAnAbsentStringKeyLowersTheCountAllTheSame) {
    CPDictionary dct;
    dct.AddKeyNum(1, Item(0));
    dct.AddKeyNum(2, Item(1));
    dct.DetachKeyString("gamma"); // slot 86 has no chain
    EXPECT_EQ(dct.Length(), 1u);
    EXPECT_EQ(dct.FindKeyNum(1), Item(0));
    EXPECT_EQ(dct.FindKeyNum(2), Item(1));
    // The vector is made for the count: the second entry is left out.
    EXPECT_EQ(ByIndex(dct), std::vector<void*>{Item(0)});

    // DetachAll counts down from the length, and stops before the last
    // chain; the destructor still frees it.
    dct.DetachAll();
    EXPECT_EQ(dct.Length(), 0u);
    EXPECT_EQ(dct.FindKeyNum(2), Item(1));
}

TEST(CPDictionaryTest, CopiesShareChainsAndCanBothBeDestroyed) {
    auto psource = std::make_unique<CPDictionary>();
    FillStrings(*psource);
    EXPECT_EQ(psource->RetrieveIDX(0), Item(0)); // the source's vector is built
    auto pcopy = std::make_unique<CPDictionary>(*psource);
    EXPECT_EQ(pcopy->_get_plstSlot(56), psource->_get_plstSlot(56));
    EXPECT_EQ(pcopy->FindKeyString("gamma"), Item(2));
    EXPECT_EQ(ByIndex(*pcopy), ByIndex(*psource));
    pcopy.reset();
    EXPECT_EQ(psource->RetrieveIDX(3), Item(3));
    EXPECT_EQ(psource->FindKeyString("beta"), Item(3));

    CPDictionary assigned;
    assigned.AddKeyNum(1, Item(5));
    assigned = *psource;
    EXPECT_EQ(assigned.FindKeyNum(1), nullptr);
    EXPECT_EQ(assigned.FindKeyString("alpha"), Item(1));
    psource.reset();
    EXPECT_EQ(ByIndex(assigned), (std::vector<void*>{Item(0), Item(1), Item(2), Item(3)}));
}

TEST(CPDictionaryTest, StringKeyListReadsElementsAsAssociations) {
    CPDictionary keys;
    keys.AddKeyString("beta", Item(0));
    keys.AddKeyString("alpha", Item(1));
    keys.AddKeyNum(4, Item(2));
    CPDictionary list;
    for (std::int32_t n = 0; n < 3; ++n)
        list.AddKeyNum(static_cast<std::uintptr_t>(n), keys.RetrieveDAIDX(n));
    char szOut[64];
    std::memset(szOut, 'x', sizeof szOut);
    list.StringKeyList(szOut);
    EXPECT_STREQ(szOut, "\r\nalpha\r\nbeta\r\n"); // slot order: 4, 79, 233
}

TEST(CPDictionaryDeathTest, ChecksReportTheirUnitAndText) {
    ExpectAssertion([] { CPDictionary().NextThat(itIs, nullptr); }, "cpcoll/cpdict", "1==0");
    ExpectAssertion([] { CPDictionary().NextThatInternalContainer(itIs, nullptr); },
                    "cpcoll/cpdict", "1==0");
    // An absent key in a slot that has a chain reaches the chain's own check.
    ExpectAssertion(
        [] {
            CPDictionary dct;
            dct.AddKeyString("", Item(0));
            dct.DetachKeyString("");
        },
        "cpcoll/cplist", "pvItem2Find !=0");
    ExpectAssertion(
        [] {
            CPDictionary dct;
            dct.AddKeyNum(1, Item(0));
            dct.AllThat(nullptr, nullptr);
        },
        "cpcoll/cplist", "pfnCondFunc !=0");
    // The key buffer of StringKeyList is fixed.
    ExpectFatal(
        [] {
            CPDictionary keys;
            keys.AddKeyString(std::string(44, 'k').c_str(), Item(0));
            CPDictionary list;
            list.AddKeyNum(0, keys.RetrieveDAIDX(0));
            char szOut[128];
            list.StringKeyList(szOut);
        },
        "Failure: assertion failed in cpcoll/cpdict", "strlen(szKey) < 44");
}
