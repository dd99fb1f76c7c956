#pragma once

#import <AppKit/AppKit.h>

#include "MacWebView.h"
#include "platform/panel_port.h"
#include "reading/reading_controls_model.h"

@class ReaderPanel;
@class BriselReadingControlsView;

// Named outside namespace brisel, where core's `id` function hides Objective-C's `id`.
using PanelWindowDelegate = id<NSWindowDelegate>;

namespace brisel::mac {

// The reader panel, its content (web view over the reading-controls strip, the start-up label
// over the web view) and the screens it can stand on.
class MacPanel final : public PanelPort {
public:
    MacPanel(MacWebView& webView, PanelWindowDelegate windowDelegate)
        : webView_(webView), windowDelegate_(windowDelegate) {}

    // The model the reading-controls strip draws; given once core exists, before `configure`.
    void attach(BriselReadingControlsModel& readingControls) { readingControls_ = &readingControls; }

    NSWindow* window() const;

    void configure(const PanelConfiguration& configuration) override;
    bool hasWindow() const override;
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
    bool isKeyWindow() const override;
    PanelLayout layout() const override;
    void setStartupLabel(const std::string& text) override;
    void removeStartupLabel() override;
    void setControlsHidden(bool hidden) override;

private:
    MacWebView& webView_;
    __weak PanelWindowDelegate windowDelegate_;
    BriselReadingControlsModel* readingControls_ = nullptr;
    ReaderPanel* panel_ = nil;
    BriselReadingControlsView* controls_ = nil;
    NSLayoutConstraint* hiddenControlsHeight_ = nil;
    NSTextField* startupLabel_ = nil;
};

}  // namespace brisel::mac
