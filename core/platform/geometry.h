#pragma once

namespace brisel {

// Points in the global screen space with the origin at the bottom left and y growing upwards,
// as AppKit has it. The Linux shell flips its top-left coordinates at the boundary.
struct Point {
    double x = 0;
    double y = 0;
};

struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    double maxX() const { return x + width; }
    double maxY() const { return y + height; }
    double midX() const { return x + width / 2; }
    double midY() const { return y + height / 2; }
    bool contains(Point p) const { return p.x >= x && p.x < maxX() && p.y >= y && p.y < maxY(); }
    bool operator==(const Rect&) const = default;
};

struct Screen {
    Rect frame;
    Rect visibleFrame;  // without menu bar and Dock (or panels and docks on Linux)
};

}  // namespace brisel
