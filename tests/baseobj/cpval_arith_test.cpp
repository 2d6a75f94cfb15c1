#include <baseobj/cpval.h>

#include <baseobj/unitstr.h>
#include <omdiunit/omdiunit.h>

#include "cpval_support.h"
#include "support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <string>

namespace {

using namespace baseobj_test;

class CPValueArithTest : public BoxedTest {
protected:
    void SetUp() override { UnitInitialize(nullptr); }
};

struct Operand {
    char cType;
    double d;
    char const* szUnits;
    char const* szPurpose;
};

struct ArithCase {
    char const* szOp;
    Operand a;
    Operand b;
    // 'h' 'l' 'f' 'd' for the result's type, '!' for Exception 1344.
    char cResult;
    double dExpected;
    char const* szUnits;
};

ArithCase const kCases[] = {
#include "cpval_arith_cases.inc"
};

std::uint16_t TypeOf(char c) {
    switch (c) {
    case 'h':
        return TY_SHORT;
    case 'l':
        return TY_LONG;
    case 'f':
        return TY_FLOAT;
    default:
        return TY_DOUBLE;
    }
}

void Fill(CPValue& val, Operand const& op) {
    switch (op.cType) {
    case 'h':
        val.Set(static_cast<short>(op.d));
        break;
    case 'l':
        val.Set(static_cast<std::int32_t>(op.d));
        break;
    case 'f':
        val.Set(static_cast<float>(op.d));
        break;
    default:
        val.Set(op.d);
    }
    val._set_punstrUnits(op.szUnits);
    val._set_pstrPurpose(op.szPurpose);
}

using OperatorFn = std::function<void(CPValue&, CPValue&, CPValue&)>;

std::map<std::string, OperatorFn> const& Operators() {
    static std::map<std::string, OperatorFn> const ops{
        {"add", [](CPValue& a, CPValue& b, CPValue& r) { r.AddOperator(a, b, &r); }},
        {"sub", [](CPValue& a, CPValue& b, CPValue& r) { r.SubOperator(a, b, r); }},
        {"mul", [](CPValue& a, CPValue& b, CPValue& r) { r.MulOperator(a, b, r); }},
        {"div", [](CPValue& a, CPValue& b, CPValue& r) { r.DivOperator(a, b, r); }},
        {"mod", [](CPValue& a, CPValue& b, CPValue& r) { r.ModOperator(a, b, r); }},
        {"lt", [](CPValue& a, CPValue& b, CPValue& r) { r.LessOperator(a, b, r); }},
        {"le", [](CPValue& a, CPValue& b, CPValue& r) { r.LEOperator(a, b, r); }},
        {"gt", [](CPValue& a, CPValue& b, CPValue& r) { r.GreaterOperator(a, b, r); }},
        {"ge", [](CPValue& a, CPValue& b, CPValue& r) { r.GEOperator(a, b, r); }},
        {"or", [](CPValue& a, CPValue& b, CPValue& r) { r.OrOperator(a, b, r); }},
        {"xor", [](CPValue& a, CPValue& b, CPValue& r) { r.XorOperator(a, b, r); }},
        {"and", [](CPValue& a, CPValue& b, CPValue& r) { r.AndOperator(a, b, r); }},
        // The unary operators take the left operand only.
        {"neg", [](CPValue& a, CPValue&, CPValue& r) { r.NegOperator(a); }},
        {"not", [](CPValue& a, CPValue&, CPValue& r) { r.NotOperator(a); }},
        {"eq", [](CPValue& a, CPValue& b, CPValue& r) {
             r.Set(a.IsEquivalentTo(&b));
             r._set_punstrUnits(static_cast<char const*>(nullptr));
         }}};
    return ops;
}

// The same through the test members, which must agree with the operators.
std::map<std::string, std::function<short(CPValue&, CPValue&)>> const& Tests() {
    static std::map<std::string, std::function<short(CPValue&, CPValue&)>> const tests{
        {"lt", [](CPValue& a, CPValue& b) { return a.IsLessThan(&b); }},
        {"le", [](CPValue& a, CPValue& b) { return a.IsLessThanOrEqualTo(&b); }},
        {"gt", [](CPValue& a, CPValue& b) { return a.IsGreaterThan(&b); }},
        {"ge", [](CPValue& a, CPValue& b) { return a.IsGreaterThanOrEqualTo(&b); }}};
    return tests;
}

std::map<std::string, std::function<void(CPValue&, CPValue&)>> const& InPlace() {
    static std::map<std::string, std::function<void(CPValue&, CPValue&)>> const ops{
        {"add", [](CPValue& a, CPValue& b) { a += b; }},
        {"sub", [](CPValue& a, CPValue& b) { a -= b; }},
        {"mul", [](CPValue& a, CPValue& b) { a *= b; }},
        {"div", [](CPValue& a, CPValue& b) { a /= b; }}};
    return ops;
}

// The result agrees with the independent computation: its type, its number
// within what the conversions' rounding allows, and its units.
void ExpectResult(CPValue& r, ArithCase const& c, std::string const& where) {
    SCOPED_TRACE(where);
    EXPECT_EQ(r.GetType(), TypeOf(c.cResult));
    EXPECT_NEAR(r.GetAsDouble(), c.dExpected, 1e-5 * std::max(1.0, std::fabs(c.dExpected)));
    UnitString* const punstr = r._get_punstrUnits();
    if (c.szUnits[0] == '\0') {
        EXPECT_TRUE(punstr == nullptr || punstr->Length() == 0) << Units(r);
        return;
    }
    ASSERT_NE(punstr, nullptr);
    EXPECT_EQ(punstr->EquivalentDimensions(c.szUnits), 1) << Units(r);
    bool const bLeftUnits = std::strcmp(c.szOp, "mul") != 0 && std::strcmp(c.szOp, "div") != 0;
    if (bLeftUnits) {
        EXPECT_EQ(Units(r), c.szUnits);
    }
}

TEST_F(CPValueArithTest, OperatorsAgreeWithTheIndependentTable) {
    ASSERT_GT(std::size(kCases), 300u);
    for (ArithCase const& c : kCases) {
        std::string const where = std::string(c.szOp) + " " + std::to_string(c.a.d) + " |" +
                                  c.a.szUnits + "(" + c.a.szPurpose + ")| , " +
                                  std::to_string(c.b.d) + " |" + c.b.szUnits + "(" + c.b.szPurpose +
                                  ")|";
        CPValue a;
        CPValue b;
        Fill(a, c.a);
        Fill(b, c.b);
        // A result that held a number with units of its own before.
        ValueOf r(7.0, "s");
        OperatorFn const& run = Operators().at(c.szOp);
        if (c.cResult == '!') {
            try {
                run(a, b, r);
                ADD_FAILURE() << where << ": no exception";
            } catch (Exception const& e) {
                EXPECT_EQ(e._get_nException(), 1344) << where;
                EXPECT_EQ(std::string(e.szMessage).rfind("Invalid unit conversion ", 0), 0u)
                    << e.szMessage;
            }
            EXPECT_EQ(r.GetAsDouble(), 7.0) << where << ": the result changed";
            EXPECT_EQ(Units(r), "s") << where;
            continue;
        }
        run(a, b, r);
        ExpectResult(r, c, where);
        if (auto const test = Tests().find(c.szOp); test != Tests().end()) {
            EXPECT_EQ(test->second(a, b), static_cast<short>(c.dExpected)) << where;
        }
        if (auto const op = InPlace().find(c.szOp); op != InPlace().end()) {
            op->second(a, b);
            ExpectResult(a, c, where + " in place");
        }
    }
}

CPValue* Collection(std::initializer_list<double> values) {
    auto* const pval = new CPValue;
    pval->AddRef();
    for (double d : values) {
        auto* const pvalSub = new CPValue;
        pvalSub->Set(d);
        pval->AddSubvalue(pvalSub);
    }
    return pval;
}

TEST_F(CPValueArithTest, OperandsOfOtherKinds) {
    CPValue undefined;
    ValueOf text("ab");
    ValueOf one(std::int32_t{1});
    ValueOf seven(short{7});
    ValueOf two(short{2});
    ValueOf sevenHalf(7.5);
    ValueOf zero(0.0);
    CPValue truth;
    truth.SetBool(1);
    CPValue* const pcoll = Collection({1.0, 2.0});
    CPValue* const pcollB = Collection({1.0});
    CPValue& coll = *pcoll;
    // Each case: the operands, the operator, its result's text and type.
    std::tuple<CPValue&, char const*, CPValue&, char const*, std::uint16_t> const cases[] = {
        {undefined, "add", one, "1", TY_LONG},
        {one, "sub", undefined, "1", TY_LONG},
        {undefined, "mul", one, "<empty>", TY_UNDEFINED},
        {one, "div", undefined, "<empty>", TY_UNDEFINED},
        {text, "add", one, "ab1", TY_STRING},
        {one, "add", text, "1ab", TY_STRING},
        {text, "add", text, "abab", TY_STRING},
        {text, "mul", one, "0", TY_SHORT},
        {seven, "div", two, "3", TY_SHORT},
        {sevenHalf, "mod", two, "1.000000", TY_DOUBLE},
        {coll, "add", *pcollB, "0", TY_SHORT},
        {coll, "add", one, "{2.000000 , 3.000000}", TY_COLLECTION},
        {one, "sub", coll, "{0.000000 , 1.000000}", TY_COLLECTION},
        {coll, "mul", two, "{2.000000 , 4.000000}", TY_COLLECTION},
        {coll, "neg", coll, "{-1.000000 , -2.000000}", TY_COLLECTION},
        {zero, "not", zero, "1.000000", TY_DOUBLE},
        {seven, "not", seven, "0", TY_SHORT},
        {seven, "neg", seven, "-7", TY_SHORT},
        {one, "or", zero, "1.000000", TY_DOUBLE},
        {one, "xor", truth, "0", TY_LONG},
        {one, "and", zero, "0.000000", TY_DOUBLE},
        {text, "and", one, "0", TY_BOOL},
        {coll, "or", one, "0", TY_BOOL},
        {undefined, "or", seven, "7", TY_SHORT},
        {text, "lt", one, "0", TY_SHORT}};
    for (auto const& [a, szOp, b, szText, nType] : cases) {
        SCOPED_TRACE(Str(a) + " " + szOp + " " + Str(b));
        CPValue r;
        Operators().at(szOp)(a, b, r);
        EXPECT_EQ(Str(r), szText);
        EXPECT_EQ(r.GetType(), nType);
    }
    // The operands are left as they were.
    EXPECT_EQ(Str(*pcoll), "{1.000000 , 2.000000}");
    pcoll->Release();
    pcollB->Release();
}

TEST_F(CPValueArithTest, FailuresOfDivisionAndCollections) {
    ValueOf one(1.0);
    CPValue r;
    // A zero divisor by its own type: a floating zero, or an integer one.
    ValueOf zeroDouble(0.0);
    ValueOf zeroLong(std::int32_t{0});
    ValueOf smallFloat(0.25f);
    for (CPValue* pdivisor : {&zeroDouble, &zeroLong}) {
        try {
            r.DivOperator(one, *pdivisor, r);
            ADD_FAILURE() << "no 501";
        } catch (Exception const& e) {
            EXPECT_EQ(e._get_nException(), 501);
        }
    }
    r.DivOperator(one, smallFloat, r);
    EXPECT_EQ(r.GetAsDouble(), 4.0);
    // Equivalence of collections goes element by element.
    CPValue* const pa = Collection({1.0, 2.0});
    CPValue* const pb = Collection({1.0, 2.0000000001});
    CPValue* const pc = Collection({1.0, 2.1});
    EXPECT_EQ(pa->IsEquivalentTo(pb), 1);
    EXPECT_EQ(pa->IsEquivalentTo(pc), 0);
    EXPECT_EQ(pa->IsEquivalentTo(&one), 0);
    EXPECT_EQ(pa->IsGreaterThan(pc), 0);
    pa->Release();
    pb->Release();
    pc->Release();
}

// A proxy that counts every call that reaches it, by name.
class CountingProxy : public TokenProxyValue {
public:
    std::map<std::string, int> calls;
    int Total() const {
        int n = 0;
        for (auto const& [name, count] : calls)
            n += count;
        return n;
    }

    short GetDataType() override { return ++calls["GetDataType"], TokenProxyValue::GetDataType(); }
    short SetDataType(short n) override {
        return ++calls["SetDataType"], TokenProxyValue::SetDataType(n);
    }
    short SetValue(char const* sz) override {
        return ++calls["Set"], TokenProxyValue::SetValue(sz);
    }
    short SetValue(double d) override { return ++calls["Set"], TokenProxyValue::SetValue(d); }
    short SetValue(float f) override { return ++calls["Set"], TokenProxyValue::SetValue(f); }
    short SetValue(std::int32_t n) override { return ++calls["Set"], TokenProxyValue::SetValue(n); }
    short SetValue(short n) override { return ++calls["Set"], TokenProxyValue::SetValue(n); }
    short SetValue(char c) override { return ++calls["Set"], TokenProxyValue::SetValue(c); }
    short SetValueBool(short b) override {
        return ++calls["Set"], TokenProxyValue::SetValueBool(b);
    }
    char FetchChar() override { return ++calls["Fetch"], TokenProxyValue::FetchChar(); }
    short FetchShort() override { return ++calls["Fetch"], TokenProxyValue::FetchShort(); }
    short FetchBool() override { return ++calls["Fetch"], TokenProxyValue::FetchBool(); }
    std::int32_t FetchLong() override { return ++calls["Fetch"], TokenProxyValue::FetchLong(); }
    float FetchFloat() override { return ++calls["Fetch"], TokenProxyValue::FetchFloat(); }
    double FetchDouble() override { return ++calls["Fetch"], TokenProxyValue::FetchDouble(); }
    void FetchStringLiteral(char* buf) override {
        ++calls["Fetch"];
        TokenProxyValue::FetchStringLiteral(buf);
    }
    void FetchAsString(char* buf) override {
        ++calls["Fetch"];
        TokenProxyValue::FetchAsString(buf);
    }
};

// The value's own token stays as binding left it: nothing was written there.
void ExpectOwnTokenUntouched(CPValue& val, std::string const& where) {
    Token const& own = val;
    EXPECT_EQ(own._get_nDataType(), TY_UNDEFINED) << where;
    EXPECT_EQ(own.Token::FetchDouble(), 0.0) << where;
}

struct ProxyStep {
    char const* szWhat;
    std::function<void(CPValue&)> run;
    char const* szCounter;
    char const* szAfter;
};

TEST_F(CPValueArithTest, EveryReadAndWriteOfABoundValuePassesThroughTheProxy) {
    CountingProxy proxy;
    proxy.CreateToken();
    CPValue val;
    ASSERT_EQ(val.BindToProxy(&proxy), 1);
    EXPECT_EQ(val._get_bBoundToProxy(), 1);
    ValueOf metres(2.0, "m");
    ValueOf three(3.0);
    ProxyStep const steps[] = {
        {"Set(double)", [](CPValue& v) { v.Set(2.5); }, "Set", "2.500000"},
        {"GetAsDouble", [](CPValue& v) { EXPECT_EQ(v.GetAsDouble(), 2.5); }, "Fetch", "2.500000"},
        {"GetType", [](CPValue& v) { EXPECT_EQ(v.GetType(), TY_DOUBLE); }, "GetDataType",
         "2.500000"},
        {"Set(short)", [](CPValue& v) { v.Set(short{4}); }, "Set", "4"},
        {"GetAsLong", [](CPValue& v) { EXPECT_EQ(v.GetAsLong(), 4); }, "Fetch", "4"},
        {"SetType", [](CPValue& v) { v.SetType(TY_DOUBLE); }, "SetDataType", "4.000000"},
        {"SetBool", [](CPValue& v) { v.SetBool(1); }, "Set", "1"},
        {"Set(text)", [](CPValue& v) { v.Set("\"q\""); }, "Set", "\"q\""},
        {"IsStringLiteral", [](CPValue& v) { EXPECT_EQ(v.IsStringLiteral(), 1); }, "Fetch",
         "\"q\""},
        {"assignment", [&](CPValue& v) { v = three; }, "SetDataType", "3.000000"},
        {"FromString", [](CPValue& v) { v.SetFromString("6.5"); }, "Set", "6.500000"},
        {"result of +", [&](CPValue& v) { v.AddOperator(three, three, &v); }, "Set", "6.000000"},
        {"operand of *", [&](CPValue& v) { v.MulOperator(v, metres, v); }, "Fetch", "12.000000"},
        {"in place -", [&](CPValue& v) { v -= three; }, "Fetch", "9.000000"},
        {"comparison", [&](CPValue& v) { EXPECT_EQ(v.IsGreaterThan(&three), 1); }, "Fetch",
         "9.000000"},
        {"negation", [](CPValue& v) { v.NegOperator(v); }, "Set", "-9.000000"}};
    for (ProxyStep const& step : steps) {
        int const nBefore = proxy.calls[step.szCounter];
        step.run(val);
        EXPECT_GT(proxy.calls[step.szCounter], nBefore) << step.szWhat;
        EXPECT_EQ(Str(val), step.szAfter) << step.szWhat;
        char buf[64];
        proxy.FetchAsString(buf);
        EXPECT_STREQ(buf, step.szAfter) << step.szWhat;
        ExpectOwnTokenUntouched(val, step.szWhat);
    }
    // A bound operand is read through its proxy, and its own token is not.
    CPValue r;
    r.AddOperator(val, three, &r);
    EXPECT_EQ(r.GetAsDouble(), -6.0);
    ExpectOwnTokenUntouched(val, "operand");
    EXPECT_EQ(val.BindToProxy(nullptr), 1);
    EXPECT_EQ(val._get_bBoundToProxy(), 0);
}

TEST_F(CPValueArithTest, ProxiesWithoutATokenAndTheBaseProxy) {
    TokenProxyValue empty;
    ProxyValue base;
    for (ProxyValue* p : {static_cast<ProxyValue*>(&empty), &base}) {
        EXPECT_EQ(p->SetValue(1.5), 0);
        EXPECT_EQ(p->SetDataType(TY_LONG), 0);
        EXPECT_EQ(p->GetDataType(), 0);
        EXPECT_EQ(p->FetchDouble(), 0.0);
        EXPECT_EQ(p->FetchLong(), 0);
        char buf[16] = "kept";
        p->FetchAsString(buf);
        EXPECT_STREQ(buf, "kept");
        CPValue val;
        val.BindToProxy(p);
        val.Set(2.0);
        EXPECT_EQ(val.GetAsDouble(), 0.0);
    }
    // The text form goes through the proxy's present type.
    TokenProxyValue proxy;
    proxy.CreateToken();
    Token tok;
    tok.SetValue(std::int32_t{42}, 0);
    EXPECT_EQ(proxy.SetFromToken(&tok), 1);
    EXPECT_EQ(proxy.GetDataType(), TY_LONG);
    EXPECT_EQ(proxy.FetchLong(), 42);
    proxy.SetDataType(TY_SHORT);
    EXPECT_EQ(proxy.SetFromString("17.9"), 1);
    EXPECT_EQ(proxy.FetchShort(), 17);
    EXPECT_EQ(proxy.SetFromString("x<empty>"), 1);
    EXPECT_EQ(proxy.GetDataType(), TY_UNDEFINED);
    EXPECT_EQ(proxy.CopyToToken(&tok), 1);
    EXPECT_EQ(tok.FetchLong(), 1234);
}

} // namespace
