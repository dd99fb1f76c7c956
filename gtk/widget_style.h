#pragma once

#include <gtk/gtk.h>

#include <string>

// Small helpers for how the shell's own widgets look.
namespace brisel::gtk {

void addClass(GtkWidget* widget, const char* name);
// `format` is Pango markup with one %s, which gets `text` escaped.
void setLabelMarkup(GtkWidget* label, const char* format, const std::string& text);
// Style rules for this one widget, over the theme's.
void applyCSS(GtkWidget* widget, const std::string& css);
// A colour of components 0 to 1 as CSS reads it.
std::string cssColour(double red, double green, double blue);

}  // namespace brisel::gtk
