/// \file
/// The user's home folder, where the per-user places (the store, the bus's
/// files) are made: HOME when it is set, else the folder the user's password
/// entry names, as the desktop's libraries find it. Never a shared folder.
#pragma once

#include <platform/export.h>

#include <string>

namespace platform {

/// The user's home folder.
/// \return HOME when set, else the password entry's folder; empty when
/// neither gives one, and the caller must then stop with kNoHomeText.
SORVANE_API std::string UserHome();

/// The one line that says why nothing per-user can be made.
inline constexpr char kNoHomeText[] =
    "no home folder: HOME is unset and the user's password entry names none";

} // namespace platform
