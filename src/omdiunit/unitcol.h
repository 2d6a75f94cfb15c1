/// \file
/// A unit string as a list of terms. The text form is terms joined by '*',
/// each an optional prefix symbol, a unit symbol and an optional '^' with a
/// decimal exponent: no blanks, no division sign, no parentheses.
#pragma once

#include <omdiunit/unitpriv.h>
#include <platform/export.h>
#include <util/pstring.h>

#include <cstdint>

/// \brief One term of a unit string: an optional prefix, a unit and an exponent.
class SORVANE_API UnitTerm {
public:
    UnitTerm() = default;
    /// \param prefix the index into the prefix table, -1 for none.
    /// \param exponent the exponent.
    /// \param unit the unit, not owned.
    UnitTerm(short prefix, short exponent, CUnit* unit)
        : nPrefix(prefix), nExponent(exponent), pUnit(unit) {}
    /// \param other a term.
    /// \return true when prefix, exponent and unit are the same.
    bool operator==(UnitTerm const& other) const = default;

    /// \return the prefix's symbol, the unit's symbol, and "^n" unless n is 1.
    CPString Text() const;
    /// \return the unit's symbol, or "" for a term without a unit.
    char const* SymbolText() const;

    /// The index into the prefix table, -1 for none.
    short nPrefix = -1;
    /// The exponent.
    short nExponent = 1;
    /// The unit, or null.
    CUnit* pUnit = nullptr;
};

/// \brief A unit string as a list of terms.
///
/// The text form is terms joined by '*', each an optional prefix symbol, a
/// unit symbol and an optional '^' with a decimal exponent: no blanks, no
/// division sign, no parentheses.
class SORVANE_API UnitCollection {
public:
    /// The longest text Parse() takes.
    static constexpr std::uint32_t kMaxText = 255;
    /// The most terms.
    static constexpr std::uint32_t kMaxTerms = 128;

    UnitCollection() = default;
    /// \param other the collection copied.
    UnitCollection(UnitCollection const& other);
    /// \param other the collection copied.
    /// \return this collection.
    UnitCollection& operator=(UnitCollection const& other);
    ~UnitCollection();

    /// Parses a text into terms.
    /// \param text the unit text.
    /// \return 1, or 0 leaving the collection as it was.
    /// \throws FWError for a text of more than 255 characters.
    short Parse(CPString const& text);
    /// \return the number of terms.
    short Count() const { return nCount; }
    /// A term; an index past the count ends the process through the fatal check.
    /// \param nIndex the index.
    /// \return the term.
    UnitTerm& Term(short nIndex);
    /// A term; an index past the count ends the process through the fatal check.
    /// \param nIndex the index.
    /// \return the term.
    UnitTerm const& Term(short nIndex) const;

    /// Merges terms of equal symbol and prefix by adding their exponents.
    void Simplify();
    /// \return the terms with positive exponents.
    UnitCollection Numerator() const;
    /// \return the terms with negative exponents.
    UnitCollection Denominator() const;
    /// Negates every exponent.
    void Invert();
    /// \param right the terms to follow.
    /// \return these terms followed by the right's.
    UnitCollection Concatenate(UnitCollection const& right) const;
    /// Equal once both are simplified: same count, same terms in order.
    /// \param other a collection.
    /// \return true when equal.
    bool operator==(UnitCollection const& other) const;
    /// \return the text form.
    CPString Text() const;

    /// Keeps one term of each dimension.
    /// \return the factor that the dropped terms contribute when expressed in
    ///         the kept ones.
    double Reduce();

private:
    void Adopt(UnitTerm* pNew, short nNew);
    void SortBy(bool (*pfnLess)(UnitTerm const&, UnitTerm const&));

    short nCount = 0;
    UnitTerm* pTerms = nullptr;
};

/// Combines two unit texts: '*' and '/' give the simplified product or
/// quotient; '+' and '-' demand the same dimension and give the left text.
/// \param left the left unit text.
/// \param right the right unit text.
/// \param cOperator '*', '/', '+' or '-'.
/// \param resultText receives the result.
/// \param pbSameUnit for '+' and '-', set when the two are the same unit.
/// \return 1, or 0 when a text does not parse or the dimensions differ.
/// \throws FWError for any other operator.
SORVANE_API short UnitOperation(CPString const& left, CPString const& right, char cOperator,
                                CPString& resultText, short* pbSameUnit);
/// Splits a unit text into its numerator and its denominator, the latter
/// written with positive exponents.
/// \param text the unit text.
/// \param numerator receives the numerator.
/// \param denominator receives the denominator.
/// \return 1, or 0 when the text does not parse.
SORVANE_API short UnitSplit(CPString const& text, CPString& numerator, CPString& denominator);
/// Writes each unprefixed term that has a formula as the terms of that
/// formula, exponents multiplied.
/// \param text the unit text.
/// \param expanded receives the result.
/// \return 1, or 0 when the text does not parse.
SORVANE_API short UnitExpand(CPString const& text, CPString& expanded);
