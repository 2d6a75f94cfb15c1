#include <splash/host/placement.h>

#include <algorithm>

namespace splash {
namespace {

bool Holds(Rect const& rect, Point const& point) {
    return point.x >= rect.left && point.x < rect.right && point.y >= rect.top &&
           point.y < rect.bottom;
}

std::int64_t Area(Rect const& rect) {
    return std::int64_t{rect.Width()} * rect.Height();
}

Monitor const& Chosen(std::span<Monitor const> monitors, std::optional<Point> pointer) {
    if (pointer) {
        // Of monitors that overlap (one that spans the screen beside those
        // that split it), the smallest is the one looked at.
        Monitor const* holding = nullptr;
        for (Monitor const& m : monitors) {
            if (Holds(m.rect, *pointer) &&
                (holding == nullptr || Area(m.rect) < Area(holding->rect)))
                holding = &m;
        }
        if (holding != nullptr) return *holding;
    }
    auto const primary =
        std::find_if(monitors.begin(), monitors.end(), [](Monitor const& m) { return m.primary; });
    return primary != monitors.end() ? *primary : monitors.front();
}

} // namespace

Rect PlacementArea(std::span<Monitor const> monitors, std::optional<Point> pointer,
                   Rect const& desktopArea) {
    if (monitors.empty()) return desktopArea;
    Rect const monitor = Chosen(monitors, pointer).rect;
    Rect const both{
        std::max(monitor.left, desktopArea.left), std::max(monitor.top, desktopArea.top),
        std::min(monitor.right, desktopArea.right), std::min(monitor.bottom, desktopArea.bottom)};
    return both.Width() > 0 && both.Height() > 0 ? both : monitor;
}

} // namespace splash
