#include <platform/process.h>

#include <cstdlib>

namespace platform {

void ExitProcess(std::uint32_t code) {
    std::exit(static_cast<int>(code));
}

} // namespace platform
