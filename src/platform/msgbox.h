// The stop-icon message box. The process has no console on a desktop, but
// the text must still reach a person: by default it goes to standard error
// as one block, caption first.
#pragma once

#include <platform/export.h>
#include <platform/replaceable.h>

namespace platform {

enum : unsigned {
    MB_OK = 0x0,
    MB_ICONSTOP = 0x10,
    MB_ICONINFORMATION = 0x40,
    MB_TOPMOST = 0x40000
};
enum : int { IDOK = 1 };

class SORVANE_API MessageBoxService {
public:
    virtual ~MessageBoxService() = default;
    virtual int Show(char const* text, char const* caption, unsigned style) = 0;
};

SORVANE_API Seam<MessageBoxService>& MessageBoxSeam();

// The owner is not used: there is never one here.
SORVANE_API int MessageBoxA(void* owner, char const* text, char const* caption, unsigned style);

} // namespace platform
