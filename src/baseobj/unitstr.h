/// \file
/// Unit texts as values carry them: UnitString is a string whose text is a
/// unit, with the unit's packed id kept beside it, counted by reference so
/// that values can share one. Behind it sit process-wide caches, so that each
/// distinct text is parsed once, and the translation of the flowsheet
/// product's notation ('kJ/kgmole-C', 'm3/hr') into ours.
///
/// UnitPreferences says how a quantity is displayed, by purpose and by the
/// size of the value; one of them serves the process, filled from an XML file.
///
/// The unit tables must have been built (UnitInitialize) before a UnitString
/// is given a text: without them every text reads as no unit. Nothing here is
/// for more than one thread at a time.
#pragma once

#include <platform/export.h>
#include <util/pstring.h>

#include <cstdint>

class CPDictionary;
class CPSymmetricMap;
class CreateableCache;
class UnitPreferences;

/// \brief A string whose text is a unit, with the unit's packed id kept
/// beside it, counted by reference so that values can share one.
///
/// Behind it sit process-wide caches, so that each distinct text is parsed
/// once, and the translation of the flowsheet product's notation
/// ('kJ/kgmole-C', 'm3/hr') into ours. The unit tables must have been built
/// (UnitInitialize()) before a UnitString is given a text. Nothing here is
/// for more than one thread at a time.
class SORVANE_API UnitString : public CPString {
public:
    /// The size of each of the three caches of texts.
    static constexpr std::uint32_t kCacheSize = 50;

    /// Operation codes of PerformOperation(); any code other than these is
    /// addition. Addition.
    static constexpr char opAdd = 1;
    /// Subtraction.
    static constexpr char opSubtract = 2;
    /// Multiplication.
    static constexpr char opMultiply = 4;
    /// Division.
    static constexpr char opDivide = 8;

    /// The first live UnitString of the process (again after the count fell to
    /// 0) sets up the translations and, once, the caches and preferences.
    UnitString();
    /// Goes through Copy(UnitString const&). Not counted as a live object,
    /// though its destructor lowers the count: callers rely on the imbalance.
    /// \param other the string copied.
    UnitString(UnitString const& other);
    /// A default UnitString given the text by Copy(char const*).
    /// \param szText the unit text.
    explicit UnitString(char const* szText);
    /// Counts the object out.
    ~UnitString() override;

    /// Takes one reference.
    /// \return the new count.
    std::uint16_t AddRef() override;
    /// Gives one reference back, deleting the object at 0.
    /// \return the new count.
    std::uint16_t Release() override;

    /// Takes the text as given, then validates it; "deg" stays. Each Copy
    /// clears the id and the base-units mark first.
    /// \param other the text.
    /// \return 1.
    short Copy(CPString const& other) override;
    /// Takes a text with every "deg" removed, repeatedly, so 'degC' reads 'C';
    /// then validates it: a text that is no unit leaves this empty.
    /// \param text the text.
    /// \param n1 not used.
    /// \param n2 not used.
    /// \return 1.
    short Copy(char const* text, std::uint32_t n1 = 0, std::uint32_t n2 = 0) override;
    /// Takes the source's id when it has one; a text with "deg" goes through
    /// Copy(char const*).
    /// \param other the string copied.
    /// \return 1.
    short Copy(UnitString const& other);
    /// Copy(CPString const&).
    /// \param other the text.
    /// \return this string.
    CPString& operator=(CPString const& other) override;
    /// Copy(char const*).
    /// \param text the text.
    /// \return this string.
    CPString& operator=(char const* text) override;
    /// Copy(UnitString const&).
    /// \param other the string copied.
    /// \return this string.
    UnitString& operator=(UnitString const& other);

    /// \return the packed unit id; 0 for none or a dimensionless unit.
    std::int32_t _get_nUnitID() const { return nUnitID; }
    /// \return 1 for a shared base-unit text.
    char _get_bBaseUnits() const { return bBaseUnits; }

    /// Whether a text has a non-zero id, storing the id in it. A dimensionless
    /// unit has id 0 and so never exists.
    /// \param p the string; this when null.
    /// \return 1 when it has a non-zero id.
    short Exists(UnitString* p = nullptr);
    /// The same for a plain text, which keeps no id.
    /// \param p the text.
    /// \return 1 when it has a non-zero id.
    short Exists(CPString* p);
    /// Makes a text a known unit: a text in the foreign notation is translated,
    /// and one that is no unit becomes empty. Never throws.
    /// \param p the string; this when null.
    void ValidateUnitString(UnitString* p = nullptr);
    /// Translates a text in the foreign notation in place.
    /// \param p the text.
    /// \throws Exception 1343 "Invalid Unit: " when it is no unit either way.
    void ValidateUnitString(CPString* p);
    /// \param p a unit text.
    /// \return 1 when its id is this one's id, else 0.
    short EquivalentDimensions(CPString* p);
    /// \param sz a unit text.
    /// \return 1 when its id is this one's id, else 0.
    short EquivalentDimensions(char const* sz);
    /// \return the canonical SI text of the id as a shared UnitString marked as
    ///         base units, with a reference for the caller to release.
    UnitString* BaseUnits();
    /// The preferred display unit and decimals for a value in this unit, from
    /// the process's preferences.
    /// \param dValue the value.
    /// \param pstrInto receives the display unit.
    /// \param pcDecimals receives the decimals.
    /// \param szPurpose the purpose, or null for "Default".
    /// \return 1 when one was found.
    short GetDisplayUnits(double dValue, CPString* pstrInto, char* pcDecimals, char* szPurpose);

    /// Translates a text of the foreign notation; a text scanned once is taken
    /// from the cache after.
    /// \param szText the foreign text.
    /// \param strOut receives our text.
    /// \param dValue a value in the foreign unit.
    /// \return the value, changed where a mapped unit carries a function (a
    ///         percentage, a wire gauge).
    double TranslateFromKresk(char const* szText, CPString& strOut, double dValue);
    /// This text written in the foreign notation ('kJ/kgmole-C').
    /// \param pstrOut receives it.
    /// \return 1, or 0 when out is null or the text cannot be read.
    short GetKRESKUnitString(CPString* pstrOut);

    /// Converts a value in this unit to the target. A UnitString without text
    /// answers the value as it stands.
    /// \param target the unit wanted.
    /// \param dValue the value.
    /// \param pstrActual when given, receives the target's text as used.
    /// \param bDifference non-zero ignores offsets.
    /// \return the converted value.
    /// \throws Exception 1344 for inequivalent dimensions or a failed conversion.
    double ConvertTo(UnitString& target, double dValue, CPString* pstrActual, short bDifference);
    /// Converts a value in this unit to a target text (foreign notation accepted).
    /// \param szTarget the unit wanted.
    /// \param dValue the value.
    /// \param pstrActual when given, receives the target's text as used.
    /// \param bDifference non-zero ignores offsets.
    /// \return the converted value.
    /// \throws Exception 1344 for inequivalent dimensions or a failed conversion.
    double ConvertTo(char const* szTarget, double dValue, CPString* pstrActual, short bDifference);

    /// The unit of the result of an operation on two values. A null or empty
    /// operand is no unit. Addition and subtraction demand equivalent dimensions
    /// and give the left unit; multiplication and division give the shared
    /// base-unit text of the combined id, an empty UnitString for a
    /// dimensionless product, and null for a quotient of equal ids.
    /// \param punstrLeft the left operand's unit.
    /// \param punstrRight the right operand's unit.
    /// \param nOperation opAdd, opSubtract, opMultiply or opDivide.
    /// \return the unit, with one reference for the caller, who releases it; or
    ///         null for no unit.
    /// \throws Exception 1344 for an addition or subtraction of inequivalent dimensions.
    static UnitString* PerformOperation(UnitString* punstrLeft, UnitString* punstrRight,
                                        char nOperation);

    /// Releases every shared base-unit object.
    static void PurgeCaches();

    /// Fills the process's preferences from the stored path. A non-null path or
    /// set name is stored first.
    /// \param szPath the preferences file, or null for the stored one.
    /// \param szSet the set's name, or null.
    /// \param bMerge non-zero to add to what is there rather than replace it.
    /// \return what UnitPreferences::ReadPreferencesFile() answers.
    static short LoadUnitPreferences(char const* szPath, char const* szSet, short bMerge);
    /// \param szPath the preferences file.
    static void _set_strPreferencesFilePath(char const* szPath);
    /// \param szName the preferred set's name.
    static void _set_strPreferredUnitSetName(char const* szName);
    /// \return the preferences file's path.
    static CPString& _get_strPreferencesFilePath();
    /// \return the preferred set's name.
    static CPString& _get_strPreferredUnitSetName();
    /// \return the per-user preferences file read when no path was set first:
    ///         $XDG_CONFIG_HOME/orveltech/unitprefs.xml, or ~/.config/orveltech/unitprefs.xml.
    static CPString DefaultPreferencesPath();
    /// \return the process's preferences.
    static UnitPreferences& _get_prefsThe();

    /// \return the number of live UnitStrings.
    static std::uint32_t _get_nInstanceCount() { return nInstanceCount; }

    /// \return the shared base-unit strings by id.
    static CPDictionary& _get_dctKnownBaseUnitStrings();
    /// \return the ids of texts parsed so far.
    static CPDictionary& _get_dctKnownTexts();
    /// \return the translations between the foreign notation and ours.
    static CPSymmetricMap& _get_smapTranslations();
    /// \return the cache of foreign texts translated.
    static CreateableCache& _get_cxcTranslated();
    /// \return the cache of texts written in the foreign notation.
    static CreateableCache& _get_cxcForeign();
    /// \return a cache sized with the other two and kept for callers of their
    ///         own; nothing here reads or fills it.
    static CreateableCache& _get_cxcSpare();
    /// \return the unit texts parsed, for tests.
    static std::uint32_t _get_nParses() { return nParses; }
    /// \return the foreign texts scanned, for tests.
    static std::uint32_t _get_nScans() { return nScans; }
    /// \return the times the translations were set up, for tests.
    static std::uint32_t _get_nTranslationSetups() { return nTranslationSetups; }

private:
    static void InitializeUnits();
    static void InitTranslations();
    static void AddUnitMapping(char const* szForeign, char const* szOurs, double (*pfn)(double));
    static UnitString* UnitStringFromID(std::int32_t nId);
    static std::int32_t KnownId(CPString const& str);
    static std::int32_t ParseId(CPString const& str);

    void Clear();
    void RemoveDeg();
    // The value as a mapped unit's function changes it, in the numerator or
    // the denominator of the text translated so far.
    double ApplyTranslation(double (*pfn)(double), double dValue, bool bDenominator,
                            CPString const& strOut);

    std::int32_t nUnitID = 0;
    char bBaseUnits = 0;

    static std::uint32_t nInstanceCount;
    static std::uint32_t nParses;
    static std::uint32_t nScans;
    static std::uint32_t nTranslationSetups;
};

/// \brief One band of values of a unit and how it is shown.
struct SORVANE_API RangeSpec {
    /// Where the band starts.
    double dStart = 0.0;
    /// The unit shown.
    CPString strDisplay;
    /// The decimals shown.
    short nDecimals = 4;
};

/// \brief How quantities are displayed, by purpose and by the size of the value.
///
/// Purpose text to a dictionary keyed by unit id, each entry a list of
/// ranges in file order. A missing or empty purpose is "Default".
class SORVANE_API UnitPreferences : public Createable {
public:
    UnitPreferences();
    /// \param other the preferences copied, every range included.
    UnitPreferences(UnitPreferences const& other);
    /// \param other the preferences copied.
    /// \return these preferences.
    UnitPreferences& operator=(UnitPreferences const& other);
    /// Destroys every purpose, id and range.
    ~UnitPreferences() override;

    /// Destroys every purpose, id and range.
    void Clear();
    /// Reads a preferences file.
    /// \param szPath the file.
    /// \param bMerge non-zero to keep what is there.
    /// \return what the XML reader answers: 1, even for a file that cannot be read.
    /// \throws std::uint32_t kRangeOutsideUnit for a "Range" outside a "Unit".
    short ReadPreferencesFile(char const* szPath, short bMerge);
    /// The same over XML text in memory, which is parsed in place.
    /// \param szText the text.
    /// \param bMerge non-zero to keep what is there.
    /// \return 1.
    /// \throws std::uint32_t kRangeOutsideUnit for a "Range" outside a "Unit".
    short ReadPreferencesText(char* szText, short bMerge);
    /// Adds a range.
    /// \param nId the unit id.
    /// \param dStart where the band starts.
    /// \param szDisplay the unit shown.
    /// \param nDecimals the decimals shown.
    /// \param szPurpose the purpose, or null for "Default".
    void AddRange(std::int32_t nId, double dStart, char const* szDisplay, short nDecimals,
                  char const* szPurpose);
    /// The display unit for a value: the first range, then each later one whose
    /// start is at or below the value, stopping at the first above it.
    /// \param dValue the value.
    /// \param punstr its unit.
    /// \param pstrInto receives the display unit.
    /// \param pcDecimals receives the decimals.
    /// \param szPurpose the purpose, or null for "Default".
    /// \return 1 when a range was found (an empty list gives the unit's own
    ///         text and 6 decimals); 0 for an unknown purpose or unit, which
    ///         writes nothing.
    short GetUnitPreference(double dValue, UnitString* punstr, CPString* pstrInto, char* pcDecimals,
                            char const* szPurpose);

    /// \return the number of purposes.
    std::uint32_t PurposeCount() const;
    /// \param szPurpose a purpose.
    /// \param nId a unit id.
    /// \return the number of its ranges.
    std::uint32_t RangeCount(char const* szPurpose, std::int32_t nId) const;

    /// The thrown value of a "Range" outside a "Unit".
    static constexpr std::uint32_t kRangeOutsideUnit = 0xDEADBEEF;

private:
    void CopyFrom(UnitPreferences const& other);

    CPDictionary* pdctPurposes;
};
