#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <string>

namespace brisel::gtk::widgets {

// The first widget under `root`, itself included, that `matches`, depth first.
inline GtkWidget* find(GtkWidget* root, const std::function<bool(GtkWidget*)>& matches) {
    if (matches(root)) return root;
    GtkWidget* found = nullptr;
    GList* children = GTK_IS_CONTAINER(root) ? gtk_container_get_children(GTK_CONTAINER(root)) : nullptr;
    for (GList* child = children; child && !found; child = child->next) found = find(GTK_WIDGET(child->data), matches);
    g_list_free(children);
    return found;
}

// A widget by the name the shell gave it, or else by the name assistive technologies read.
inline GtkWidget* named(GtkWindow* window, const std::string& name) {
    return find(GTK_WIDGET(window), [&](GtkWidget* widget) {
        return gtk_widget_get_name(widget) == name ||
               g_strcmp0(atk_object_get_name(gtk_widget_get_accessible(widget)), name.c_str()) == 0;
    });
}

}  // namespace brisel::gtk::widgets
