// Where on a desktop of several monitors the splash goes: the work area of
// one monitor, chosen by where the user is looking.
#pragma once

#include <splash/window.h>

#include <optional>
#include <span>

namespace splash {

struct Monitor {
    Rect rect;
    bool primary = false;
};

struct Point {
    std::int32_t x = 0;
    std::int32_t y = 0;
};

// The monitor that holds the pointer (the smallest, where they overlap),
// else the primary one, else the first;
// its part of the desktop's work area (the desktop's area spans every
// monitor and leaves out panels and docks). A monitor the area does not
// reach gives itself whole; no monitors give the desktop's area.
SORVANE_API Rect PlacementArea(std::span<Monitor const> monitors, std::optional<Point> pointer,
                               Rect const& desktopArea);

} // namespace splash
