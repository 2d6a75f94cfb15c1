#include <platform/msgbox.h>

#include <cstdio>
#include <string>

namespace platform {
namespace {

class StderrMessageBox final : public MessageBoxService {
public:
    int Show(char const* text, char const* caption, unsigned style) override {
        std::string block = (style & MB_ICONSTOP) != 0 ? "[stop] " : "";
        block += caption != nullptr ? caption : "Error";
        block += "\n";
        block += text != nullptr ? text : "";
        if (block.empty() || block.back() != '\n') block += '\n';
        // One write, so that reports of two processes do not interleave.
        std::fwrite(block.data(), 1, block.size(), stderr);
        std::fflush(stderr);
        return IDOK;
    }
};

} // namespace

Seam<MessageBoxService>& MessageBoxSeam() {
    static StderrMessageBox real;
    static Seam<MessageBoxService> seam(real);
    return seam;
}

int MessageBoxA(void*, char const* text, char const* caption, unsigned style) {
    return MessageBoxSeam().Get().Show(text, caption, style);
}

} // namespace platform
