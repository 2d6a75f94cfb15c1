// Turns the splash's BMP files into a C++ source that the program is built
// with, so that a paint finds each bitmap by its resource number:
//     splash_embed OUTPUT.cpp 238-background.bmp 229-logo-qvls.bmp ...
// The number is the leading digits of the file's name. A resource holds the
// device-independent bitmap without the file's own header, so that is cut.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kFileHeaderSize = 14;

struct Image {
    int number;
    std::vector<unsigned char> dib;
};

bool Read(std::string const& path, Image& image) {
    std::string const name = path.substr(path.find_last_of('/') + 1);
    std::size_t digits = 0;
    while (digits < name.size() && name[digits] >= '0' && name[digits] <= '9')
        ++digits;
    std::ifstream in(path, std::ios::binary);
    std::vector<unsigned char> const file{std::istreambuf_iterator<char>(in),
                                          std::istreambuf_iterator<char>()};
    if (digits == 0 || file.size() <= kFileHeaderSize || file[0] != 'B' || file[1] != 'M') {
        std::fprintf(stderr, "%s: not a numbered BMP file\n", path.c_str());
        return false;
    }
    image.number = std::stoi(name.substr(0, digits));
    image.dib.assign(file.begin() + kFileHeaderSize, file.end());
    return true;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s OUTPUT.cpp IMAGE.bmp...\n", argv[0]);
        return 2;
    }
    std::vector<Image> images;
    for (int i = 2; i < argc; ++i) {
        Image image;
        if (!Read(argv[i], image)) return 1;
        images.push_back(std::move(image));
    }

    std::ostringstream out;
    out << "// Made by splash_embed from src/splash/images at build time.\n"
           "#include <splash/dib.h>\n\nnamespace {\n\n";
    char const* const hex = "0123456789abcdef";
    for (Image const& image : images) {
        // A string literal compiles far faster than a list of numbers.
        out << "unsigned char const kImage" << image.number << "[] =";
        for (std::size_t i = 0; i < image.dib.size(); ++i) {
            if (i % 32 == 0) out << "\n    \"";
            out << "\\x" << hex[image.dib[i] >> 4] << hex[image.dib[i] & 15];
            if (i % 32 == 31 || i + 1 == image.dib.size()) out << '"';
        }
        out << ";\n\n";
    }
    out << "} // namespace\n\n"
           "std::span<std::uint8_t const> FindBitmapResource(int number) {\n"
           "    switch (number) {\n";
    for (Image const& image : images) {
        // The literal's terminator is not the image's.
        out << "    case " << image.number << ":\n        return {kImage" << image.number
            << ", sizeof kImage" << image.number << " - 1};\n";
    }
    out << "    default:\n        return {};\n    }\n}\n";

    std::ofstream file(argv[1], std::ios::binary);
    file << out.str();
    return file ? 0 : 1;
}
