/// \file
/// The stop-icon message box. The process has no console on a desktop, but
/// the text must still reach a person: by default it goes to standard error
/// as one block, caption first.
#pragma once

#include <platform/export.h>
#include <platform/replaceable.h>

namespace platform {

/// The styles of a message box; only the stop icon is drawn from here.
enum : unsigned {
    /// One OK button.
    MB_OK = 0x0,
    /// The stop icon.
    MB_ICONSTOP = 0x10,
    /// The information icon.
    MB_ICONINFORMATION = 0x40,
    /// Above every other window.
    MB_TOPMOST = 0x40000
};
/// The answer of a box closed with its OK button.
enum : int { IDOK = 1 };

/// \brief Shows a message box; tests replace it through MessageBoxSeam().
class SORVANE_API MessageBoxService {
public:
    virtual ~MessageBoxService() = default;
    /// Shows the text and waits until it is acknowledged.
    /// \param text the message.
    /// \param caption the box's title.
    /// \param style MB_ flags.
    /// \return the button chosen, IDOK.
    virtual int Show(char const* text, char const* caption, unsigned style) = 0;
};

/// \return the seam of the message box service.
SORVANE_API Seam<MessageBoxService>& MessageBoxSeam();

/// Shows a message box through the service; by default the text goes to
/// standard error as one block, caption first.
/// \param owner not used: there is never an owner window here.
/// \param text the message.
/// \param caption the box's title.
/// \param style MB_ flags.
/// \return IDOK.
SORVANE_API int MessageBoxA(void* owner, char const* text, char const* caption, unsigned style);

} // namespace platform
