// Another application for the shell's tests, a separate GTK program, by its first argument:
//   window       a window "Reader" with Edit > Copy in its menu bar; prints "active" once it has
//                the focus
//   own [odd], own-large MB, copy TEXT, hostile HOW
//                owns the clipboard (prints "owned") until it loses it: the targets of
//                other_app.h (and odd ones), an image of MB megabytes, TEXT, or misbehaving
//   manager      a clipboard manager ("managing") that takes over the clipboard on SAVE_TARGETS
//   read TARGET  writes the type the owner answers TARGET in, on a line, then the data
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <glib-unix.h>
#include <gdk/gdkx.h>
#include <gtk/gtk.h>

#include <cstdio>
#include <cstdlib>
#include <optional>
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
    GtkWidget* menuBar = gtk_menu_bar_new();
    GtkWidget* edit = gtk_menu_item_new_with_label("Edit");
    GtkWidget* menu = gtk_menu_new();
    gtk_menu_shell_append(GTK_MENU_SHELL(menu), gtk_menu_item_new_with_label("Copy"));
    gtk_menu_item_set_submenu(GTK_MENU_ITEM(edit), menu);
    gtk_menu_shell_append(GTK_MENU_SHELL(menuBar), edit);
    gtk_container_add(GTK_CONTAINER(window), menuBar);
    g_signal_connect(window, "notify::is-active", G_CALLBACK(+[](GObject* object, GParamSpec*, gpointer) {
                         if (gtk_window_is_active(GTK_WINDOW(object))) say("active");
                     }), nullptr);
    // Without a window manager, focus is only given to a window already on screen.
    g_signal_connect(window, "map-event", G_CALLBACK(+[](GtkWidget* widget, GdkEvent*, gpointer) -> gboolean {
                         gtk_window_present(GTK_WINDOW(widget));
                         return FALSE;
                     }), nullptr);
    gtk_widget_show_all(window);
}

// Target names and their data: none is refused, and DELETE, as the ICCCM has it, makes the
// owner give up its clipboard.
std::vector<std::pair<std::string, std::optional<std::string>>> offered;

void own() {
    std::vector<GtkTargetEntry> targets;
    for (guint i = 0; i < offered.size(); ++i) targets.push_back({offered[i].first.data(), 0, i});
    gtk_clipboard_set_with_data(
        gtk_clipboard_get(GDK_SELECTION_CLIPBOARD), targets.data(), static_cast<guint>(targets.size()),
        [](GtkClipboard*, GtkSelectionData* selection, guint index, gpointer) {
            const auto& [name, data] = offered[index];
            if (name == "DELETE") gtk_main_quit();
            if (!data) return;
            // As GTK's own text does, TEXT is answered in another type.
            const GdkAtom type = name == "TEXT" ? gdk_atom_intern("UTF8_STRING", FALSE)
                                                : gtk_selection_data_get_target(selection);
            gtk_selection_data_set(selection, type, name == "x-longs" ? 32 : 8,
                                   reinterpret_cast<const guchar*>(data->data()), static_cast<gint>(data->size()));
        },
        [](GtkClipboard*, gpointer) { gtk_main_quit(); }, nullptr);
    gdk_display_sync(gdk_display_get_default());
    say("owned");
}

// The manager's own selection is spoken in Xlib (GTK would answer SAVE_TARGETS itself), on a
// second connection that the main loop watches; the clipboard it copies with GTK's blocking
// reads, of the targets the request lists.
Display* manager = nullptr;

gboolean answerManagerRequests(gint, GIOCondition, gpointer) {
    for (XEvent event; XPending(manager);) {
        XNextEvent(manager, &event);
        const XSelectionRequestEvent& request = event.xselectionrequest;
        if (event.type != SelectionRequest || request.target != XInternAtom(manager, "SAVE_TARGETS", False)) continue;
        Atom type = None;
        int format = 0;
        unsigned long count = 0, remaining = 0;
        unsigned char* listed = nullptr;
        XGetWindowProperty(manager, request.requestor, request.property, 0, 1024, False, XA_ATOM, &type, &format,
                           &count, &remaining, &listed);
        offered.clear();
        for (unsigned long i = 0; i < count; ++i) {
            const GdkAtom target = gdk_x11_xatom_to_atom(reinterpret_cast<Atom*>(listed)[i]);
            GtkSelectionData* data =
                gtk_clipboard_wait_for_contents(gtk_clipboard_get(GDK_SELECTION_CLIPBOARD), target);
            if (!data || gtk_selection_data_get_length(data) < 0) continue;
            offered.push_back({gdk_atom_name(target),
                               std::string(reinterpret_cast<const char*>(gtk_selection_data_get_data(data)),
                                           size_t(gtk_selection_data_get_length(data)))});
        }
        XFree(listed);
        own();
        XSelectionEvent notice{SelectionNotify, 0, True, manager, request.requestor, request.selection,
                               request.target, request.property, request.time};
        XSendEvent(manager, request.requestor, False, NoEventMask, reinterpret_cast<XEvent*>(&notice));
        XFlush(manager);
    }
    return G_SOURCE_CONTINUE;
}

// "hang" never answers, "refuse" refuses everything, "garbage" answers TARGETS with a string,
// "bad-atoms" lists an atom that does not exist; text/plain comes in increments, of which
// "truncated" sends fewer than it announced and "vanish" none, exiting instead.
int hostile(const std::string& how) {
    Display* display = XOpenDisplay(nullptr);
    const Window window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0);
    const Atom targets = XInternAtom(display, "TARGETS", False);
    const Atom text = XInternAtom(display, "text/plain", False);
    XSetSelectionOwner(display, XInternAtom(display, "CLIPBOARD", False), window, CurrentTime);
    XSync(display, False);
    say("owned");
    for (XEvent event;;) {
        XNextEvent(display, &event);
        if (event.type == SelectionClear) return 0;
        if (event.type != SelectionRequest || how == "hang") continue;
        const XSelectionRequestEvent& request = event.xselectionrequest;
        const bool answers = how != "refuse" && (request.target == targets || request.target == text);
        const auto put = [&](Atom type, int format, const void* data, int count) {
            XChangeProperty(display, request.requestor, request.property, type, format, PropModeReplace,
                            static_cast<const unsigned char*>(data), count);
        };
        const long listed[] = {static_cast<long>(targets), static_cast<long>(how == "bad-atoms" ? 0x3ffffff0 : text)};
        const long announced = 1000;
        if (answers && request.target == targets && how == "garbage") {
            put(XA_STRING, 8, "garbage", 7);
        } else if (answers && request.target == targets) {
            put(XA_ATOM, 32, listed, 2);
        } else if (answers) {
            XSelectInput(display, request.requestor, PropertyChangeMask);
            put(XInternAtom(display, "INCR", False), 32, &announced, 1);
        }
        XSelectionEvent notice{SelectionNotify, 0, True, display, request.requestor, request.selection,
                               request.target, answers ? request.property : None, request.time};
        XSendEvent(display, request.requestor, False, NoEventMask, reinterpret_cast<XEvent*>(&notice));
        XFlush(display);
        if (!answers || request.target != text) continue;
        if (how == "vanish") std::_Exit(0);
        // Ten bytes, then the end, each once the requestor has taken (deleted) the one before.
        for (const char* piece : {"0123456789", ""}) {
            do {
                XWindowEvent(display, request.requestor, PropertyChangeMask, &event);
            } while (event.xproperty.atom != request.property || event.xproperty.state != PropertyDelete);
            put(text, 8, piece, static_cast<int>(std::string(piece).size()));
            XFlush(display);
        }
    }
}

int read(const std::string& target) {
    GtkSelectionData* data = gtk_clipboard_wait_for_contents(gtk_clipboard_get(GDK_SELECTION_CLIPBOARD),
                                                             gdk_atom_intern(target.c_str(), FALSE));
    if (!data || gtk_selection_data_get_length(data) < 0) return 1;
    say(gdk_atom_name(gtk_selection_data_get_data_type(data)));
    std::fwrite(gtk_selection_data_get_data(data), 1, gtk_selection_data_get_length(data), stdout);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    gtk_init(&argc, &argv);
    const std::string mode = argc > 1 ? argv[1] : "";
    const std::string argument = argc > 2 ? argv[2] : "";
    if (mode == "read") return read(argument);
    if (mode == "hostile") return hostile(argument);
    if (mode == "window") showWindow();
    if (mode == "own") {
        offered = {{"UTF8_STRING", text}, {"text/html", html}, {"image/png", png}, {"TEXT", text}, {"DELETE", {}}};
        // One it never produces, and one in 32-bit units.
        if (argument == "odd") offered.insert(offered.end(), {{"x-promised", {}}, {"x-longs", std::string(8, 1)}});
    }
    if (mode == "own-large") offered = {{"UTF8_STRING", text}, {"image/png", std::string(std::stoul(argument) << 20, largeByte)}};
    if (mode == "copy") offered = {{"UTF8_STRING", argument}};
    if (!offered.empty()) own();
    if (mode == "manager") {
        manager = XOpenDisplay(nullptr);
        const Window window = XCreateSimpleWindow(manager, DefaultRootWindow(manager), 0, 0, 1, 1, 0, 0, 0);
        XSetSelectionOwner(manager, XInternAtom(manager, "CLIPBOARD_MANAGER", False), window, CurrentTime);
        XSync(manager, False);
        g_unix_fd_add(ConnectionNumber(manager), G_IO_IN, answerManagerRequests, nullptr);
        say("managing");
    }
    gtk_main();
    return 0;
}
