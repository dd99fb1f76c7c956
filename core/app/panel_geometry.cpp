#include "app/panel_geometry.h"

#include <algorithm>

namespace brisel {

Rect panelFrame(const std::vector<Screen>& screens, const std::optional<Screen>& mainScreen,
                Point mouse) {
    Rect area{0, 0, 1440, 900};
    const auto underMouse = std::find_if(screens.begin(), screens.end(),
                                         [&](const Screen& s) { return s.frame.contains(mouse); });
    if (underMouse != screens.end()) {
        area = underMouse->visibleFrame;
    } else if (mainScreen) {
        area = mainScreen->visibleFrame;
    }
    const double width = std::min(area.width - 24, 440.0);
    const double height = std::min(area.height - 32, 760.0);
    return {area.maxX() - width - 16, area.midY() - height / 2, width, height};
}

Rect expandedMapFrame(const Rect& area, const Rect& panel) {
    const double width = std::min(area.width - 32, 1040.0);
    const double height = std::min(area.height - 32, 840.0);
    const double x = std::max(std::min(area.maxX() - width - 16, panel.midX() - width / 2),
                              area.x + 16);
    const double y = std::max(std::min(area.maxY() - height - 16, panel.midY() - height / 2),
                              area.y + 16);
    return {x, y, width, height};
}

}  // namespace brisel
