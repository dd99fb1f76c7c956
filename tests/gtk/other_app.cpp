// Another application for the shell's tests, a separate GTK program:
//   other_app window          a window with a menu bar (Edit > Copy) and a Copy button; prints
//                             "active" once the window has the focus and "pressed" per click
//   other_app own [odd]       owns the clipboard with the targets of other_app.h
//   other_app copy TEXT       owns the clipboard with TEXT
//   other_app read TARGET     writes what the clipboard holds for TARGET (TARGETS: one name a
//                             line); fails when nothing comes
// An owner prints "owned" once X has made it the owner, and ends when it loses the clipboard.
#include <gtk/gtk.h>

#include <cstdio>
#include <string>
#include <vector>

#include "other_app.h"

namespace {

using namespace brisel::gtk::other_app;

void say(const char* line) {
    std::printf("%s\n", line);
    std::fflush(stdout);
}

void showWindow() {
    GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_title(GTK_WINDOW(window), "Reader");
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    GtkWidget* menuBar = gtk_menu_bar_new();
    GtkWidget* edit = gtk_menu_item_new_with_label("Edit");
    GtkWidget* menu = gtk_menu_new();
    gtk_menu_shell_append(GTK_MENU_SHELL(menu), gtk_menu_item_new_with_label("Copy"));
    gtk_menu_item_set_submenu(GTK_MENU_ITEM(edit), menu);
    gtk_menu_shell_append(GTK_MENU_SHELL(menuBar), edit);
    gtk_box_pack_start(GTK_BOX(box), menuBar, FALSE, FALSE, 0);
    GtkWidget* copy = gtk_button_new_with_label("Copy");
    g_signal_connect(copy, "clicked", G_CALLBACK(+[](GtkButton*, gpointer) { say("pressed"); }), nullptr);
    gtk_box_pack_start(GTK_BOX(box), copy, FALSE, FALSE, 0);
    gtk_container_add(GTK_CONTAINER(window), box);
    g_signal_connect(window, "notify::is-active", G_CALLBACK(+[](GObject* object, GParamSpec*, gpointer) {
                         if (gtk_window_is_active(GTK_WINDOW(object))) say("active");
                     }),
                     nullptr);
    // Without a window manager, focus is only given to a window already on screen.
    g_signal_connect(window, "map-event", G_CALLBACK(+[](GtkWidget* widget, GdkEvent*, gpointer) -> gboolean {
                         gtk_window_present(GTK_WINDOW(widget));
                         return FALSE;
                     }),
                     nullptr);
    gtk_widget_show_all(window);
}

// Target names and their data; a target without data is refused when asked for.
std::vector<std::pair<std::string, const std::string*>> offered;
const std::string longs(sizeof(long), '\x01');  // handed over as 32-bit data

void own() {
    std::vector<GtkTargetEntry> targets;
    for (guint i = 0; i < offered.size(); ++i) targets.push_back({offered[i].first.data(), 0, i});
    gtk_clipboard_set_with_data(
        gtk_clipboard_get(GDK_SELECTION_CLIPBOARD), targets.data(), static_cast<guint>(targets.size()),
        [](GtkClipboard*, GtkSelectionData* selection, guint index, gpointer) {
            if (const std::string* data = offered[index].second) {
                gtk_selection_data_set(selection, gtk_selection_data_get_target(selection), data == &longs ? 32 : 8,
                                       reinterpret_cast<const guchar*>(data->data()), static_cast<gint>(data->size()));
            }
        },
        [](GtkClipboard*, gpointer) { gtk_main_quit(); }, nullptr);
    gdk_display_sync(gdk_display_get_default());
    say("owned");
}

int read(const char* target) {
    GtkClipboard* clipboard = gtk_clipboard_get(GDK_SELECTION_CLIPBOARD);
    if (std::string(target) == "TARGETS") {
        GdkAtom* atoms = nullptr;
        gint count = 0;
        if (!gtk_clipboard_wait_for_targets(clipboard, &atoms, &count)) return 1;
        for (gint i = 0; i < count; ++i) {
            gchar* name = gdk_atom_name(atoms[i]);
            say(name);
            g_free(name);
        }
        g_free(atoms);
        return 0;
    }
    GtkSelectionData* data = gtk_clipboard_wait_for_contents(clipboard, gdk_atom_intern(target, FALSE));
    if (!data) return 1;
    gint length = 0;
    const guchar* bytes = gtk_selection_data_get_data_with_length(data, &length);
    if (length >= 0) std::fwrite(bytes, 1, static_cast<size_t>(length), stdout);
    gtk_selection_data_free(data);
    return length >= 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    gtk_init(&argc, &argv);
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "read" && argc == 3) return read(argv[2]);
    if (mode == "window") {
        showWindow();
    } else if (mode == "own") {
        offered = {{"UTF8_STRING", &text}, {"text/html", &html}, {"image/png", &png}};
        if (argc == 3 && std::string(argv[2]) == "odd") offered.insert(offered.end(), {{promisedType, nullptr}, {longsType, &longs}});
        own();
    } else if (mode == "copy" && argc == 3) {
        static const std::string copied = argv[2];
        offered = {{"UTF8_STRING", &copied}};
        own();
    } else {
        return 2;
    }
    gtk_main();
    return 0;
}
