#include "screens.h"

#include <cmath>

namespace brisel::gtk {

namespace {

// The bottom edge of the primary monitor: the line core's y = 0 stands on.
int baseline() {
    GdkDisplay* display = gdk_display_get_default();
    GdkMonitor* primary = display ? gdk_display_get_primary_monitor(display) : nullptr;
    if (!primary && display && gdk_display_get_n_monitors(display) > 0) primary = gdk_display_get_monitor(display, 0);
    if (!primary) return 0;
    GdkRectangle geometry;
    gdk_monitor_get_geometry(primary, &geometry);
    return geometry.y + geometry.height;
}

Screen screenOfMonitor(GdkMonitor* monitor) {
    GdkRectangle geometry;
    GdkRectangle workarea;
    gdk_monitor_get_geometry(monitor, &geometry);
    gdk_monitor_get_workarea(monitor, &workarea);
    return {toCore(geometry), toCore(workarea)};
}

}  // namespace

Rect toCore(const GdkRectangle& r) {
    return {double(r.x), double(baseline() - (r.y + r.height)), double(r.width), double(r.height)};
}

GdkRectangle toGdk(const Rect& rect) {
    const int width = static_cast<int>(std::lround(rect.width));
    const int height = static_cast<int>(std::lround(rect.height));
    return {static_cast<int>(std::lround(rect.x)), baseline() - static_cast<int>(std::lround(rect.y)) - height, width,
            height};
}

Point pointToCore(int x, int y) {
    return {double(x), double(baseline() - y)};
}

std::vector<Screen> screens() {
    std::vector<Screen> all;
    GdkDisplay* display = gdk_display_get_default();
    if (!display) return all;
    GdkMonitor* primary = gdk_display_get_primary_monitor(display);
    if (primary) all.push_back(screenOfMonitor(primary));  // AppKit lists the primary screen first
    for (int i = 0; i < gdk_display_get_n_monitors(display); ++i) {
        GdkMonitor* monitor = gdk_display_get_monitor(display, i);
        if (monitor != primary) all.push_back(screenOfMonitor(monitor));
    }
    return all;
}

std::optional<Screen> primaryScreen() {
    const auto all = screens();
    if (all.empty()) return std::nullopt;
    return all.front();
}

std::optional<Screen> screenOf(GdkWindow* window) {
    GdkDisplay* display = gdk_display_get_default();
    if (!display || !window) return std::nullopt;
    GdkMonitor* monitor = gdk_display_get_monitor_at_window(display, window);
    if (!monitor) return std::nullopt;
    return screenOfMonitor(monitor);
}

Point pointerLocation() {
    GdkDisplay* display = gdk_display_get_default();
    GdkSeat* seat = display ? gdk_display_get_default_seat(display) : nullptr;
    GdkDevice* pointer = seat ? gdk_seat_get_pointer(seat) : nullptr;
    if (!pointer) return {};
    int x = 0;
    int y = 0;
    gdk_device_get_position(pointer, nullptr, &x, &y);
    return pointToCore(x, y);
}

}  // namespace brisel::gtk
