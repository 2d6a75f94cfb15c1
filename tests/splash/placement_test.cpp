// Which monitor's area the splash is placed in.
#include <splash/host/placement.h>

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace {

using splash::Monitor;
using splash::PlacementArea;
using splash::Point;
using splash::Rect;

TEST(PlacementTest, PointerThenPrimaryThenFirstMonitorClippedToTheWorkArea) {
    Monitor const left{{0, 0, 1280, 800}, false};
    Monitor const right{{1280, 0, 3200, 1080}, true};
    Rect const desktop{0, 30, 3200, 1080}; // a panel along the top
    struct Case {
        char const* what;
        std::vector<Monitor> monitors;
        std::optional<Point> pointer;
        Rect expected;
    };
    std::vector<Case> const cases = {
        {"pointer on the left", {left, right}, Point{10, 700}, {0, 30, 1280, 800}},
        {"pointer on the right", {left, right}, Point{3000, 5}, {1280, 30, 3200, 1080}},
        {"the seam belongs to the right", {left, right}, Point{1280, 0}, {1280, 30, 3200, 1080}},
        {"pointer below the short monitor", {left, right}, Point{100, 900}, {1280, 30, 3200, 1080}},
        {"no pointer: the primary", {left, right}, std::nullopt, {1280, 30, 3200, 1080}},
        {"no primary: the first", {left, {right.rect, false}}, Point{-5, -5}, {0, 30, 1280, 800}},
        {"no monitors: the desktop's area", {}, Point{10, 10}, desktop},
        {"the smallest of overlapping monitors",
         {{{0, 0, 3200, 1080}, true}, left, right},
         Point{10, 700},
         {0, 30, 1280, 800}},
        {"an area that misses the monitor",
         {{{4000, 0, 5000, 900}, false}},
         Point{4500, 10},
         {4000, 0, 5000, 900}},
    };
    for (Case const& c : cases) {
        EXPECT_EQ(PlacementArea(c.monitors, c.pointer, desktop), c.expected) << c.what;
    }
}

} // namespace
