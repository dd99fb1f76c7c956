#pragma once

#include <gtk/gtk.h>

#include <optional>
#include <vector>

#include "platform/geometry.h"

namespace brisel::gtk {

// GDK places the origin at the top left of the screen layout with y growing downwards; core
// works as AppKit does, from the bottom left of the primary monitor upwards. These convert.
Rect toCore(const GdkRectangle& rectangle);
GdkRectangle toGdk(const Rect& rect);
Point pointToCore(int x, int y);

std::vector<Screen> screens();
std::optional<Screen> primaryScreen();
std::optional<Screen> screenOf(GdkWindow* window);
Point pointerLocation();

}  // namespace brisel::gtk
