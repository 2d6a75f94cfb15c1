// Unit texts as values carry them: UnitString is a string whose text is a
// unit, with the unit's packed id kept beside it, counted by reference so
// that values can share one. Behind it sit process-wide caches, so that each
// distinct text is parsed once, and the translation of the flowsheet
// product's notation ('kJ/kgmole-C', 'm3/hr') into ours.
//
// UnitPreferences says how a quantity is displayed, by purpose and by the
// size of the value; one of them serves the process, filled from an XML file.
//
// The unit tables must have been built (UnitInitialize) before a UnitString
// is given a text: without them every text reads as no unit. Nothing here is
// for more than one thread at a time.
#pragma once

#include <platform/export.h>
#include <util/pstring.h>

#include <cstdint>

class CPDictionary;
class CPSymmetricMap;
class CreateableCache;
class UnitPreferences;

class SORVANE_API UnitString : public CPString {
public:
    // The size of each of the three caches of texts.
    static constexpr std::uint32_t kCacheSize = 50;

    // Operation codes of PerformOperation. Any code other than these three
    // is addition.
    static constexpr char opAdd = 1;
    static constexpr char opSubtract = 2;
    static constexpr char opMultiply = 4;
    static constexpr char opDivide = 8;

    // The first live UnitString of the process (again after the count fell
    // to 0) sets up the translations and, once, the caches and preferences.
    UnitString();
    // Goes through Copy(UnitString const&). Not counted as a live object,
    // though its destructor lowers the count: callers rely on the imbalance.
    UnitString(UnitString const& other);
    // A default UnitString given the text by Copy(char const*).
    explicit UnitString(char const* szText);
    ~UnitString() override;

    std::uint16_t AddRef() override;
    std::uint16_t Release() override;

    // Each Copy clears the id and the base-units mark first.
    // The text as given, then validated; "deg" stays.
    short Copy(CPString const& other) override;
    // Every "deg" is removed, repeatedly, so 'degC' reads 'C'; then the text
    // is validated, and a text that is no unit leaves this empty.
    short Copy(char const* text, std::uint32_t n1 = 0, std::uint32_t n2 = 0) override;
    // Takes the source's id when it has one; a text with "deg" goes through
    // Copy(char const*).
    short Copy(UnitString const& other);
    CPString& operator=(CPString const& other) override;
    CPString& operator=(char const* text) override;
    UnitString& operator=(UnitString const& other);

    std::int32_t _get_nUnitID() const { return nUnitID; }
    char _get_bBaseUnits() const { return bBaseUnits; }

    // Whether the text of p (this when null) has a non-zero id, storing the
    // id in p. A dimensionless unit has id 0 and so never exists.
    short Exists(UnitString* p = nullptr);
    // The same for a plain text, which keeps no id.
    short Exists(CPString* p);
    // Makes the text of p (this when null) a known unit: a text in the
    // foreign notation is translated, and one that is no unit becomes empty.
    // Never throws.
    void ValidateUnitString(UnitString* p = nullptr);
    // Translates a text in the foreign notation in place; throws Exception
    // 1343 "Invalid Unit: " when it is no unit either way.
    void ValidateUnitString(CPString* p);
    // 1 when the argument's id is this one's id, else 0.
    short EquivalentDimensions(CPString* p);
    short EquivalentDimensions(char const* sz);
    // The canonical SI text of the id as a shared UnitString marked as base
    // units, with a reference for the caller.
    UnitString* BaseUnits();
    // The preferred display unit and decimals for a value in this unit, from
    // the process's preferences; 1 when one was found.
    short GetDisplayUnits(double dValue, CPString* pstrInto, char* pcDecimals, char* szPurpose);

    // Translates a text of the foreign notation into strOut and answers the
    // value, changed where a mapped unit carries a function (a percentage, a
    // wire gauge). A text scanned once is taken from the cache after.
    double TranslateFromKresk(char const* szText, CPString& strOut, double dValue);
    // This text written in the foreign notation ('kJ/kgmole-C'); 0 when out
    // is null or the text cannot be read.
    short GetKRESKUnitString(CPString* pstrOut);

    // The value, in this unit, converted to the target (foreign notation
    // accepted). A non-zero bDifference ignores offsets. pstrActual, when
    // given, receives the target's text as used. Throws Exception 1344 for
    // inequivalent dimensions or a failed conversion. A UnitString without
    // text answers the value as it stands.
    double ConvertTo(UnitString& target, double dValue, CPString* pstrActual, short bDifference);
    double ConvertTo(char const* szTarget, double dValue, CPString* pstrActual, short bDifference);

    // The unit of the result of an operation on two values. A null or empty
    // operand is no unit; a null result is no unit. Addition and subtraction
    // demand equivalent dimensions (Exception 1344) and give the left unit;
    // multiplication and division give the shared base-unit text of the
    // combined id, an empty UnitString for a dimensionless product, and null
    // for a quotient of equal ids. A result that is not null carries one
    // reference for the caller, who releases it.
    static UnitString* PerformOperation(UnitString* punstrLeft, UnitString* punstrRight,
                                        char nOperation);

    // Releases every shared base-unit object.
    static void PurgeCaches();

    // Fills the process's preferences from the stored path (replacing what
    // was there unless bMerge). A non-null path or set name is stored first.
    static short LoadUnitPreferences(char const* szPath, char const* szSet, short bMerge);
    static void _set_strPreferencesFilePath(char const* szPath);
    static void _set_strPreferredUnitSetName(char const* szName);
    static CPString& _get_strPreferencesFilePath();
    static CPString& _get_strPreferredUnitSetName();
    // The per-user preferences file read when no path was set first:
    // $XDG_CONFIG_HOME/orveltech/unitprefs.xml, or
    // ~/.config/orveltech/unitprefs.xml.
    static CPString DefaultPreferencesPath();
    static UnitPreferences& _get_prefsThe();

    static std::uint32_t _get_nInstanceCount() { return nInstanceCount; }

    // What the caches hold, for the curious and for tests.
    static CPDictionary& _get_dctKnownBaseUnitStrings();
    static CPDictionary& _get_dctKnownTexts();
    static CPSymmetricMap& _get_smapTranslations();
    static CreateableCache& _get_cxcTranslated();
    static CreateableCache& _get_cxcForeign();
    static CreateableCache& _get_cxcSpare();
    // Counters for tests: unit texts parsed, foreign texts scanned, and
    // times the translations were set up.
    static std::uint32_t _get_nParses() { return nParses; }
    static std::uint32_t _get_nScans() { return nScans; }
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

// One band of values of a unit and how it is shown.
struct SORVANE_API RangeSpec {
    double dStart = 0.0;
    CPString strDisplay;
    short nDecimals = 4;
};

// Purpose text to a dictionary keyed by unit id, each entry a list of ranges
// in file order. A missing or empty purpose is "Default".
class SORVANE_API UnitPreferences : public Createable {
public:
    UnitPreferences();
    UnitPreferences(UnitPreferences const& other);
    UnitPreferences& operator=(UnitPreferences const& other);
    ~UnitPreferences() override;

    // Destroys every purpose, id and range.
    void Clear();
    // Clears first unless bMerge; answers what the XML reader answers, 1
    // even for a file that cannot be read. A "Range" outside a "Unit" throws
    // the unsigned value 0xDEADBEEF.
    short ReadPreferencesFile(char const* szPath, short bMerge);
    // The same over XML text in memory, which is parsed in place.
    short ReadPreferencesText(char* szText, short bMerge);
    void AddRange(std::int32_t nId, double dStart, char const* szDisplay, short nDecimals,
                  char const* szPurpose);
    // The display unit for a value: the first range, then each later one
    // whose start is at or below the value, stopping at the first above it.
    // 1 when a range was found; an empty list gives the unit's own text and
    // 6 decimals; an unknown purpose or unit writes nothing and gives 0.
    short GetUnitPreference(double dValue, UnitString* punstr, CPString* pstrInto, char* pcDecimals,
                            char const* szPurpose);

    // The number of purposes, and of ranges of one purpose and unit.
    std::uint32_t PurposeCount() const;
    std::uint32_t RangeCount(char const* szPurpose, std::int32_t nId) const;

    // The thrown value of a "Range" outside a "Unit".
    static constexpr std::uint32_t kRangeOutsideUnit = 0xDEADBEEF;

private:
    void CopyFrom(UnitPreferences const& other);

    CPDictionary* pdctPurposes;
};
