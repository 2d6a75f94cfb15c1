// Every table unit that GNU units also knows, converted to SI by both. Rows
// whose stored factor differs from GNU units' value stand in the list of
// known differences with the factor this library keeps; the test prints
// every disagreement, and fails on any that is not listed or that no longer
// disagrees.
#include <omdiunit/cunitid.h>
#include <omdiunit/omdiunit.h>

#include "support.h"
#include <support/files.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

using omdiunit_test::UnitsTest;

namespace {

constexpr double kAgreement = 1e-9;

// The rows, each ended by ";": a unit in our notation, then, where GNU units
// writes the same quantity otherwise, " = " and its text. Offset units are
// taken at 1 of the unit.
constexpr char kRows[] =
    "m; g; s; A; K; mol; cd; m^3; m^2; m*s^-1 = m/s; m*s^-2 = m/s^2; m^-1 = 1/m; "
    "m^-3*kg = kg/m^3; m^3*kg = m^3 kg; m^-2*A = A/m^2; m^-1*A = A/m; m^-3*mol = mol/m^3; "
    "m^-2*cd = cd/m^2; Hz; N; Pa; J; W; Coul = coulomb; V; Farad = farad; \00194 = ohm; "
    "S = siemens; Wb; T = tesla; H = henry; Pa*s = Pa s; N*m^-1 = N/m; W*m^-2 = W/m^2; "
    "J*K^-1 = J/K; J*K^-1*kg^-1 = J/K kg; J*kg^-1 = J/kg; W*m^-1*K^-1 = W/m K; V*m^-1 = V/m; "
    "Coul*m^-3 = coulomb/m^3; Coul*m^-2 = coulomb/m^2; Farad*m^-1 = farad/m; "
    "H*m^-1 = henry/m; J*mol^-1 = J/mol; J*mol^-1*K^-1 = J/mol K; L = liter; t = tonne; "
    "min = minute; d = day; h = hour; u; eV; /\00193 = pi; clo; D = debye; denier; tex; "
    "gpm = gal/min; langley; rhe; St = stokes; /V\\m = molarvolume; /F = faraday; "
    "/N\\a = avogadro; acre; \00190 = angstrom; are; AU = au; atm; at; bar; b = barn; bbl; "
    "Bi = biot; Btu = btu_mean; Btu\\th = btu_th; Btu\\IT = btu_IT; bu = bushel; "
    "cal\\th = cal_th; cal\\IT = cal_IT; cal = cal_mean; carat; cmHg = cm Hg; ch = chain; "
    "cmil = circularmil; cord; cup; darcy; C = tempC(1); F = tempF(1); R = degR; "
    "delC = degC; delF = degF; delR = degR; dyn = dyne; erg; faraday; fathom; fermi; "
    "fl_ozUS = floz; fl_oz = brfloz; ft = surveyfoot; ftI = ft; ftHg = ft Hg; Fr = franklin; "
    "Gal = galileo; gal = brgallon; galUS = gallon; G = gauss; Gi = gilbert; gi = brgill; "
    "giUS = gill; gr = grain; ha = hectare; hp; hp\\UK = brhorsepower; "
    "hp\\electric = electrichorsepower; hp\\metric = metrichorsepower; "
    "long = longhundredweight; short = shorthundredweight; in = inch; inHg; inWater = inH2O; "
    "kgf; kp = kilopond; kip; knot; lambert; l.y. = lightyear; Mx = maxwell; mho; micron; "
    "mi = mile; mmHg; mil; mi\\nautical = nmi; oz = ounce; oz\\troy = troyounce; "
    "ozf = ounce force; pc = parsec; pk = peck; dwt = pennyweight; pica; dry_pt = drypint; "
    "liq_pt = uspint; Pt = postscriptpoint; lb; lb\\troy = troypound; poundal; lbf; quad; "
    "dry_qt = dryquart; liq_qt = quart; rd = rod; shake; slug; st = stere; sb = stilb; "
    "tbs = tablespoon; tsp = teaspoon; therm = ECtherm; therm\\US = UStherm; AT = assayton; "
    "Torr = torr; yd = yard; year = 365 day; xu = xunit; P = poise; Oe = oersted; "
    "/g\\n = gravity; /e = e; /m\\e = electronmass; /m\\n = neutronmass; /m\\p = protonmass; "
    "/R = R; /h = h; /R\\H = rydberg; /c = c; /a\\0 = bohrradius; Wk = week; Ton = ton; psi; "
    "psig = psi + atm; Pag = Pa + atm; psia = psi; lbmole = lb mol / g; kgmole = kmol;";

struct OracleRow {
    std::string ours;
    std::string gnu;
};

std::vector<OracleRow> const& AllRows() {
    static std::vector<OracleRow> const rows = [] {
        std::vector<OracleRow> all;
        std::istringstream text(kRows);
        for (std::string row; std::getline(text >> std::ws, row, ';');) {
            std::size_t const equals = row.find(" = ");
            all.push_back({row.substr(0, equals),
                           equals == std::string::npos ? row : row.substr(equals + 3)});
        }
        return all;
    }();
    return rows;
}

// Rows where the table keeps another value than GNU units: the unit's SI
// value as this library has it, and why.
struct KnownDifference {
    char const* ours;
    double si;
    char const* why;
};

constexpr KnownDifference kKnown[] = {
#include "units_oracle_known.inc"
};

// What GNU units answered for one row: the SI value and its dimension.
struct GnuAnswer {
    bool known = false;
    double si = 0.0;
    std::uint32_t id = 0;
    bool dimensionKnown = true;
    std::string text;
};

// "... = 1.5 kg m^2 / A s^3": the last definition, in base units.
GnuAnswer ReadAnswer(std::string const& line) {
    GnuAnswer answer;
    answer.text = line;
    std::string const last =
        line.substr(line.rfind('=') == std::string::npos ? 0 : line.rfind('=') + 1);
    std::istringstream words(last);
    if (!(words >> answer.si)) return answer;
    answer.known = true;
    static std::map<std::string, CUnitId> const bases = {
        {"m", CUnitId(0x1)},       {"kg", CUnitId(0x40)},    {"s", CUnitId(0x400)},
        {"A", CUnitId(0x10000)},   {"K", CUnitId(0x100000)}, {"mol", CUnitId(0x800000)},
        {"cd", CUnitId(0x4000000)}};
    CUnitId id;
    int sign = 1;
    std::string word;
    while (words >> word) {
        if (word == "/") {
            sign = -1;
            continue;
        }
        std::size_t const caret = word.find('^');
        int const n = caret == std::string::npos ? 1 : std::atoi(word.c_str() + caret + 1);
        auto const base = bases.find(word.substr(0, caret));
        if (base == bases.end()) {
            answer.dimensionKnown = false;
            continue;
        }
        CUnitId term = base->second;
        id *= term.pow(static_cast<short>(sign * n));
    }
    answer.id = static_cast<std::uint32_t>(id);
    return answer;
}

// One GNU units process for all rows: each row is a "You have" line followed
// by an empty "You want" line, which answers the row in base units.
std::vector<GnuAnswer> AskGnuUnits() {
    std::string const input = test_support::TestFileName("in.txt");
    std::string const output = test_support::TestFileName("out.txt");
    {
        std::ofstream in(input);
        for (OracleRow const& row : AllRows())
            in << row.gnu << "\n\n";
    }
    std::string const command = "units -t -d 15 < " + input + " > " + output + " 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0);
    std::vector<GnuAnswer> answers;
    std::ifstream out(output);
    std::string line;
    while (std::getline(out, line))
        answers.push_back(ReadAnswer(line));
    std::remove(input.c_str());
    std::remove(output.c_str());
    return answers;
}

KnownDifference const* FindKnown(std::string const& ours) {
    for (KnownDifference const& known : kKnown)
        if (ours == known.ours) return &known;
    return nullptr;
}

std::string Printable(std::string const& text) {
    std::string out;
    for (char c : text)
        out += c == '\x01' ? std::string("\\x01") : std::string(1, c);
    return out;
}

} // namespace

using UnitsOracleTest = UnitsTest;

TEST_F(UnitsOracleTest, EveryTableUnitAgreesWithGnuUnitsOrIsAKnownDifference) {
    if (std::system("units --version > /dev/null 2>&1") != 0) GTEST_SKIP() << "no GNU units";
    std::vector<GnuAnswer> const answers = AskGnuUnits();
    ASSERT_EQ(answers.size(), AllRows().size());

    std::printf("Known differences from GNU units (unit: this library / GNU units):\n");
    int agreed = 0;
    for (std::size_t i = 0; i < answers.size(); ++i) {
        OracleRow const& row = AllRows()[i];
        GnuAnswer const& gnu = answers[i];
        ASSERT_TRUE(gnu.known) << row.gnu << ": " << gnu.text;
        double const ours = ConvertToSI(1.0, row.ours.c_str(), 0);
        bool const sameValue = std::fabs(ours - gnu.si) <= kAgreement * std::fabs(gnu.si);
        bool const sameDimension = gnu.dimensionKnown && gnu.id == IdFromString(row.ours.c_str());
        KnownDifference const* known = FindKnown(row.ours);
        if (known == nullptr) {
            EXPECT_TRUE(sameValue) << row.ours << ": " << ours << " against " << gnu.text;
            EXPECT_TRUE(sameDimension) << row.ours << ": " << std::hex
                                       << IdFromString(row.ours.c_str()) << " against " << gnu.text;
            agreed += sameValue && sameDimension;
            continue;
        }
        EXPECT_FALSE(sameValue && sameDimension) << row.ours << " agrees now; unlist it";
        EXPECT_NEAR(ours, known->si, std::fabs(known->si) * 1e-12) << row.ours;
        std::printf("  %-12s %.12g / %.15g %s (%s)\n", Printable(row.ours).c_str(), ours, gnu.si,
                    sameDimension ? "" : "[dimension differs]", known->why);
    }
    std::printf("%d of %zu units agree within %g.\n", agreed, AllRows().size(), kAgreement);
    for (KnownDifference const& known : kKnown) {
        bool listed = false;
        for (OracleRow const& row : AllRows())
            listed = listed || row.ours == known.ours;
        EXPECT_TRUE(listed) << known.ours << " is listed but not compared";
    }
}
