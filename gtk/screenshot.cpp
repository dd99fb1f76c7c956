#include "screenshot.h"

#include <gtk/gtk.h>

#include <functional>
#include <iostream>

#include "app/companion.h"
#include "panel_window.h"

namespace brisel::gtk {

namespace {

void forEachLabel(GtkWidget* widget, const std::function<void(GtkLabel*)>& visit) {
    if (GTK_IS_LABEL(widget)) visit(GTK_LABEL(widget));
    // Internal children too: a button's or a menu item's label is one.
    if (GTK_IS_CONTAINER(widget)) {
        gtk_container_forall(GTK_CONTAINER(widget), [](GtkWidget* child, gpointer data) {
            forEachLabel(child, *static_cast<const std::function<void(GtkLabel*)>*>(data));
        }, const_cast<std::function<void(GtkLabel*)>*>(&visit));
    }
}

}  // namespace

Screenshot::Screenshot(PanelWindow& panel, const Companion& companion, std::string path, std::chrono::seconds timeout)
    : panel_(panel),
      companion_(companion),
      path_(std::move(path)),
      deadline_(std::chrono::steady_clock::now() + timeout),
      source_(g_timeout_add(10, poll, this)) {
    GtkWidget* window = GTK_WIDGET(panel_.window());
    if (window && gtk_widget_get_mapped(window)) mappedWallClock_ = std::chrono::system_clock::now();
    if (window) g_signal_connect(window, "map-event", G_CALLBACK(onMapped), this);
}

gboolean Screenshot::onMapped(GtkWidget*, GdkEvent*, gpointer data) {
    auto* self = static_cast<Screenshot*>(data);
    if (self->mappedWallClock_ == std::chrono::system_clock::time_point{}) {
        self->mappedWallClock_ = std::chrono::system_clock::now();
    }
    return FALSE;
}

Screenshot::~Screenshot() {
    if (source_) g_source_remove(source_);
    if (GtkWidget* window = GTK_WIDGET(panel_.window())) g_signal_handlers_disconnect_by_data(window, this);
}

gboolean Screenshot::poll(gpointer data) {
    auto* self = static_cast<Screenshot*>(data);
    const auto now = std::chrono::steady_clock::now();
    if (self->companion_.pageReady() && self->readyAt_ == std::chrono::steady_clock::time_point{}) {
        self->readyAt_ = now;
        self->readyWallClock_ = std::chrono::system_clock::now();
    }
    const bool settled = self->readyAt_ != std::chrono::steady_clock::time_point{} && now - self->readyAt_ >= settleTime;
    if (!settled && now < self->deadline_) return G_SOURCE_CONTINUE;
    self->source_ = 0;
    self->take();
    self->checkGlyphs();
    gtk_main_quit();
    return G_SOURCE_REMOVE;
}

void Screenshot::take() {
    GtkWidget* window = GTK_WIDGET(panel_.window());
    GdkWindow* surface = window ? gtk_widget_get_window(window) : nullptr;
    if (!surface) {
        std::cerr << "Brisel: the panel was never shown, so there is no screenshot.\n";
        return;
    }
    GdkPixbuf* picture = gdk_pixbuf_get_from_window(surface, 0, 0, gdk_window_get_width(surface),
                                                    gdk_window_get_height(surface));
    GError* error = nullptr;
    saved_ = picture && gdk_pixbuf_save(picture, path_.c_str(), "png", &error, nullptr);
    if (picture) g_object_unref(picture);
    const auto epochMs = [](std::chrono::system_clock::time_point t) {
        return std::chrono::duration_cast<std::chrono::milliseconds>(t.time_since_epoch()).count();
    };
    std::cout << "Brisel timing: panel-on-screen " << epochMs(mappedWallClock_) << " page-ready "
              << (companion_.pageReady() ? epochMs(readyWallClock_) : 0) << "\n";
    if (saved_) {
        std::cout << "Brisel: saved a screenshot of the panel to " << path_
                  << (companion_.pageReady() ? " (page ready)" : " (page not ready; it shows the start-up label)")
                  << "\n";
    } else {
        std::cerr << "Brisel: could not save the screenshot to " << path_ << ": "
                  << (error ? error->message : "no picture") << "\n";
        g_clear_error(&error);
    }
}

void Screenshot::checkGlyphs() {
    GList* toplevels = gtk_window_list_toplevels();
    for (GList* window = toplevels; window; window = window->next) {
        forEachLabel(GTK_WIDGET(window->data), [&](GtkLabel* label) {
            const int missing = pango_layout_get_unknown_glyphs_count(gtk_label_get_layout(label));
            if (missing == 0) return;
            legible_ = false;
            std::cerr << "Brisel: no installed font has " << missing << " of the characters of \""
                      << gtk_label_get_text(label) << "\"; they show as boxes.\n";
        });
    }
    g_list_free(toplevels);
}

}  // namespace brisel::gtk
