// orvelsplash-render: paints the splash that a client's texts would show and
// writes it to a PNG file, for support staff and for reviewing the design.
// It goes through the server's own splash object and painter, so the legal
// line, the trimming and the layout are the server's.
#include <platform/codepage.h>
#include <splash/splashimage.h>
#include <splash/textcopy.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <string>

using namespace splash;

namespace {

constexpr char kUsage[] =
    "usage: orvelsplash-render [OPTION]... OUTPUT.png\n"
    "  --title TEXT        the title line\n"
    "  --subtitle TEXT     the subtitle, whose suite word picks the suite's name\n"
    "  --version TEXT      the version as text, shown as it is given\n"
    "  --major N           the version's major number (without --version)\n"
    "  --minor N           the version's minor number (without --version)\n"
    "  --from YEAR         first copyright year\n"
    "  --to YEAR           last copyright year; 0 shows 2008\n"
    "  --licensee TEXT     the licensee line\n"
    "  --status TEXT       a status line, as the client's start-up sends it\n"
    "  --low-colour        as on a display of 256 colours or fewer\n"
    "Texts not given are not passed, so the object's defaults show.\n";

std::optional<short> Number(char const* text) {
    char* end = nullptr;
    long const value = std::strtol(text, &end, 10);
    if (end == text || *end != '\0' || value < std::numeric_limits<short>::min() ||
        value > std::numeric_limits<short>::max()) {
        return std::nullopt;
    }
    return static_cast<short>(value);
}

int Usage(char const* problem) {
    if (problem != nullptr) std::fprintf(stderr, "orvelsplash-render: %s\n", problem);
    std::fputs(kUsage, stderr);
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    std::setlocale(LC_ALL, "");
    splash::SplashRequest request;
    char const* output = nullptr;
    for (int i = 1; i < argc; ++i) {
        std::string const option = argv[i];
        if (option == "--help" || option == "-h") {
            std::fputs(kUsage, stdout);
            return 0;
        }
        if (option == "--low-colour") {
            request.lowColour = true;
            continue;
        }
        if (option.rfind("--", 0) != 0) {
            if (output != nullptr) return Usage("more than one output file");
            output = argv[i];
            continue;
        }
        if (i + 1 >= argc) return Usage(("no value for " + option).c_str());
        char const* const value = argv[++i];
        if (option == "--title") {
            request.title = WideFromNarrow(value);
        } else if (option == "--subtitle") {
            request.subtitle = WideFromNarrow(value);
        } else if (option == "--version") {
            request.version = WideFromNarrow(value);
        } else if (option == "--licensee") {
            request.licensee = WideFromNarrow(value);
        } else if (option == "--status") {
            request.status = WideFromNarrow(value);
        } else if (option == "--major" || option == "--minor" || option == "--from" ||
                   option == "--to") {
            std::optional<short> const n = Number(value);
            if (!n) return Usage((option + " takes a number from -32768 to 32767").c_str());
            short& field = option == "--major"   ? request.major
                           : option == "--minor" ? request.minor
                           : option == "--from"  ? request.yearFrom
                                                 : request.yearTo;
            field = *n;
        } else {
            return Usage(("unknown option " + option).c_str());
        }
    }
    if (output == nullptr) return Usage("no output file");

    splash::SurfacePtr const image = splash::RenderSplash(request);
    if (!image) {
        std::fprintf(stderr, "orvelsplash-render: the splash object could not be made\n");
        return 1;
    }
    cairo_status_t const status = cairo_surface_write_to_png(image.get(), output);
    if (status != CAIRO_STATUS_SUCCESS) {
        std::fprintf(stderr, "orvelsplash-render: %s: %s\n", output,
                     cairo_status_to_string(status));
        return 1;
    }
    return 0;
}
