// splash_busfiles FOLDER: the session bus's files for an install that serves
// every user: FOLDER/dbus-1/interfaces/<interface>.xml, the interface's
// description, and FOLDER/dbus-1/services/<name>.service.in, the service
// file, in which the install puts its program folder for @BINDIR@.
#include <splash/host/bushost.h>
#include <splashclient/splashprotocol.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

bool Write(std::filesystem::path const& path, std::string const& text) {
    std::error_code error;
    std::filesystem::create_directories(path.parent_path(), error);
    std::ofstream out(path, std::ios::trunc);
    out << text;
    out.close();
    if (!out) std::fprintf(stderr, "splash_busfiles: cannot write %s\n", path.c_str());
    return static_cast<bool>(out);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: splash_busfiles FOLDER\n", stderr);
        return 2;
    }
    std::filesystem::path const folder = argv[1];
    bool const interface =
        Write(folder / "dbus-1/interfaces" / (std::string(splashbus::kInterface) + ".xml"),
              splashbus::IntrospectionXml());
    bool const service =
        Write(folder / "dbus-1/services" / (std::string(splashbus::kServiceName) + ".service.in"),
              splash::BusClassRegistrar::ServiceFileText("@BINDIR@/orvelsplash"));
    return interface && service ? 0 : 1;
}
