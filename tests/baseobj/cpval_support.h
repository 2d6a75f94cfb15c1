// The text forms of a value that the value tests compare.
#pragma once

#include <baseobj/cpval.h>

#include <string>

// The value's unit text.
inline std::string Units(CPValue& val) {
    char buf[256] = {};
    return val._get_punstrUnits_As_sz(buf);
}

// The value as GetAsString writes it with 6 decimals; the area is large
// enough for the wide collections of the tree tests.
inline std::string Str(CPValue& val) {
    static char buf[1 << 16];
    val.GetAsString(buf, 6);
    return buf;
}

// The value's text and its units: "2.000000 |m|".
inline std::string Shown(CPValue& val) {
    return Str(val) + " |" + Units(val) + "|";
}

// A value that holds x, with units when given: a test's operand in one line.
struct ValueOf : CPValue {
    using CPValue::operator=;
    template <class T> explicit ValueOf(T x, char const* szUnits = nullptr) {
        Set(x);
        if (szUnits != nullptr) _set_punstrUnits(szUnits);
    }
};
