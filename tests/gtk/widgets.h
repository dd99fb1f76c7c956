#pragma once

#include <gtk/gtk.h>

#include <string>

namespace brisel::gtk::widgets {

// The first widget under `root` (itself included) by the name the shell or assistive technologies give it.
inline GtkWidget* named(GtkWidget* root, const std::string& name) {
    if (gtk_widget_get_name(root) == name || g_strcmp0(atk_object_get_name(gtk_widget_get_accessible(root)), name.c_str()) == 0) return root;
    GtkWidget* found = nullptr;
    GList* children = GTK_IS_CONTAINER(root) ? gtk_container_get_children(GTK_CONTAINER(root)) : nullptr;
    for (GList* child = children; child && !found; child = child->next) found = named(GTK_WIDGET(child->data), name);
    g_list_free(children);
    return found;
}
inline GtkWidget* named(GtkWindow* window, const std::string& name) { return named(GTK_WIDGET(window), name); }

}  // namespace brisel::gtk::widgets
