#pragma once

#include <optional>
#include <vector>

#include "platform/geometry.h"

namespace brisel {

// The normal ("compact") frame: on the visible area of the screen under the mouse, hugging its
// right edge with a 16-point margin and centred vertically, at most 440 × 760.
Rect panelFrame(const std::vector<Screen>& screens, const std::optional<Screen>& mainScreen,
                Point mouse);

// The expanded-map frame: up to 1040 × 840, grown around the panel's current centre and kept
// inside `area` with 16-point margins.
Rect expandedMapFrame(const Rect& area, const Rect& panel);

}  // namespace brisel
