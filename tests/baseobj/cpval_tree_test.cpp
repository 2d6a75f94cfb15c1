// Collections of values in both forms, selection, vectors, attributes, and
// values as nodes of the graph that paths walk.
#include <baseobj/cpval.h>

#include <baseobj/sorvmnkr.h>
#include <baseobj/unitstr.h>
#include <cpcoll/cpdict.h>
#include <omdiunit/omdiunit.h>
#include <util/pstring.h>

#include "cpval_support.h"
#include "support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

namespace {

using namespace baseobj_test;

class CPValueTreeTest : public BoxedTest {
protected:
    void SetUp() override { UnitInitialize(nullptr); }
};

std::string Names(CPValue& val) {
    std::string names;
    for (std::uint32_t i = 0; i < val.GetSubvalueCount(); ++i) {
        char const* sz = val.GetSubvalueByIndex(i)->_get_szName(nullptr);
        names += sz != nullptr ? sz : "-";
        names += ' ';
    }
    return names;
}

// The same rules hold in the list form and in the tree form; the tree keeps
// its elements in name order.
TEST_F(CPValueTreeTest, CountsNamesAndDeletionInBothForms) {
    for (char nForm : {char{0}, char{1}}) {
        SCOPED_TRACE(int{nForm});
        CPValue coll;
        coll._set_nSublistRepresentation(nForm);
        coll.Set(7.0);
        EXPECT_EQ(coll.GetSubvalueCount(), 0u);
        EXPECT_EQ(coll.GetSubvalueByIndex(0), nullptr);
        coll.AddSubvalue(std::int32_t{3}, "c");
        // Adding to a scalar drops the scalar's own number.
        EXPECT_EQ(coll.GetSubvalueCount(), 1u);
        coll.AddSubvalue(1.5, "a");
        coll.AddSubvalue("text", "b");
        coll.AddSubvalue(short{9}, "a", 1);
        coll.AddSubvalue(short{8}, "a", 1);
        EXPECT_EQ(coll.ValueCount(), 5);
        EXPECT_EQ(Names(coll), nForm == 0 ? "c a b aX aXX " : "a aX aXX b c ");
        CPValue copy(coll);
        EXPECT_EQ(Names(copy), Names(coll));
        coll.AddSubvalue(2.5f, "a");
        EXPECT_EQ(coll.GetSubvalueCount(), 5u);
        EXPECT_EQ(coll.GetSubvalueByName("a")->GetAsFloat(), 2.5f);
        EXPECT_EQ(coll.GetSubvalueByName("aXX")->GetAsShort(), 8);
        EXPECT_EQ(coll.GetSubvalueByName("zz"), nullptr);
        EXPECT_EQ(coll.GetSubvalueByName("b")->_get_pvalParent(), &coll);

        EXPECT_EQ(coll.DeleteNamedValue("aX"), 1);
        EXPECT_EQ(coll.DeleteNamedValue("aX"), 0);
        EXPECT_EQ(coll.DeleteIndexedValue(-1), 0);
        EXPECT_EQ(coll.DeleteIndexedValue(10), 0);
        EXPECT_EQ(coll.DeleteIndexedValue(0), 1);
        EXPECT_EQ(coll.GetSubvalueCount(), 3u);

        // Each form converts to the other and back with its names.
        coll.ConvertSublistRepresentation(nForm == 0 ? 1 : 0);
        EXPECT_EQ(coll.GetSubvalueCount(), 3u);
        EXPECT_NE(coll.GetSubvalueByName("b"), nullptr);
        ASSERT_NE(coll._get_plstValues(), nullptr);
        EXPECT_EQ(coll._get_nSublistRepresentation(), 0);
        EXPECT_EQ(coll.GetSubvalueCount(), 3u);
        EXPECT_THROW(coll.ConvertSublistRepresentation(2), int);
        EXPECT_EQ(coll.DeleteAllSubvalues(), 1);
        EXPECT_EQ(coll.GetSubvalueCount(), 0u);
    }
}

TEST_F(CPValueTreeTest, SelectorRules) {
    CPValue scalar;
    scalar._set_nSelector(0);
    EXPECT_EQ(scalar._get_nSelector(), -1);
    EXPECT_EQ(scalar.GetSelection(), &scalar);
    EXPECT_EQ(scalar.SetSelectedSubvalue("x"), 0);

    CPValue coll;
    for (int i = 0; i < 3; ++i)
        coll.AddSubvalue(std::int32_t{10 * i}, ("e" + std::to_string(i)).c_str());
    std::tuple<short, short, short, bool> const cases[] = {
        {0, 0, 0, false},  {2, 0, 2, false}, {3, 0, -1, true},  {-1, 0, -1, true},
        {-2, 0, -1, true}, {5, 1, 5, true},  {-7, 1, -7, true}, {1, 1, 1, false}};
    for (auto const& [n, bForce, nStored, bSelf] : cases) {
        SCOPED_TRACE(n);
        coll._set_nSelector(n, bForce);
        EXPECT_EQ(coll._get_nSelector(), nStored);
        EXPECT_EQ(coll.GetSelection() == &coll, bSelf);
    }

    // A selected element stands for the collection.
    EXPECT_EQ(coll.SetSelectedSubvalue("e1"), 1);
    EXPECT_EQ(coll.SetSelectedSubvalue("none"), 0);
    EXPECT_EQ(coll._get_nSelector(), 1);
    EXPECT_EQ(coll.GetType(), TY_LONG);
    coll.Set(4.0);
    EXPECT_EQ(coll.GetSubvalueByIndex(1)->GetAsLong(), 4);
    EXPECT_EQ(coll.GetAsDouble(), 4.0);
    EXPECT_EQ(coll.GetSubvalueByIndex(1)->IsSelectedChild(), 1);
    EXPECT_EQ(coll.GetSubvalueByIndex(0)->IsSelectedChild(), 0);
    EXPECT_EQ(coll.IsSelectedChild(), 0);
}

TEST_F(CPValueTreeTest, SearchesAndVectors) {
    CPValue coll;
    coll.AddSubvalue(std::int32_t{3});
    coll.AddSubvalue(2.5);
    coll.AddSubvalue("w");
    coll.AddSubvalue(std::int32_t{-4});
    EXPECT_EQ(coll.FindIndexOfMatchingSubval(std::int32_t{-4}), 3);
    EXPECT_EQ(coll.FindIndexOfMatchingSubval(short{3}), 0);
    EXPECT_EQ(coll.FindIndexOfMatchingSubval(2.5), 1);
    EXPECT_EQ(coll.FindIndexOfMatchingSubval(2.5f), 1);
    EXPECT_EQ(coll.FindIndexOfMatchingSubval("w"), 2);
    EXPECT_EQ(coll.FindIndexOfMatchingSubval(7.0), -1);
    auto negative = [](void* pv, void*) {
        return static_cast<CPValue*>(pv)->GetAsDouble() < 0 ? 1 : 0;
    };
    EXPECT_EQ(coll.FindIndexOfMatchingSubval(negative, nullptr), 3);
    EXPECT_EQ(coll.FirstSubvalueThat(negative, nullptr), coll.GetSubvalueByIndex(3));
    CPValue scalar;
    EXPECT_EQ(scalar.FindIndexOfMatchingSubval(3.0), -1);
    EXPECT_EQ(scalar.BuildVectorRepresentation(TY_DOUBLE), nullptr);

    CPValue nums;
    nums.AddSubvalue(1.25);
    nums.AddSubvalue(-2.0);
    for (auto const& [nType, nNeeded] : {std::pair<std::uint16_t, short>{TY_BOOL, 4},
                                         {TY_SHORT, 4},
                                         {TY_LONG, 8},
                                         {TY_FLOAT, 8},
                                         {TY_DOUBLE, 16}}) {
        SCOPED_TRACE(nType);
        unsigned char buf[16] = {};
        EXPECT_EQ(nums.BuildVectorRepresentation(nType, buf, static_cast<short>(nNeeded - 1)),
                  nullptr);
        EXPECT_EQ(nums.BuildVectorRepresentation(nType, buf, nNeeded), buf);
        EXPECT_EQ(nums.BuildVectorRepresentation(nType, buf, -1), buf);
    }
    EXPECT_EQ(nums.BuildVectorRepresentation(TY_STRING, nullptr, -1), nullptr);
    auto* pd = static_cast<double*>(nums.BuildVectorRepresentation(TY_DOUBLE));
    ASSERT_NE(pd, nullptr);
    EXPECT_EQ(pd[0], 1.25);
    EXPECT_EQ(pd[1], -2.0);
    // The kept array stays as built until it is cleared.
    nums.GetSubvalueByIndex(0)->Set(9.0);
    EXPECT_EQ(nums.BuildVectorRepresentation(TY_DOUBLE), pd);
    nums.ClearVectorRepresentation();
    auto* pn = static_cast<std::int32_t*>(nums.BuildVectorRepresentation(TY_LONG));
    EXPECT_EQ(pn[0], 9);
    EXPECT_EQ(pn[1], -2);
}

CPValue* Number(double d) {
    auto* pval = CPValue::NewValue();
    pval->Set(d);
    return pval;
}

std::string AttrText(CPValue& val, char const* szName) {
    CPValue* pval = val.GetAttribute(szName);
    if (pval == nullptr) return "<null>";
    std::string text = Str(*pval);
    pval->Release();
    return text;
}

TEST_F(CPValueTreeTest, AttributesWrittenAndReadBack) {
    ValueOf val(std::int32_t{5});
    val.AddSubvalue(1.0);
    val.AddSubvalue(2.0);
    CPValue text;
    text._set_nDataType(TY_STRING);
    text.Set("m");
    EXPECT_EQ(val.SetAttribute("UnitString", &text), 1);
    EXPECT_EQ(AttrText(val, "UnitString"), "m");
    text.Set("Heat");
    val.SetAttribute("Purpose", &text);
    EXPECT_STREQ(val._get_pstrPurpose_As_sz(), "Heat");

    std::tuple<char const*, double, char const*> const cases[] = {
        {"DefinitionStatus", 1, "1"},
        {"DefinitionStatusReason", 1, "1"},
        {"LockStatus", 1, "1"},
        {"LockStatusReason", 1, "1"},
        {"RelationEncoder", 3, "1"},
        {"PreserveUnitsOnAssignment", 0, "0"},
        {"CannotAssumeUndefinedState", 1, "1"},
        {"Selector", 1, "1"},
        {"Selector", 9, "-1"},
        {"ValCount", 7, "2"}};
    for (auto const& [szName, dWritten, szRead] : cases) {
        SCOPED_TRACE(szName);
        CPValue* pval = Number(dWritten);
        EXPECT_EQ(val.SetAttribute(szName, pval), 1);
        EXPECT_EQ(AttrText(val, szName), szRead);
        pval->Release();
    }
    CPValue* pvalBool = Number(1);
    val.SetAttribute("ValueParameter", pvalBool);
    EXPECT_EQ(val._get_bValueParameter(), 1);
    pvalBool->Release();

    // The bounds and the parent are the objects themselves.
    CPValue* pvalTop = Number(100);
    val.SetAttribute("UpperBound", pvalTop);
    EXPECT_EQ(val.GetAttribute("UpperBound"), pvalTop);
    EXPECT_EQ(val.DeleteAttribute("UpperBound"), 1);
    EXPECT_EQ(val.GetAttribute("UpperBound"), nullptr);
    pvalTop->Release();

    // The tolerance is one for all values.
    double const dKept = CPValue::_get_dbTolerance();
    CPValue* pvalTol = Number(0.5);
    val.SetAttribute("Tolerance", pvalTol);
    CPValue other;
    CPValue* pvalRead = other.GetAttribute("Tolerance");
    EXPECT_EQ(pvalRead->GetAsDouble(), 0.5);
    pvalRead->Release();
    pvalTol->Release();
    CPValue::_set_dbTolerance(dKept);

    CPValue scalar;
    EXPECT_EQ(AttrText(scalar, "ValCount"), "0");
    EXPECT_EQ(scalar.GetAttribute("NoSuch"), nullptr);
    EXPECT_EQ(scalar.DeleteAttribute("NoSuch"), 0);

    // Free names: stored by reference, replaced, copied, deleted.
    CPValue* pvalA = Number(1);
    CPValue* pvalB = Number(2);
    scalar.SetAttribute("Colour", pvalA);
    scalar.SetAttribute("Colour", pvalB);
    scalar.SetAttribute("Colour", pvalB);
    EXPECT_EQ(scalar.GetAttribute("Colour"), pvalB);
    scalar.SetAttribute("Shade", pvalA);
    CPValue copy;
    copy.CopyExtraAttributes(&scalar);
    EXPECT_EQ(copy.GetAttribute("Shade"), pvalA);
    EXPECT_EQ(scalar.DeleteAttribute("Colour"), 1);
    EXPECT_EQ(scalar.GetAttribute("Colour"), nullptr);
    pvalA->Release();
    pvalB->Release();

    // The walk over named relations follows the dictionary, and only when
    // asked for attributes.
    char szAttr[] = "Attr";
    std::vector<Navigable*> walked;
    for (Navigable* pnav = copy.GetFirstRelatedNode(RT_NAMED, szAttr); pnav != nullptr;
         pnav = copy.GetNextRelatedNode())
        walked.push_back(pnav);
    CPDictionary* pdct = copy._get_pdctAttributes();
    ASSERT_EQ(walked.size(), pdct->Length());
    for (std::uint32_t i = 0; i < pdct->Length(); ++i)
        EXPECT_EQ(walked[i], pdct->RetrieveIDX(i));
    EXPECT_EQ(copy.GetFirstRelatedNode(RT_NAMED, nullptr), nullptr);
}

TEST_F(CPValueTreeTest, RelationsAndReferences) {
    CPValue root;
    root.AddSubvalue(std::int32_t{1}, "one");
    root.AddSubvalue(std::int32_t{2});
    EXPECT_EQ(root.GetRelatedNodeCount(RT_CONTAINMENT | RT_IN, nullptr), 2);
    EXPECT_EQ(root.GetRelatedNodeCount(RT_OWNERSHIP, nullptr), 0);
    char szNone[] = "";
    EXPECT_EQ(root.GetFirstRelatedNode(RT_SUMMARY, szNone), nullptr);

    // A bracketed path reads a node as its number.
    EXPECT_EQ(root.FollowPath("[[0]]", PMoniker::kFind, 0), root.GetSubvalueByIndex(1));

    CPValue holder;
    holder._set_pnvgContext(&root);
    EdgeSpec es;
    es._set_nRelationType(RT_REFERENCE);
    EXPECT_EQ(holder.AddPseudoRelation(":one", &es), 1);
    EXPECT_EQ(holder.AddRelation(root.GetSubvalueByIndex(0), &es), 1);
    EXPECT_EQ(holder.GetRelatedNodeCount(RT_REFERENCE, nullptr), 2);
    EXPECT_EQ(holder.GetFirstRelatedNode(RT_REFERENCE, szNone), root.GetSubvalueByName("one"));
    es.SetName(":one");
    EXPECT_EQ(holder.TraverseRelation(&es), root.GetSubvalueByName("one"));
    EXPECT_EQ(holder.RemoveRelation(&es), 1);
    EXPECT_EQ(holder.RemoveRelation(&es), 0);
    EXPECT_EQ(holder.GetRelatedNodeCount(RT_REFERENCE, nullptr), 1);

    // The attribute step needs its supplemental text.
    CPValue* pvalNote = Number(4);
    root.SetAttribute("Note", pvalNote);
    EdgeSpec esAttr;
    esAttr._set_nRelationType(RT_NAMED);
    esAttr.SetName("Note");
    EXPECT_EQ(root.TraverseRelation(&esAttr), nullptr);
    esAttr._set_szSupplemental("Attr_");
    EXPECT_EQ(root.TraverseRelation(&esAttr), pvalNote);
    pvalNote->Release();

    // Monikers of the subvalue steps, and the path back from a value.
    SorvaneMoniker mk;
    mk.Scan("<x>->p:a:b[0]");
    CPValue* pvalMade = root.InternSubvalue(&mk);
    ASSERT_NE(pvalMade, nullptr);
    EXPECT_EQ(root.GetSubvalue(&mk), pvalMade);
    char buf[256];
    EXPECT_STREQ(pvalMade->BuildThisValuesMoniker(buf), ":a:b[0]");
    CPValue steps;
    EXPECT_EQ(pvalMade->BuildThisValuesMoniker(&steps), 1);
    EXPECT_EQ(Str(steps), "{\"a\" , \"b\" , 0}");
    EXPECT_EQ(root.BuildThisValuesMoniker(&steps), 0);
    EXPECT_EQ(root.DeleteSubvalue(&mk), 1);
    EXPECT_EQ(root.GetSubvalue(&mk), nullptr);
    EXPECT_EQ(root.InternSubvalue("one"), root.GetSubvalueByName("one"));

    std::string records;
    CPValue::AppendRelationRecord(records, 2, "RT_REFERENCE | RT_OUT", ":one", "");
    CPValue::AppendRelationRecord(records, 0, "RT_NAMED | RT_IN", "x", "Attr_");
    CPValue::AppendRelationRecord(records, 4, "RT_NAMED | RT_IN", "<empty>", "");
    EXPECT_EQ(records,
              "  <Relation RelType=\"RT_REFERENCE | RT_OUT\" Target=\":one\"/>\n"
              "<Relation RelType=\"RT_NAMED | RT_IN\" Target=\"x\" Supplemental=\"Attr_\"/>\n");
}

// Deep and wide trees are walked by path text, found, made and cut; the
// releases of whole subtrees must not recurse per level.
TEST_F(CPValueTreeTest, TenThousandDeepAndWideByPathText) {
    constexpr int kSize = 10000;
    CPValue root;
    std::string path;
    for (int i = 0; i < kSize; ++i)
        path += ":a";
    Navigable* pnavDeep = root.FollowPath(path.c_str(), PMoniker::kCreate, 0);
    ASSERT_NE(pnavDeep, nullptr);
    EXPECT_EQ(root.FollowPath(path.c_str(), PMoniker::kFind, 0), pnavDeep);
    // The lock of the top parent holds at any depth.
    root.SetLockedStatus(1);
    EXPECT_THROW(static_cast<CPValue*>(pnavDeep)->Set(static_cast<CPValue*>(pnavDeep)), Exception);
    root.SetLockedStatus(0);
    std::vector<char> buf(path.size() + 1);
    EXPECT_EQ(path, static_cast<CPValue*>(pnavDeep)->BuildThisValuesMoniker(buf.data()));
    std::string const half = path.substr(0, path.size() / 2);
    EXPECT_NE(root.FollowPath(half.c_str(), PMoniker::kFindAndCut, 0), nullptr);
    EXPECT_EQ(root.FollowPath(path.c_str(), PMoniker::kFind, 0), nullptr);
    EXPECT_NE(root.FollowPath(half.substr(2).c_str(), PMoniker::kFind, 0), nullptr);

    // Wide by name is the tree form's case: a list looks names up in turn.
    CPValue wide;
    wide._set_nSublistRepresentation(1);
    for (int i = 0; i < kSize; ++i)
        ASSERT_NE(wide.FollowPath((":n" + std::to_string(i)).c_str(), PMoniker::kCreate, 0),
                  nullptr);
    EXPECT_EQ(wide.GetSubvalueCount(), static_cast<std::uint32_t>(kSize));
    Navigable* pnavLast = wide.FollowPath(":n9999", PMoniker::kFind, 0);
    EXPECT_EQ(pnavLast, wide.GetSubvalueByIndex(kSize - 1));
    EXPECT_EQ(wide.FollowPath("[9999]", PMoniker::kFind, 0), pnavLast);
    for (int i = 0; i < kSize; i += 2)
        wide.FollowPath((":n" + std::to_string(i)).c_str(), PMoniker::kFindAndCut, 0);
    EXPECT_EQ(wide.GetSubvalueCount(), static_cast<std::uint32_t>(kSize / 2));
    EXPECT_EQ(wide.FollowPath(":n4", PMoniker::kFind, 0), nullptr);
    EXPECT_NE(wide.FollowPath(":n5", PMoniker::kFind, 0), nullptr);
}

} // namespace
