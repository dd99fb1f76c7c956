#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "app/main_menu.h"
#include "platform/panel_port.h"
#include "reading_controls_view.h"
#include "web_view.h"

namespace brisel::gtk {

// The floating reader panel: kept above other windows and on every workspace, the web view
// under a header bar with the application's menu, the start-up label over the web view and the
// reading-controls strip under it.
class PanelWindow final : public PanelPort {
public:
    struct Handlers {
        std::function<void(MenuAction)> menu;
        std::function<bool(MenuAction)> menuEnabled;
        std::function<bool()> shouldClose;
    };

    PanelWindow(WebView& webView, const std::vector<Menu>& menus, Handlers handlers);
    ~PanelWindow() override;
    PanelWindow(const PanelWindow&) = delete;
    PanelWindow& operator=(const PanelWindow&) = delete;

    // The model behind the reading-controls strip; set before the panel is configured.
    void attach(BriselReadingControlsModel& readingControls) { readingControls_ = &readingControls; }

    GtkWindow* window() const { return window_; }
    bool isActive() const { return window_ && gtk_window_is_active(window_); }

    void configure(const PanelConfiguration& configuration) override;
    bool hasWindow() const override { return window_ != nullptr; }
    std::vector<Screen> screens() const override;
    std::optional<Screen> mainScreen() const override;
    std::optional<Screen> panelScreen() const override;
    Point mouseLocation() const override;
    bool reduceMotion() const override;
    bool isMiniaturized() const override;
    void deminiaturize() override;
    bool isVisible() const override;
    Rect frame() const override;
    void setFrame(const Rect& frame, bool display, bool animate) override;
    void makeKeyAndOrderFront() override;
    void orderOut() override;
    bool isKeyWindow() const override { return isActive(); }
    PanelLayout layout() const override;
    void setStartupLabel(const std::string& text) override;
    void removeStartupLabel() override;
    void setControlsHidden(bool hidden) override;

private:
    // How far the whole window, as the desktop draws it, reaches beyond the rectangle that
    // gtk_window_move and gtk_window_resize place (from the header bar's top edge, the content
    // under it): the header bar itself and the window's frame.
    struct Decorations {
        int left = 0, top = 0, right = 0, bottom = 0;
    };

    Decorations decorations() const;
    GtkWidget* buildMenuButton();
    static gboolean onDelete(GtkWidget*, GdkEvent*, gpointer);
    static gboolean onWindowState(GtkWidget*, GdkEventWindowState*, gpointer);
    static gboolean onVisibility(GtkWidget*, GdkEventVisibility*, gpointer);

    WebView& webView_;
    const std::vector<Menu>& menus_;
    Handlers handlers_;
    GtkWindow* window_ = nullptr;
    GtkWidget* startupLabel_ = nullptr;
    GtkWidget* controls_ = nullptr;
    BriselReadingControlsModel* readingControls_ = nullptr;
    std::unique_ptr<BriselReadingControlsView> readingControlsView_;
    GtkAccelGroup* accelerators_ = nullptr;
    // Measured on the screen while the window is there, and kept for when it is not.
    mutable std::optional<Decorations> decorations_;
    bool iconified_ = false;
    bool obscured_ = false;
};

}  // namespace brisel::gtk
