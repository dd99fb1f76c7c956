#include "widget_style.h"

#include <cmath>

namespace brisel::gtk {

void addClass(GtkWidget* widget, const char* name) {
    gtk_style_context_add_class(gtk_widget_get_style_context(widget), name);
}

void setLabelMarkup(GtkWidget* label, const char* format, const std::string& text) {
    gchar* markup = g_markup_printf_escaped(format, text.c_str());
    gtk_label_set_markup(GTK_LABEL(label), markup);
    g_free(markup);
}

void applyCSS(GtkWidget* widget, const std::string& css) {
    GtkCssProvider* provider = gtk_css_provider_new();
    gtk_css_provider_load_from_data(provider, css.c_str(), -1, nullptr);
    gtk_style_context_add_provider(gtk_widget_get_style_context(widget), GTK_STYLE_PROVIDER(provider),
                                   GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    g_object_unref(provider);
}

std::string cssColour(double red, double green, double blue) {
    return "rgb(" + std::to_string(std::lround(red * 255)) + "," + std::to_string(std::lround(green * 255)) + "," +
           std::to_string(std::lround(blue * 255)) + ")";
}

}  // namespace brisel::gtk
