#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/geometry.h"

namespace brisel {

// How the panel and its web view are built, once, at launch.
struct PanelConfiguration {
    Rect frame;
    std::string title;
    double minimumWidth = 0;
    double minimumHeight = 0;
    double backgroundRed = 0, backgroundGreen = 0, backgroundBlue = 0;  // 0 to 1
    std::string messageChannel;               // the page posts to window.webkit.messageHandlers[name]
    std::vector<std::string> userScripts;     // at document start, main frame only, in order
    std::string startupLabel;
};

// What the start-up log records about the panel's layout.
struct PanelLayout {
    bool panelVisible = false;
    bool panelKey = false;
    bool webHidden = false;
    bool windowVisible = false;  // not fully covered by other windows
    bool panelOnActiveSpace = false;
    Rect frame;
    Rect webBounds;
};

// The floating reader panel and the screens it can stand on, as the shell shows them.
class PanelPort {
public:
    virtual ~PanelPort() = default;

    // Builds the panel, its web view, the reading-controls strip (hidden) and the start-up label.
    virtual void configure(const PanelConfiguration& configuration) = 0;
    // Whether the panel's window exists (sign-in sheets are shown over it).
    virtual bool hasWindow() const = 0;

    // Screens in the system's order; the main screen is the one with keyboard focus.
    virtual std::vector<Screen> screens() const = 0;
    virtual std::optional<Screen> mainScreen() const = 0;
    virtual std::optional<Screen> panelScreen() const = 0;
    virtual Point mouseLocation() const = 0;
    virtual bool reduceMotion() const = 0;

    virtual bool isMiniaturized() const = 0;
    virtual void deminiaturize() = 0;
    virtual bool isVisible() const = 0;
    virtual Rect frame() const = 0;
    virtual void setFrame(const Rect& frame, bool display, bool animate) = 0;
    virtual void makeKeyAndOrderFront() = 0;
    // Takes the panel off screen without closing it (when Kindle comes forward).
    virtual void orderOut() = 0;
    virtual bool isKeyWindow() const = 0;

    virtual PanelLayout layout() const = 0;

    // The label over the web view that reports start-up progress and server trouble.
    virtual void setStartupLabel(const std::string& text) = 0;
    virtual void removeStartupLabel() = 0;
    // The reading-controls strip under the web view.
    virtual void setControlsHidden(bool hidden) = 0;
};

}  // namespace brisel
