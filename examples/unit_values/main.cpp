// Values with units and their arithmetic: a CPValue carries a number, its
// units and a purpose. Assignment converts to the target's units, sums keep
// the left operand's units, products and quotients come out in base units,
// and values of other dimensions refuse to be added or compared.
#include <baseobj/cpval.h>
#include <baseobj/exception.h>
#include <omdiunit/omdiunit.h>

#include <cstdio>

namespace {

void Show(char const* what, CPValue& val) {
    char units[CPValue::kUnitTextSize] = {};
    val._get_punstrUnits_As_sz(units);
    std::printf("%-12s %g %s\n", what, val.GetAsDouble(), units[0] != '\0' ? units : "(no units)");
}

void Measure(CPValue& val, double number, char const* units) {
    val.Set(number);
    val._set_punstrUnits(units);
}

} // namespace

int main() {
    // Units need the unit tables; a refused operation throws Exception,
    // which the caller reports: no box is shown.
    UnitInitialize(nullptr);
    Exception::_set_bDisableMessageBoxes(1);

    CPValue pipe;
    Measure(pipe, 12.0, "ft");
    CPValue spool;
    Measure(spool, 1.5, "m");
    Show("pipe", pipe);
    Show("spool", spool);

    // Each operator is called on the value that takes the result.
    CPValue run;
    run.AddOperator(pipe, spool, &run);
    Show("pipe+spool", run);
    CPValue area;
    area.MulOperator(pipe, spool, area);
    Show("pipe*spool", area);
    CPValue ratio;
    ratio.DivOperator(pipe, spool, ratio);
    Show("pipe/spool", ratio);

    // Assignment keeps the target's units and converts the number into them.
    CPValue inches;
    Measure(inches, 0.0, "in");
    inches = pipe;
    Show("pipe in in", inches);
    // So does reading the text form "value|units".
    CPValue metres;
    Measure(metres, 0.0, "m");
    metres.SetFromString("250|cm");
    Show("250|cm", metres);

    // Comparisons look through the units.
    std::printf("pipe > spool: %s\n", pipe.IsGreaterThan(&spool) != 0 ? "yes" : "no");

    // A length and a time cannot be added: Exception 1344.
    CPValue duration;
    Measure(duration, 30.0, "s");
    CPValue wrong;
    try {
        wrong.AddOperator(pipe, duration, &wrong);
        std::printf("a length and a time were added\n");
        return 1;
    } catch (Exception const& e) {
        std::printf("pipe+duration: exception %d\n", e._get_nException());
    }
    return 0;
}
