#pragma once

#include <gtk/gtk.h>

#include <chrono>
#include <string>

namespace brisel {
class Companion;
}

namespace brisel::gtk {

class PanelWindow;

// Saves a picture of the panel once the page is ready and has had a moment to render (or when
// the time-out passes, showing whatever the start-up label says), then quits. This is how Brisel
// shows something useful on a machine without a display. It also prints when the panel reached
// the screen and when the page became ready, as wall-clock milliseconds, for start-up
// measurements. A picture of boxes is no picture: the labels of all of Brisel's windows (the
// menu and the reading controls too, shown or not) must have a glyph for every character.
class Screenshot {
public:
    static constexpr std::chrono::milliseconds settleTime{1500};

    Screenshot(PanelWindow& panel, const Companion& companion, std::string path, std::chrono::seconds timeout);
    ~Screenshot();
    Screenshot(const Screenshot&) = delete;
    Screenshot& operator=(const Screenshot&) = delete;

    bool saved() const { return saved_; }
    // Every label's text has glyphs in the installed fonts (Japanese needs a CJK font).
    bool legible() const { return legible_; }

private:
    static gboolean poll(gpointer data);
    static gboolean onMapped(GtkWidget*, GdkEvent*, gpointer data);
    void take();
    void checkGlyphs();

    PanelWindow& panel_;
    const Companion& companion_;
    std::string path_;
    std::chrono::steady_clock::time_point deadline_;
    std::chrono::steady_clock::time_point readyAt_{};
    std::chrono::system_clock::time_point mappedWallClock_{};
    std::chrono::system_clock::time_point readyWallClock_{};
    guint source_ = 0;
    bool saved_ = false;
    bool legible_ = true;
};

}  // namespace brisel::gtk
