#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <string>

namespace brisel::gtk::widgets {

// The first widget under `root`, itself included, that `matches`, depth first.
inline GtkWidget* find(GtkWidget* root, const std::function<bool(GtkWidget*)>& matches) {
    if (matches(root)) return root;
    if (!GTK_IS_CONTAINER(root)) return nullptr;
    GList* children = gtk_container_get_children(GTK_CONTAINER(root));
    GtkWidget* found = nullptr;
    for (GList* child = children; child && !found; child = child->next) {
        found = find(GTK_WIDGET(child->data), matches);
    }
    g_list_free(children);
    return found;
}

// A button by the name assistive technologies read for it.
inline GtkWidget* buttonNamed(GtkWindow* window, const std::string& accessibleName) {
    return find(GTK_WIDGET(window), [&](GtkWidget* widget) {
        return GTK_IS_BUTTON(widget) && atk_object_get_name(gtk_widget_get_accessible(widget)) == accessibleName;
    });
}

}  // namespace brisel::gtk::widgets
