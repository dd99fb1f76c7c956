// Kindle, as the capture tests need it: built as "com.amazon.Lassen", the name the Linux shell
// knows Kindle by. A window titled "Kindle" shows a passage and an enabled "コピー" button;
// pressing it (over AT-SPI, say) puts the passage and a citation on the clipboard. It prints
// "active" whenever its window gets the focus, and "copied MICROSECONDS" after each copy (from
// the press to X confirming the clipboard is ours).
//
// Lines on standard input change what the next press does, each answered with "ok":
//   citation kindle|foreign   Kindle's citation, or one Kindle never writes
//   passage short|long        the passage of kindle_stand_in.h, or one over 240 scalars
//   delay MS                  copy MS milliseconds after the press
//   copy yes|no               copy at all
//   owner answers|hangs       after copying, keep serving the clipboard or stop dead (SIGSTOP)
//   interfere none|after      another X client takes the clipboard right after the copy
//   control enabled|disabled|vanishes   the button as it is, greyed out, or gone as soon as
//                             an assistive technology has read its name
//   reset                     all of the above back to the first choice
#include <gtk/gtk.h>
#include <signal.h>

#include <cstdio>
#include <sstream>
#include <string>

#include "kindle_stand_in.h"

namespace {

using namespace brisel::gtk::kindle_stand_in;

struct Knobs {
    bool kindleCitation = true;
    bool longPassage = false;
    guint delayMs = 0;
    bool copies = true;
    bool hangs = false;
    bool interferes = false;
    std::string control = "enabled";
};

Knobs knobs;
GtkWidget* window = nullptr;
GtkWidget* copyButton = nullptr;
gint64 pressedAt = 0;
std::string copied;
GdkDisplay* otherProgram = nullptr;  // a second X connection: another client to X

void say(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

std::string clipboardText() {
    return (knobs.longPassage ? longPassage : passage) + "\n\n" +
           (knobs.kindleCitation ? kindleCitation : foreignCitation);
}

gboolean copyNow(gpointer) {
    copied = clipboardText();
    gtk_clipboard_set_text(gtk_clipboard_get(GDK_SELECTION_CLIPBOARD), copied.data(),
                           static_cast<gint>(copied.size()));
    gdk_display_sync(gdk_display_get_default());
    if (knobs.interferes) {
        GtkClipboard* theirs = gtk_clipboard_get_for_display(otherProgram, GDK_SELECTION_CLIPBOARD);
        gtk_clipboard_set_text(theirs, interference.data(), static_cast<gint>(interference.size()));
        gdk_display_sync(otherProgram);
    }
    say("copied " + std::to_string(g_get_monotonic_time() - pressedAt));
    if (knobs.hangs) raise(SIGSTOP);
    return G_SOURCE_REMOVE;
}

void pressed(GtkButton*, gpointer) {
    pressedAt = g_get_monotonic_time();
    if (!knobs.copies) return;
    if (knobs.delayMs == 0) {
        copyNow(nullptr);
    } else {
        g_timeout_add(knobs.delayMs, copyNow, nullptr);
    }
}

// The button's accessible name, read by the stand-in's own reader: with "control vanishes",
// the button goes right after the answer, before anyone can ask it anything else.
const gchar* (*toolkitName)(AtkObject*) = nullptr;
const gchar* accessibleName(AtkObject* accessible) {
    if (copyButton && knobs.control == "vanishes" && accessible == gtk_widget_get_accessible(copyButton)) {
        g_idle_add_full(
            G_PRIORITY_HIGH,
            [](gpointer) -> gboolean {
                if (copyButton) gtk_widget_destroy(copyButton);
                copyButton = nullptr;
                return G_SOURCE_REMOVE;
            },
            nullptr, nullptr);
    }
    return toolkitName(accessible);
}

void addCopyButton(GtkWidget* box) {
    copyButton = gtk_button_new_with_label("コピー");
    // Not focusable: the name is read only when someone asks for it.
    gtk_widget_set_can_focus(copyButton, FALSE);
    g_signal_connect(copyButton, "clicked", G_CALLBACK(pressed), nullptr);
    gtk_box_pack_start(GTK_BOX(box), copyButton, FALSE, FALSE, 0);
    gtk_widget_show(copyButton);
    AtkObjectClass* accessibleClass = ATK_OBJECT_GET_CLASS(gtk_widget_get_accessible(copyButton));
    if (accessibleClass->get_name != accessibleName) {
        toolkitName = accessibleClass->get_name;
        accessibleClass->get_name = accessibleName;
    }
}

void applyControl() {
    GtkWidget* box = gtk_bin_get_child(GTK_BIN(window));
    if (!copyButton) addCopyButton(box);
    gtk_widget_set_sensitive(copyButton, knobs.control != "disabled");
}

bool change(const std::string& line) {
    std::istringstream words(line);
    std::string knob, value;
    words >> knob >> value;
    if (knob == "reset") {
        knobs = Knobs();
    } else if (knob == "citation" && (value == "kindle" || value == "foreign")) {
        knobs.kindleCitation = value == "kindle";
    } else if (knob == "passage" && (value == "short" || value == "long")) {
        knobs.longPassage = value == "long";
    } else if (knob == "delay" && !value.empty()) {
        knobs.delayMs = static_cast<guint>(std::stoul(value));
    } else if (knob == "copy" && (value == "yes" || value == "no")) {
        knobs.copies = value == "yes";
    } else if (knob == "owner" && (value == "answers" || value == "hangs")) {
        knobs.hangs = value == "hangs";
    } else if (knob == "interfere" && (value == "none" || value == "after")) {
        knobs.interferes = value == "after";
    } else if (knob == "control" && (value == "enabled" || value == "disabled" || value == "vanishes")) {
        knobs.control = value;
    } else {
        return false;
    }
    applyControl();
    return true;
}

gboolean readCommand(GIOChannel* input, GIOCondition, gpointer) {
    gchar* line = nullptr;
    gsize length = 0;
    if (g_io_channel_read_line(input, &line, &length, nullptr, nullptr) != G_IO_STATUS_NORMAL) {
        gtk_main_quit();
        return G_SOURCE_REMOVE;
    }
    const std::string command(line, length > 0 && line[length - 1] == '\n' ? length - 1 : length);
    g_free(line);
    say(change(command) ? "ok" : "unknown: " + command);
    return G_SOURCE_CONTINUE;
}

void showWindow() {
    window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_title(GTK_WINDOW(window), "Kindle");
    gtk_window_set_default_size(GTK_WINDOW(window), 480, 320);
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 8);
    GtkWidget* page = gtk_label_new(passage.c_str());
    gtk_label_set_selectable(GTK_LABEL(page), TRUE);
    gtk_box_pack_start(GTK_BOX(box), page, TRUE, TRUE, 0);
    gtk_container_add(GTK_CONTAINER(window), box);
    addCopyButton(box);
    g_signal_connect(window, "notify::is-active", G_CALLBACK(+[](GObject* object, GParamSpec*, gpointer) {
                         if (gtk_window_is_active(GTK_WINDOW(object))) say("active");
                     }),
                     nullptr);
    g_signal_connect(window, "delete-event", G_CALLBACK(gtk_main_quit), nullptr);
    gtk_widget_show_all(window);
}

}  // namespace

int main(int argc, char** argv) {
    gtk_init(&argc, &argv);
    otherProgram = gdk_display_open(nullptr);
    if (!otherProgram) return 1;
    showWindow();
    GIOChannel* input = g_io_channel_unix_new(0);
    g_io_add_watch(input, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP), readCommand, nullptr);
    gtk_main();
    return 0;
}
