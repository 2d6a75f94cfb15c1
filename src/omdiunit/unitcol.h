// A unit string as a list of terms. The text form is terms joined by '*',
// each an optional prefix symbol, a unit symbol and an optional '^' with a
// decimal exponent: no blanks, no division sign, no parentheses.
#pragma once

#include <omdiunit/unitpriv.h>
#include <platform/export.h>
#include <util/pstring.h>

#include <cstdint>

class SORVANE_API UnitTerm {
public:
    UnitTerm() = default;
    UnitTerm(short prefix, short exponent, CUnit* unit)
        : nPrefix(prefix), nExponent(exponent), pUnit(unit) {}
    bool operator==(UnitTerm const& other) const = default;

    // The prefix's symbol, the unit's symbol, and "^n" unless n is 1.
    CPString Text() const;
    // The unit's symbol, or the empty string for a term without a unit.
    char const* SymbolText() const;

    // Index into the prefix table, -1 for none.
    short nPrefix = -1;
    short nExponent = 1;
    CUnit* pUnit = nullptr;
};

class SORVANE_API UnitCollection {
public:
    // Limits of the parser's work areas.
    static constexpr std::uint32_t kMaxText = 255;
    static constexpr std::uint32_t kMaxTerms = 128;

    UnitCollection() = default;
    UnitCollection(UnitCollection const& other);
    UnitCollection& operator=(UnitCollection const& other);
    ~UnitCollection();

    // Parses the text into terms; answers 1, or 0 leaving the collection as
    // it was. A text of more than 255 characters throws FWError.
    short Parse(CPString const& text);
    short Count() const { return nCount; }
    UnitTerm& Term(short nIndex);
    UnitTerm const& Term(short nIndex) const;

    // Merges terms of equal symbol and prefix by adding their exponents.
    void Simplify();
    UnitCollection Numerator() const;
    UnitCollection Denominator() const;
    void Invert();
    UnitCollection Concatenate(UnitCollection const& right) const;
    // Equal once both are simplified: same count, same terms in order.
    bool operator==(UnitCollection const& other) const;
    CPString Text() const;

    // Keeps one term of each dimension and answers the factor that the
    // dropped terms contribute when expressed in the kept ones.
    double Reduce();

private:
    void Adopt(UnitTerm* pNew, short nNew);
    void SortBy(bool (*pfnLess)(UnitTerm const&, UnitTerm const&));

    short nCount = 0;
    UnitTerm* pTerms = nullptr;
};

// Combines two unit texts: '*' and '/' give the simplified product or
// quotient in resultText; '+' and '-' demand the same dimension, give the
// left text, and set *pbSameUnit when the two are the same unit. Answers 1,
// or 0 when a text does not parse or the dimensions differ. Any other
// operator throws FWError.
SORVANE_API short UnitOperation(CPString const& left, CPString const& right, char cOperator,
                                CPString& resultText, short* pbSameUnit);
// Splits a unit text into its numerator and its denominator, the latter
// written with positive exponents. Answers 0 when the text does not parse.
SORVANE_API short UnitSplit(CPString const& text, CPString& numerator, CPString& denominator);
// Writes each unprefixed term that has a formula as the terms of that
// formula, exponents multiplied. Answers 0 when the text does not parse.
SORVANE_API short UnitExpand(CPString const& text, CPString& expanded);
