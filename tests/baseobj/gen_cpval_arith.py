#!/usr/bin/env python3
"""Writes cpval_arith_cases.inc, the table of cpval_arith_test.cpp.

Every expected result is worked out here with exact fractions, from the SI
factors and offsets of the unit tables (src/omdiunit/sitables.cpp and
othertables.cpp, copied below with the unit each belongs to), following the
rules by which values compute with units:

- A sum or difference of two values with units brings both to base units.
  The right operand is a difference (no offset) unless the left one is a
  difference and the right one is not; the left is a difference when its
  purpose says so. The result returns to the left operand's units, as a
  difference when both operands are.
- A product or remainder brings both operands to base units as differences;
  a product has the combined base units.
- A quotient keeps a dividend with units over a plain divisor as it stands;
  otherwise both go to base units as differences. Equal units cancel; a
  plain dividend over a divisor with units takes the divisor's units.
- With units on one side only, the numbers are taken as they stand and the
  result has those units.
- Comparisons bring both to base units (a difference without offset), and
  floating numbers are equal within |b| x 1e-9 of b.
- Sums, differences, remainders and orderings of units of other dimensions
  throw 1344; equivalence answers false.
- The result has the higher type of the operands; an integer result that
  went through a conversion is the number cut toward zero.

Run once: python3 gen_cpval_arith.py > cpval_arith_cases.inc
"""

import random
from fractions import Fraction as F

# name: (factor to SI, offset to SI, dimensions L M T K)
UNITS = {
    "m": (F(1), F(0), (1, 0, 0, 0)),  # metre
    "km": (F(1000), F(0), (1, 0, 0, 0)),  # kilo prefix on metre
    "mm": (F(1, 1000), F(0), (1, 0, 0, 0)),  # milli prefix on metre
    "ft": (F("0.3048006"), F(0), (1, 0, 0, 0)),  # foot (US survey)
    "in": (F("0.0254"), F(0), (1, 0, 0, 0)),  # inch
    "mi": (F("1609.344"), F(0), (1, 0, 0, 0)),  # mile
    "s": (F(1), F(0), (0, 0, 1, 0)),  # second
    "min": (F(60), F(0), (0, 0, 1, 0)),  # minute
    "h": (F(3600), F(0), (0, 0, 1, 0)),  # hour
    "kg": (F(1), F(0), (0, 1, 0, 0)),  # kilogram
    "lb": (F("0.4535924"), F(0), (0, 1, 0, 0)),  # pound
    "K": (F(1), F(0), (0, 0, 0, 1)),  # kelvin
    "C": (F(1), F("273.15"), (0, 0, 0, 1)),  # degree Celcius
    "F": (F("0.55555555555"), F("255.37222222222"), (0, 0, 0, 1)),  # degree Fahrenheit
    "R": (F("0.55555555555"), F(0), (0, 0, 0, 1)),  # degree Rankine
    "Pa": (F(1), F(0), (-1, 1, -2, 0)),  # pascal
    "kPa": (F(1000), F(0), (-1, 1, -2, 0)),  # kilo prefix on pascal
    "bar": (F(100000), F(0), (-1, 1, -2, 0)),  # bar
    "atm": (F(101325), F(0), (-1, 1, -2, 0)),  # standard atmosphere
    "psi": (F("6894.757"), F(0), (-1, 1, -2, 0)),  # pound force per square inch
    "L": (F(1, 1000), F(0), (3, 0, 0, 0)),  # liter
    "gal": (F("0.00454609"), F(0), (3, 0, 0, 0)),  # gallon (imperial)
}
# Units whose text is their own base text: a value in them is not converted.
BASE = {"m", "kg", "s", "K"}
# Units whose factor survives the conversion's rounding unchanged, so that
# values in them can compare exactly equal.
EXACT = {"m", "km", "mm", "in", "mi", "s", "min", "h", "kg", "K", "C", "Pa", "kPa", "bar",
         "atm", "L"}
SYMBOLS = ("m", "kg", "s", "K")

TYPES = {"h": 4, "l": 8, "f": 16, "d": 32}
TOLERANCE = F(1, 10**9)


class Throws(Exception):
    pass


class Operand:
    def __init__(self, kind, value, units="", purpose=""):
        self.kind = kind
        self.value = F(value)
        self.text = value
        self.units = units
        self.purpose = purpose

    @property
    def delta(self):
        return "DeltaTemp" in self.purpose

    def c(self):
        return '{{\'{}\', {}, "{}", "{}"}}'.format(self.kind, self.text, self.units, self.purpose)


def dims(u):
    return UNITS[u][2]


def to_si(v, u, delta):
    f, o, _ = UNITS[u]
    return v * f + (0 if delta else o)


def from_si(v, u, delta):
    f, o, _ = UNITS[u]
    return (v - (0 if delta else o)) / f


def unit_text(d):
    terms = []
    for sym, e in zip(SYMBOLS, d):
        if e == 1:
            terms.append(sym)
        elif e != 0:
            terms.append("{}^{}".format(sym, e))
    return "*".join(terms)


def token(x, delta):
    """The number in base units and whether it became a double."""
    if not x.units or x.units in BASE:
        return x.value, False
    return to_si(x.value, x.units, delta), True


def both_units(a, b):
    return bool(a.units) and bool(b.units)


def same_dims(a, b, what):
    if both_units(a, b) and dims(a.units) != dims(b.units):
        raise Throws(what)


def operands(a, b, code):
    """The tokens' numbers, and whether either went through a conversion."""
    if code == 0:
        da, db = a.delta, b.delta
    elif code == 2:
        da = a.delta
        db = not (da and not b.delta)
    else:
        da = db = True
    convert = both_units(a, b)
    if code == 3:
        convert = not (a.units and not b.units)
    if not convert:
        return a.value, b.value, False
    (va, ca), (vb, cb) = token(a, da), token(b, db)
    return va, vb, ca or cb


def working(a, b):
    return max(a.kind, b.kind, key=lambda k: TYPES[k])


def integer(kind, converted):
    return TYPES[kind] <= 8 and not converted


def c_div(x, y):
    q = abs(x) // abs(y)
    return q if (x >= 0) == (y >= 0) else -q


def c_rem(x, y):
    return x - c_div(x, y) * y


def combined(ua, ub, sign):
    da, db = dims(ua), dims(ub)
    return tuple(x + sign * y for x, y in zip(da, db))


def arithmetic(op, a, b):
    """(type, number, units) of the result."""
    kind = working(a, b)
    if op in ("add", "sub"):
        same_dims(a, b, op)
        va, vb, conv = operands(a, b, 2)
        v = va + vb if op == "add" else va - vb
        if both_units(a, b):
            v = from_si(v, a.units, a.delta and b.delta)
            units = a.units
        else:
            units = a.units or b.units
    elif op == "mul":
        va, vb, conv = operands(a, b, 1)
        v = va * vb
        if both_units(a, b):
            units = unit_text(combined(a.units, b.units, 1))
        else:
            units = a.units or b.units
    elif op == "div":
        va, vb, conv = operands(a, b, 3)
        if integer(kind, conv):
            v = F(c_div(int(va), int(vb)))
        else:
            v = va / vb
        if both_units(a, b):
            d = combined(a.units, b.units, -1)
            units = "" if dims(a.units) == dims(b.units) else unit_text(d)
        else:
            units = a.units or b.units
    elif op == "mod":
        same_dims(a, b, op)
        va, vb, conv = operands(a, b, 1)
        ia, ib = int(va), int(vb)  # int() cuts toward zero
        if ib == 0:
            raise ValueError("remainder by zero")
        v = F(c_rem(ia, ib))
        if both_units(a, b):
            v = from_si(v, a.units, a.delta and b.delta)
            units = a.units
        else:
            units = a.units or b.units
    if TYPES[kind] <= 8 and v.denominator != 1:
        # Only a number that went through doubles has a fraction here; it is
        # cut toward zero, which a conversion's rounding must not upset.
        frac = abs(v - int(v))
        if not F(1, 10**4) < frac < 1 - F(1, 10**4):
            raise ValueError("too near a whole number to cut safely")
        v = F(int(v))
    return kind, v, units


def comparison(op, a, b):
    if both_units(a, b) and dims(a.units) != dims(b.units):
        if op == "eq":
            return 0
        raise Throws(op)
    va, vb, conv = operands(a, b, 0)
    floating = conv or TYPES[working(a, b)] >= 16
    if floating:
        t = abs(vb) * TOLERANCE
        if va != vb and abs(va - vb) < t * 2 and abs(va - vb) > t / 2:
            raise ValueError("on the edge of the band")
        if conv and 0 < abs(va - vb) < abs(vb) * F(1, 10**4):
            raise ValueError("closer than the conversions' rounding")
        if conv and va == vb and not (a.units in EXACT and b.units in EXACT):
            raise ValueError("exact only before rounding")
        r = -1 if va < vb - t else (1 if va > vb + t else 0)
    else:
        r = -1 if va < vb else (1 if va > vb else 0)
    return {"lt": r < 0, "le": r <= 0, "gt": r > 0, "ge": r >= 0, "eq": r == 0}[op]


ARITH = ("add", "sub", "mul", "div", "mod")
COMPARE = ("lt", "le", "gt", "ge", "eq")


def row(op, a, b):
    try:
        if op in ARITH:
            if op in ("div", "mod") and b.value == 0:
                return None
            kind, v, units = arithmetic(op, a, b)
            return '{{"{}", {}, {}, \'{}\', {}, "{}"}},'.format(
                op, a.c(), b.c(), kind, float(v).__repr__(), units)
        truth = comparison(op, a, b)
        return '{{"{}", {}, {}, \'h\', {}, ""}},'.format(op, a.c(), b.c(), int(truth))
    except Throws:
        return '{{"{}", {}, {}, \'!\', 0, ""}},'.format(op, a.c(), b.c())
    except ValueError:
        return None


def values(rng, n, low, high):
    return ["{:.2f}".format(rng.uniform(low, high)) for _ in range(n)]


def main():
    rng = random.Random(20261123)
    rows = []

    def add(a, b, ops=ARITH + COMPARE):
        for op in ops:
            r = row(op, a, b)
            if r:
                rows.append(r)

    # Same units.
    for u in ("m", "km", "ft", "h", "lb", "psi", "bar", "L"):
        x, y = values(rng, 2, 1, 500)
        add(Operand("d", x, u), Operand("d", y, u))
    # Converted units of one dimension, and pairs that are equal by design.
    for ua, ub in (("m", "ft"), ("km", "mi"), ("in", "mm"), ("h", "min"), ("kg", "lb"),
                   ("bar", "psi"), ("kPa", "atm"), ("L", "gal"), ("ft", "in"), ("s", "h")):
        x, y = values(rng, 2, 1, 500)
        add(Operand("d", x, ua), Operand("d", y, ub))
    for a, b in ((("1", "km"), ("1000", "m")), (("1", "in"), ("25.4", "mm")),
                 (("1", "h"), ("60", "min")), (("1", "atm"), ("101.325", "kPa")),
                 (("1", "m"), ("1", "ft"))):
        add(Operand("d", a[0], a[1]), Operand("d", b[0], b[1]))
    # Temperatures: the right operand of a sum is a difference.
    for ua, ub in (("C", "C"), ("C", "K"), ("K", "C"), ("C", "F"), ("F", "C"), ("F", "F"),
                   ("R", "F"), ("F", "K")):
        x, y = values(rng, 2, -40, 200)
        add(Operand("d", x, ua), Operand("d", y, ub))
    add(Operand("d", "0", "C"), Operand("d", "273.15", "K"), COMPARE)
    add(Operand("d", "100", "C"), Operand("d", "373.15", "K"), COMPARE)
    # Differences, named by the purpose.
    for ua, ub in (("C", "C"), ("C", "F"), ("F", "K"), ("K", "C")):
        x, y = values(rng, 2, 1, 80)
        add(Operand("d", x, ua, "DeltaTemp"), Operand("d", y, ub, "DeltaTemp"))
        add(Operand("d", x, ua, "DeltaTemp"), Operand("d", y, ub))
        add(Operand("d", x, ua), Operand("d", y, ub, "DeltaTemp"))
    # Units of other dimensions.
    for ua, ub in (("m", "s"), ("kg", "m"), ("K", "Pa"), ("ft", "lb"), ("C", "h"),
                   ("bar", "L")):
        x, y = values(rng, 2, 1, 100)
        add(Operand("d", x, ua), Operand("d", y, ub))
    # Units on one side, or none.
    for ua, ub in (("km", ""), ("", "ft"), ("", ""), ("C", "")):
        x, y = values(rng, 2, 1, 100)
        add(Operand("d", x, ua), Operand("d", y, ub))
    # Integer and float operands, with and without conversion.
    for ka, kb, ua, ub in (("h", "h", "", ""), ("l", "l", "m", "m"), ("h", "l", "s", "s"),
                           ("l", "h", "", ""), ("h", "h", "m", "ft"), ("h", "d", "m", "ft"),
                           ("f", "f", "m", "m"), ("f", "h", "", ""), ("l", "l", "kg", "")):
        for _ in range(2):
            x = str(rng.randint(-300, 300))
            y = str(rng.choice([i for i in range(-40, 41) if i != 0]))
            if ka == "f":
                x += ".5"
            add(Operand(ka, x, ua), Operand(kb, y, ub))
    # The tolerance band of 1e-9.
    for x, y in (("1.0", "1.0000000001"), ("1.0000000001", "1.0"), ("1.0", "1.00000001"),
                 ("-5.0", "-5.000000001"), ("1000.0", "1000.000002")):
        add(Operand("d", x), Operand("d", y), COMPARE)

    print("// Written by gen_cpval_arith.py; run it again rather than edit this.")
    print("// op, left {type, number, units, purpose}, right, result type ('!' throws")
    print("// 1344), result number, result units.")
    for r in rows:
        print(r)


if __name__ == "__main__":
    main()
