#include <platform/process.h>

#include <chrono>
#include <cstdlib>
#include <thread>

namespace platform {
namespace {

class RealProcess final : public ProcessService {
public:
    void Exit(std::uint32_t code) override { std::exit(static_cast<int>(code)); }
    void Sleep(std::uint32_t milliseconds) override {
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    }
};

} // namespace

Seam<ProcessService>& ProcessSeam() {
    static RealProcess real;
    static Seam<ProcessService> seam(real);
    return seam;
}

void ExitProcess(std::uint32_t code) {
    ProcessSeam().Get().Exit(code);
    std::exit(static_cast<int>(code));
}

void Sleep(std::uint32_t milliseconds) {
    ProcessSeam().Get().Sleep(milliseconds);
}

} // namespace platform
