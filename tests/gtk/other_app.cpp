// Another application for the shell's tests, a separate GTK program:
//   other_app window          a window with a menu bar (Edit > Copy) and a Copy button; prints
//                             "active" once the window has the focus and "pressed" per click
//   other_app own [odd]       owns the clipboard with the targets of other_app.h
//   other_app own-large MB    owns the clipboard with UTF8_STRING and an image/png of MB
//                             megabytes of other_app::largeByte (GTK hands it over in increments)
//   other_app copy TEXT       owns the clipboard with TEXT
//   other_app hostile HOW     owns the clipboard and misbehaves, speaking Xlib itself: "hang"
//                             never answers; "refuse" refuses everything; "garbage" answers
//                             TARGETS with a string; "bad-atoms" lists an atom that does not
//                             exist; "truncated" sends less of text/plain than it announced;
//                             "vanish" exits in the middle of sending text/plain
//   other_app manager         a clipboard manager: owns CLIPBOARD_MANAGER and, asked to
//                             SAVE_TARGETS, copies the clipboard and takes it over; prints
//                             "managing", then "saved" each time
//   other_app read TARGET     writes what the clipboard holds for TARGET (TARGETS: one name a
//                             line); fails when nothing comes
//   other_app read-type TARGET  writes the type of the answer for TARGET
// An owner prints "owned" once X has made it the owner, and ends when it loses the clipboard.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <glib-unix.h>
#include <gtk/gtk.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
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
                // As GTK's own text does, TEXT is answered in another type.
                const GdkAtom type = offered[index].first == "TEXT" ? gdk_atom_intern("UTF8_STRING", FALSE)
                                                                    : gtk_selection_data_get_target(selection);
                gtk_selection_data_set(selection, type, data == &longs ? 32 : 8,
                                       reinterpret_cast<const guchar*>(data->data()), static_cast<gint>(data->size()));
            }
        },
        [](GtkClipboard*, gpointer) { gtk_main_quit(); }, nullptr);
    gdk_display_sync(gdk_display_get_default());
    say("owned");
}

// Copies whatever the clipboard holds into `offered` (GTK's blocking reads are fine here).
std::vector<std::string> savedData;
void copyClipboard() {
    GtkClipboard* clipboard = gtk_clipboard_get(GDK_SELECTION_CLIPBOARD);
    GdkAtom* atoms = nullptr;
    gint count = 0;
    offered.clear();
    savedData.clear();
    if (!gtk_clipboard_wait_for_targets(clipboard, &atoms, &count)) return;
    savedData.reserve(static_cast<size_t>(count));
    for (gint i = 0; i < count; ++i) {
        gchar* name = gdk_atom_name(atoms[i]);
        const std::string target = name;
        g_free(name);
        if (target == "TARGETS" || target == "TIMESTAMP" || target == "MULTIPLE" || target == "SAVE_TARGETS") continue;
        GtkSelectionData* data = gtk_clipboard_wait_for_contents(clipboard, atoms[i]);
        if (!data) continue;
        gint length = 0;
        const guchar* bytes = gtk_selection_data_get_data_with_length(data, &length);
        savedData.emplace_back(reinterpret_cast<const char*>(bytes), static_cast<size_t>(std::max(length, 0)));
        offered.push_back({target, &savedData.back()});
        gtk_selection_data_free(data);
    }
    g_free(atoms);
}

// Takes the clipboard with what copyClipboard saved.
void ownSaved() {
    std::vector<GtkTargetEntry> targets;
    for (guint i = 0; i < offered.size(); ++i) targets.push_back({offered[i].first.data(), 0, i});
    gtk_clipboard_set_with_data(
        gtk_clipboard_get(GDK_SELECTION_CLIPBOARD), targets.data(), static_cast<guint>(targets.size()),
        [](GtkClipboard*, GtkSelectionData* selection, guint index, gpointer) {
            const std::string& data = *offered[index].second;
            gtk_selection_data_set(selection, gtk_selection_data_get_target(selection), 8,
                                   reinterpret_cast<const guchar*>(data.data()), static_cast<gint>(data.size()));
        },
        nullptr, nullptr);
    gdk_display_sync(gdk_display_get_default());
}

// GTK answers SAVE_TARGETS itself, so the manager's own selection is spoken in Xlib, on a
// second connection that the main loop watches.
Display* managerDisplay = nullptr;

gboolean answerManagerRequests(gint, GIOCondition, gpointer) {
    while (XPending(managerDisplay)) {
        XEvent event;
        XNextEvent(managerDisplay, &event);
        if (event.type != SelectionRequest) continue;
        const XSelectionRequestEvent& request = event.xselectionrequest;
        Atom property = None;
        if (request.target == XInternAtom(managerDisplay, "SAVE_TARGETS", False)) {
            copyClipboard();
            ownSaved();
            property = request.property;
            XChangeProperty(managerDisplay, request.requestor, property, XInternAtom(managerDisplay, "NULL", False), 32,
                            PropModeReplace, nullptr, 0);
        }
        XSelectionEvent notice{SelectionNotify, 0, True, managerDisplay, request.requestor, request.selection,
                               request.target, property, request.time};
        XSendEvent(managerDisplay, request.requestor, False, NoEventMask, reinterpret_cast<XEvent*>(&notice));
        XFlush(managerDisplay);
        if (property != None) say("saved");
    }
    return G_SOURCE_CONTINUE;
}

void manage() {
    managerDisplay = XOpenDisplay(nullptr);
    const Window window = XCreateSimpleWindow(managerDisplay, DefaultRootWindow(managerDisplay), 0, 0, 1, 1, 0, 0, 0);
    XSetSelectionOwner(managerDisplay, XInternAtom(managerDisplay, "CLIPBOARD_MANAGER", False), window, CurrentTime);
    XSync(managerDisplay, False);
    g_unix_fd_add(ConnectionNumber(managerDisplay), G_IO_IN, answerManagerRequests, nullptr);
    say("managing");
}

// Waits until the requestor has deleted `property` on `window` (it took what we put there).
void awaitDeletion(Display* display, Window window, Atom property) {
    XEvent event;
    do {
        XWindowEvent(display, window, PropertyChangeMask, &event);
    } while (event.xproperty.atom != property || event.xproperty.state != PropertyDelete);
}

int hostile(const std::string& how) {
    Display* display = XOpenDisplay(nullptr);
    if (!display) return 1;
    const Window window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0);
    const Atom clipboard = XInternAtom(display, "CLIPBOARD", False);
    const Atom targets = XInternAtom(display, "TARGETS", False);
    const Atom text = XInternAtom(display, "text/plain", False);
    const Atom incremental = XInternAtom(display, "INCR", False);
    XSetSelectionOwner(display, clipboard, window, CurrentTime);
    XSync(display, False);
    say("owned");
    for (;;) {
        XEvent event;
        XNextEvent(display, &event);
        if (event.type == SelectionClear) return 0;
        if (event.type != SelectionRequest || how == "hang") continue;
        const XSelectionRequestEvent& request = event.xselectionrequest;
        Atom property = how == "refuse" ? None : request.property;
        if (property != None && request.target == targets) {
            if (how == "garbage") {
                XChangeProperty(display, request.requestor, property, XA_STRING, 8, PropModeReplace,
                                reinterpret_cast<const unsigned char*>("garbage"), 7);
            } else {
                const long offeredAtoms[] = {static_cast<long>(targets), static_cast<long>(how == "bad-atoms" ? 0x3ffffff0 : text)};
                XChangeProperty(display, request.requestor, property, XA_ATOM, 32, PropModeReplace,
                                reinterpret_cast<const unsigned char*>(offeredAtoms), 2);
            }
        } else if (property != None && request.target == text) {
            XSelectInput(display, request.requestor, PropertyChangeMask);
            const long announced = 1000;
            XChangeProperty(display, request.requestor, property, incremental, 32, PropModeReplace,
                            reinterpret_cast<const unsigned char*>(&announced), 1);
        } else {
            property = None;
        }
        XSelectionEvent notice{SelectionNotify, 0, True, display, request.requestor, request.selection,
                               request.target, property, request.time};
        XSendEvent(display, request.requestor, False, NoEventMask, reinterpret_cast<XEvent*>(&notice));
        XFlush(display);
        if (property == None || request.target != text) continue;
        if (how == "vanish") std::_Exit(0);
        // "truncated": ten bytes of the thousand announced, then the end.
        for (const char* piece : {"0123456789", ""}) {
            awaitDeletion(display, request.requestor, property);
            XChangeProperty(display, request.requestor, property, text, 8, PropModeReplace,
                            reinterpret_cast<const unsigned char*>(piece), static_cast<int>(std::string(piece).size()));
            XFlush(display);
        }
    }
}

int read(const char* target, bool typeOnly) {
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
    if (typeOnly) {
        gchar* type = gdk_atom_name(gtk_selection_data_get_data_type(data));
        std::fputs(type, stdout);
        g_free(type);
    } else if (length >= 0) {
        std::fwrite(bytes, 1, static_cast<size_t>(length), stdout);
    }
    gtk_selection_data_free(data);
    return length >= 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    gtk_init(&argc, &argv);
    const std::string mode = argc > 1 ? argv[1] : "";
    if ((mode == "read" || mode == "read-type") && argc == 3) return read(argv[2], mode == "read-type");
    if (mode == "window") {
        showWindow();
    } else if (mode == "own") {
        offered = {{"UTF8_STRING", &text}, {"text/html", &html}, {"image/png", &png}, {"TEXT", &text}};
        if (argc == 3 && std::string(argv[2]) == "odd") offered.insert(offered.end(), {{promisedType, nullptr}, {longsType, &longs}});
        own();
    } else if (mode == "own-large" && argc == 3) {
        static const std::string image(static_cast<size_t>(std::atoi(argv[2])) << 20, largeByte);
        offered = {{"UTF8_STRING", &text}, {"image/png", &image}};
        own();
    } else if (mode == "hostile" && argc == 3) {
        return hostile(argv[2]);
    } else if (mode == "manager") {
        manage();
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
