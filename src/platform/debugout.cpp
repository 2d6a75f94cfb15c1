#include <platform/debugout.h>

#include <syslog.h>

namespace platform {
namespace {

class SyslogDebugOutput final : public DebugOutputService {
public:
    void Write(char const* text) override {
        if (text != nullptr) syslog(LOG_USER | LOG_DEBUG, "%s", text);
    }
};

} // namespace

Seam<DebugOutputService>& DebugOutputSeam() {
    static SyslogDebugOutput real;
    static Seam<DebugOutputService> seam(real);
    return seam;
}

void OutputDebugStringA(char const* text) {
    DebugOutputSeam().Get().Write(text);
}

} // namespace platform
