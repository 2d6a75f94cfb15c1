// Reading and writing XML: XMLEmitter writes a file tag by tag, and
// XMLReader parses it back through three callbacks, for start tags, end tags
// and text.
//
//   xml_roundtrip [FILE]
//
// With no file it writes plant.xml in the temporary folder and removes it.
#include <baseobj/xmlparser.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include <unistd.h>

namespace {

// What the reader's callbacks need: the depth, for indenting.
struct Listing {
    int depth = 0;
    int pumps = 0;
};

void OnStart(void* user, char const* name, char const** attributes) {
    auto* listing = static_cast<Listing*>(user);
    // The file's header comes as a start tag of its own.
    if (name[0] == '?') return;
    std::printf("%*sstart %s", 2 * listing->depth++, "", name);
    for (char const** at = attributes; *at != nullptr; at += 2)
        std::printf(" %s=\"%s\"", at[0], at[1]);
    std::printf("\n");
    listing->pumps += std::string(name) == "pump" ? 1 : 0;
}

void OnEnd(void* user, char const* name) {
    auto* listing = static_cast<Listing*>(user);
    std::printf("%*send %s\n", 2 * --listing->depth, "", name);
}

// The text after a start tag; the indentation between tags comes here too.
void OnText(void* user, char const* text, int length) {
    auto* listing = static_cast<Listing*>(user);
    std::string const body(text, static_cast<std::size_t>(length));
    if (body.find_first_not_of(" \t") == std::string::npos) return;
    std::printf("%*stext \"%s\"\n", 2 * listing->depth, "", body.c_str());
}

void Write(std::string path) {
    // The emitter's calls take writable texts, which it only reads.
    struct Pump {
        std::string tag, kW;
    } pumps[] = {{"P-101", "15.0"}, {"P-102", "11.0"}};
    std::string plant = "plant", name = "name", north = "North", pump = "pump", tag = "tag";

    XMLEmitter emitter;
    if (emitter.OpenFile(path.data()) == 0) return;
    emitter.StartTag(plant.data());
    emitter.Attribute(name.data(), north.data());
    for (Pump& p : pumps) {
        emitter.StartTag(pump.data());
        emitter.Attribute(tag.data(), p.tag.data());
        emitter.Text(p.kW.data(), 0);
        emitter.EndTag();
    }
    emitter.EndTag();
    emitter.CloseFile();
}

} // namespace

int main(int argc, char** argv) {
    std::string const path = argc > 1 ? argv[1]
                                      : (std::filesystem::temp_directory_path() /
                                         ("plant-" + std::to_string(::getpid()) + ".xml"))
                                            .string();
    Write(path);
    std::error_code ec;
    std::printf("wrote %s, %ju bytes\n", path.c_str(),
                static_cast<std::uintmax_t>(std::filesystem::file_size(path, ec)));

    // A tag is reported when the next "<" is met, so the last tag of the
    // file, the root's end, comes with no call: whatever is still open when
    // the reader returns ends with the file.
    Listing listing;
    XMLReader reader;
    reader.ReadXMLFile(path.c_str(), 0, OnStart, OnEnd, OnText, &listing, 0);
    while (listing.depth > 0)
        std::printf("%*send of file\n", 2 * --listing.depth, "");

    if (argc <= 1) std::filesystem::remove(path, ec);
    return listing.pumps == 2 ? 0 : 1;
}
