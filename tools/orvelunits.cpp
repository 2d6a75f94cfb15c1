// orvelunits: converts values between units and describes unit texts, in the
// framework's own unit notation, for engineers and for scripts.
#include <omdiunit/cuserunit.h>
#include <omdiunit/omdiunit.h>
#include <omdiunit/unitcol.h>
#include <omdiunit/unitpriv.h>
#include <omdiunit/unittables.h>
#include <util/exceptions.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr int kOk = 0;
constexpr int kFailed = 1;
constexpr int kUsage = 2;

constexpr char kUsageText[] =
    "usage: orvelunits [--user-units FILE] [--json] convert [--difference] VALUE FROM TO\n"
    "       orvelunits [--user-units FILE] [--json] info UNIT\n"
    "       orvelunits [--user-units FILE] [--json] list [--class CLASS]\n"
    "A unit is terms joined by '*', each an optional prefix, a symbol and an optional\n"
    "'^' with an integer exponent: kPa, kg*m^2*s^-2; degF, degC and degR are read\n"
    "as F, C and R.\n"
    "CLASS is base, derived, accepted, other, user or prefix.\n"
    "--difference converts a difference of temperatures or pressures: no offsets.\n"
    "User units are read from FILE, else from $XDG_CONFIG_HOME/orveltech/units.txt\n"
    "(~/.config/orveltech/units.txt) when it exists.\n"
    "Exit status: 0 done, 1 a unit that does not parse or units of different\n"
    "dimensions, 2 bad arguments.\n";

struct Options {
    std::string userFile;
    bool json = false;
    bool difference = false;
    std::string unitClass;
    std::vector<std::string> words;
};

int Usage(char const* why) {
    std::fprintf(stderr, "orvelunits: %s\n%s", why, kUsageText);
    return kUsage;
}

int Failed(std::string const& why) {
    std::fprintf(stderr, "orvelunits: %s\n", why.c_str());
    return kFailed;
}

// The library's message without its trailing newline.
std::string LibraryMessage() {
    std::string text = FWError::ErrorString();
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    return text;
}

// JSON text: quotes, backslashes and control bytes (the 0x01 of a few
// symbols) escaped.
std::string Quoted(std::string_view text) {
    std::string out = "\"";
    for (unsigned char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20) {
            char esc[8];
            std::snprintf(esc, sizeof esc, "\\u%04x", c);
            out += esc;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

std::string Number(double x) {
    char text[64];
    std::snprintf(text, sizeof text, "%.15g", x);
    return text;
}

// Plain output shows the 0x01 byte of a symbol as "\x01".
std::string Printable(std::string_view text) {
    std::string out;
    for (char c : text)
        out += c == '\x01' ? std::string("\\x01") : std::string(1, c);
    return out;
}

// "degF" is read as "F", as values carrying units read it: every "deg" goes.
std::string WithoutDeg(std::string unit) {
    for (std::size_t at = unit.find("deg"); at != std::string::npos; at = unit.find("deg"))
        unit.erase(at, 3);
    return unit;
}

bool Parses(std::string const& unit) {
    UnitCollection terms;
    return terms.Parse(unit.c_str()) != 0;
}

// Steps of the commands ------------------------------------------------------------

int Convert(Options const& options) {
    if (options.words.size() != 4) return Usage("convert takes VALUE FROM TO");
    char* end = nullptr;
    errno = 0;
    double const value = std::strtod(options.words[1].c_str(), &end);
    if (end == options.words[1].c_str() || *end != '\0' || errno != 0)
        return Usage("VALUE is not a number");
    std::string const from = WithoutDeg(options.words[2]);
    std::string const to = WithoutDeg(options.words[3]);
    for (std::string const* unit : {&from, &to})
        if (!Parses(*unit)) return Failed("unit does not parse: " + *unit);
    double result = 0.0;
    try {
        result = ::Convert(value, from.c_str(), to.c_str(), options.difference ? 1 : 0);
    } catch (FWError const&) {
        return Failed(LibraryMessage() + ": " + from + " and " + to);
    }
    if (options.json)
        std::printf("{\"value\": %s, \"from\": %s, \"to\": %s, \"difference\": %s, "
                    "\"result\": %s}\n",
                    Number(value).c_str(), Quoted(from).c_str(), Quoted(to).c_str(),
                    options.difference ? "true" : "false", Number(result).c_str());
    else
        std::printf("%s\n", Number(result).c_str());
    return kOk;
}

int Info(Options const& options) {
    if (options.words.size() != 2) return Usage("info takes UNIT");
    std::string const unit = WithoutDeg(options.words[1]);
    if (!Parses(unit)) return Failed("unit does not parse: " + unit);
    std::uint32_t id = 0;
    try {
        id = IdFromString(unit.c_str());
    } catch (FWError const&) {
        return Failed(LibraryMessage() + ": " + unit);
    }
    std::string const description = UnitTextOf(UnitGetInfo(unit.c_str()));
    std::string const dimension = UnitTextOf(StringFromId(id));
    std::string const quantity = UnitTextOf(UnitWhat(id));
    double const factor = ConvertToSI(1.0, unit.c_str(), 1);
    double const offset = ConvertToSI(0.0, unit.c_str(), 0);
    char idText[16];
    std::snprintf(idText, sizeof idText, "0x%X", id);
    if (options.json) {
        std::printf("{\"unit\": %s, \"description\": %s, \"id\": %u, \"dimension\": %s, "
                    "\"quantity\": %s, \"factor\": %s, \"offset\": %s}\n",
                    Quoted(unit).c_str(), Quoted(description).c_str(), id,
                    Quoted(dimension).c_str(), Quoted(quantity).c_str(), Number(factor).c_str(),
                    Number(offset).c_str());
        return kOk;
    }
    std::printf("unit:        %s\n", Printable(unit).c_str());
    std::printf("description: %s\n", description.c_str());
    std::printf("dimension:   %s (%s)\n", dimension.empty() ? "1" : dimension.c_str(), idText);
    if (!quantity.empty()) std::printf("quantity:    %s\n", quantity.c_str());
    std::printf("in SI:       1 %s = %s %s\n", Printable(unit).c_str(), Number(factor).c_str(),
                dimension.empty() ? "" : dimension.c_str());
    if (offset != 0.0) std::printf("offset:      %s\n", Number(offset).c_str());
    return kOk;
}

// One line of the list.
struct Row {
    std::string unitClass;
    std::string symbol;
    std::string name;
    std::string dimension;
    double factor;
    double offset;
};

void AddUnit(std::vector<Row>& rows, char const* unitClass, CUnit& unit) {
    if (unit.Symbol().Length() == 0) return; // known by its dimension only
    rows.push_back({unitClass, UnitTextOf(unit.Symbol()), UnitTextOf(unit.Name()),
                    UnitTextOf(StringFromId(unit.ulId)), unit.Factor(), unit.Offset()});
}

template <class Units> void AddUnits(std::vector<Row>& rows, char const* unitClass, Units units) {
    for (auto& unit : units)
        AddUnit(rows, unitClass, unit);
}

std::vector<Row> AllRows() {
    std::vector<Row> rows;
    AddUnits(rows, "base", unittables::SIBaseUnits());
    AddUnits(rows, "derived", unittables::SIDerivedAUnits());
    AddUnits(rows, "accepted", unittables::SIOtherUnits());
    AddUnits(rows, "other", unittables::OtherUnits());
    AddUnits(rows, "other", unittables::OtherWUnits());
    for (std::uint32_t i = 0; i < CUserUnit::Count(); ++i)
        AddUnit(rows, "user", *CUserUnit::At(i));
    for (UnitPrefix& prefix : unittables::Prefixes())
        rows.push_back({"prefix", UnitTextOf(prefix.Symbol()), UnitTextOf(prefix.Name()), "",
                        std::pow(10.0, prefix.Power()), 0.0});
    return rows;
}

int List(Options const& options) {
    if (options.words.size() != 1) return Usage("list takes no operands");
    static constexpr char const* kClasses[] = {"",      "base", "derived", "accepted",
                                               "other", "user", "prefix"};
    bool known = false;
    for (char const* c : kClasses)
        known = known || options.unitClass == c;
    if (!known) return Usage("unknown class");
    bool first = true;
    if (options.json) std::printf("[");
    for (Row const& row : AllRows()) {
        if (!options.unitClass.empty() && row.unitClass != options.unitClass) continue;
        if (options.json)
            std::printf("%s\n {\"class\": %s, \"symbol\": %s, \"name\": %s, \"dimension\": %s, "
                        "\"factor\": %s, \"offset\": %s}",
                        first ? "" : ",", Quoted(row.unitClass).c_str(), Quoted(row.symbol).c_str(),
                        Quoted(row.name).c_str(), Quoted(row.dimension).c_str(),
                        Number(row.factor).c_str(), Number(row.offset).c_str());
        else
            std::printf("%-9s %-14s %-44s %-24s %.10g%s%s\n", row.unitClass.c_str(),
                        Printable(row.symbol).c_str(), row.name.c_str(), row.dimension.c_str(),
                        row.factor, row.offset != 0.0 ? " + " : "",
                        row.offset != 0.0 ? Number(row.offset).c_str() : "");
        first = false;
    }
    if (options.json) std::printf("\n]\n");
    return kOk;
}

// Options may stand anywhere; "--" ends them, so that a negative VALUE can
// follow.
bool ReadOptions(int argc, char** argv, Options& options, std::string& why) {
    bool operandsOnly = false;
    for (int i = 1; i < argc; ++i) {
        std::string_view const arg = argv[i];
        // "--help" is the command of that name, as "help" is.
        if (operandsOnly || arg.size() < 2 || arg[0] != '-' || (arg[1] >= '0' && arg[1] <= '9') ||
            arg[1] == '.' || arg == "--help") {
            options.words.emplace_back(arg);
        } else if (arg == "--") {
            operandsOnly = true;
        } else if (arg == "--json") {
            options.json = true;
        } else if (arg == "--difference") {
            options.difference = true;
        } else if (arg == "--user-units" || arg == "--class") {
            if (i + 1 >= argc) {
                why = std::string(arg) + " needs a value";
                return false;
            }
            (arg == "--class" ? options.unitClass : options.userFile) = argv[++i];
        } else {
            why = "unknown option " + std::string(arg);
            return false;
        }
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    std::string why;
    if (!ReadOptions(argc, argv, options, why)) return Usage(why.c_str());
    if (options.words.empty()) return Usage("no command");
    if (options.words[0] == "help" || options.words[0] == "--help") {
        std::printf("%s", kUsageText);
        return kOk;
    }
    std::string const userFile =
        options.userFile.empty() ? UnitTextOf(UnitDefaultUserFile()) : options.userFile;
    try {
        UnitInitialize(userFile.c_str());
    } catch (FWError const&) {
        return Failed("user unit file " + userFile + ": " + LibraryMessage());
    }
    std::string const& command = options.words[0];
    if (command == "convert") return Convert(options);
    if (command == "info") return Info(options);
    if (command == "list") return List(options);
    return Usage("unknown command");
}
