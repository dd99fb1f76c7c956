// Kindle, as the capture tests need it, built as "com.amazon.Lassen", the name the Linux shell
// knows Kindle by: a window "Kindle" with a passage and an enabled "コピー" button, whose press puts
// the passage and a citation on the clipboard and prints "copied MICROSECONDS", from the press to
// X confirming the clipboard is its own. Each line "KNOB VALUE ..." on standard input sets the
// knobs it names, the others back to their first values, and is answered with "ok":
//   citation kindle|foreign   passage short|long (over 240 scalars)   delay MS   copy yes|no
//   interfere none|after      another X client takes the clipboard right after the copy
//   control enabled|disabled  the button greyed out
#include <gtk/gtk.h>

#include <cstdio>
#include <map>
#include <sstream>
#include <string>

#include "kindle_stand_in.h"

namespace {

using namespace brisel::gtk::kindle_stand_in;

const std::map<std::string, std::string> firstValues = {
    {"citation", "kindle"}, {"passage", "short"}, {"delay", "0"},
    {"copy", "yes"},        {"interfere", "none"}, {"control", "enabled"},
};
std::map<std::string, std::string> knobs = firstValues;
GtkWidget* copyButton = nullptr;
gint64 pressedAt = 0;
GdkDisplay* otherProgram = nullptr;  // a second X connection: another client to X

void say(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

gboolean copyNow(gpointer) {
    const std::string copied = (knobs["passage"] == "long" ? std::string(241, 'x') : passage) + "\n\n" +
             (knobs["citation"] == "kindle" ? kindleCitation : foreignCitation);
    gtk_clipboard_set_text(gtk_clipboard_get(GDK_SELECTION_CLIPBOARD), copied.c_str(), -1);
    gdk_display_sync(gdk_display_get_default());
    if (knobs["interfere"] == "after") {
        gtk_clipboard_set_text(gtk_clipboard_get_for_display(otherProgram, GDK_SELECTION_CLIPBOARD),
                               interference.c_str(), -1);
        gdk_display_sync(otherProgram);
    }
    say("copied " + std::to_string(g_get_monotonic_time() - pressedAt));
    return G_SOURCE_REMOVE;
}

void pressed(GtkButton*, gpointer) {
    pressedAt = g_get_monotonic_time();
    if (knobs["copy"] == "yes") g_timeout_add(static_cast<guint>(std::stoul(knobs["delay"])), copyNow, nullptr);
}

gboolean readCommand(GIOChannel* input, GIOCondition, gpointer) {
    gchar* line = nullptr;
    if (g_io_channel_read_line(input, &line, nullptr, nullptr, nullptr) != G_IO_STATUS_NORMAL) {
        gtk_main_quit();
        return G_SOURCE_REMOVE;
    }
    std::istringstream words(line);
    g_free(line);
    knobs = firstValues;
    std::string knob, value;
    while (words >> knob >> value && knobs.contains(knob)) knobs[knob] = value;
    gtk_widget_set_sensitive(copyButton, knobs["control"] != "disabled");
    say(words.eof() ? "ok" : "unknown: " + knob);
    return G_SOURCE_CONTINUE;
}

}  // namespace

int main(int argc, char** argv) {
    gtk_init(&argc, &argv);
    otherProgram = gdk_display_open(nullptr);
    GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_title(GTK_WINDOW(window), "Kindle");
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 8);
    gtk_box_pack_start(GTK_BOX(box), gtk_label_new(passage.c_str()), TRUE, TRUE, 0);
    copyButton = gtk_button_new_with_label("コピー");
    g_signal_connect(copyButton, "clicked", G_CALLBACK(pressed), nullptr);
    gtk_box_pack_start(GTK_BOX(box), copyButton, FALSE, FALSE, 0);
    gtk_container_add(GTK_CONTAINER(window), box);
    gtk_widget_show_all(window);
    g_io_add_watch(g_io_channel_unix_new(0), static_cast<GIOCondition>(G_IO_IN | G_IO_HUP), readCommand, nullptr);
    gtk_main();
    return 0;
}
