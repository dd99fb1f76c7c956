#pragma once

#include <gtk/gtk.h>

#include <functional>

namespace brisel::gtk {

// True while one of this application's windows has the keyboard focus.
bool applicationHasFocus();

// Tells when this application becomes the active one, as macOS tells its delegate: one of its
// windows gains the focus while none had it. The focus moving between its own windows (the
// panel, the settings window, the save dialog) is no activation.
class ApplicationActivation {
public:
    explicit ApplicationActivation(std::function<void()> becameActive);
    ~ApplicationActivation();
    ApplicationActivation(const ApplicationActivation&) = delete;
    ApplicationActivation& operator=(const ApplicationActivation&) = delete;

private:
    static gboolean onFocusChange(GSignalInvocationHint*, guint, const GValue* parameters, gpointer self);
    static gboolean settle(gpointer self);

    std::function<void()> becameActive_;
    gpointer widgetClass_;
    guint focusIn_;
    gulong focusInHook_;
    guint focusOut_;
    gulong focusOutHook_;
    guint settling_ = 0;
    bool active_ = false;
};

}  // namespace brisel::gtk
