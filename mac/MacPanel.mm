#include "MacPanel.h"

#include "Conversions.h"
#import "ReaderPanel.h"
#import "BriselReadingControlsView.h"

namespace brisel::mac {

namespace {

// Every space, beside full-screen apps, and in other apps' spaces: the panel stays beside Kindle.
constexpr NSWindowCollectionBehavior readerPanelCollectionBehavior =
    NSWindowCollectionBehaviorCanJoinAllSpaces | NSWindowCollectionBehaviorFullScreenAuxiliary |
    NSWindowCollectionBehaviorCanJoinAllApplications;
static_assert(readerPanelCollectionBehavior == 0x40101);

NSView* contentView(WKWebView* webView, NSView* controls, NSLayoutConstraint* hiddenControlsHeight) {
    NSView* container = [[NSView alloc] initWithFrame:webView.frame];
    webView.translatesAutoresizingMaskIntoConstraints = NO;
    controls.translatesAutoresizingMaskIntoConstraints = NO;
    [container addSubview:webView];
    [container addSubview:controls];
    [NSLayoutConstraint activateConstraints:@[
        [webView.leadingAnchor constraintEqualToAnchor:container.leadingAnchor],
        [webView.trailingAnchor constraintEqualToAnchor:container.trailingAnchor],
        [webView.topAnchor constraintEqualToAnchor:container.topAnchor],
        [webView.bottomAnchor constraintEqualToAnchor:controls.topAnchor],
        [controls.leadingAnchor constraintEqualToAnchor:container.leadingAnchor],
        [controls.trailingAnchor constraintEqualToAnchor:container.trailingAnchor],
        [controls.bottomAnchor constraintEqualToAnchor:container.bottomAnchor],
        hiddenControlsHeight,
    ]];
    return container;
}

NSTextField* startupLabel(const std::string& text, NSSize panelSize) {
    NSTextField* label = [NSTextField wrappingLabelWithString:nsString(text)];  // the port message runs to two lines
    label.textColor = NSColor.secondaryLabelColor;
    label.font = [NSFont systemFontOfSize:15];
    label.alignment = NSTextAlignmentCenter;
    label.frame = NSMakeRect(24, panelSize.height / 2, panelSize.width - 48, 64);
    label.autoresizingMask = NSViewWidthSizable | NSViewMinYMargin | NSViewMaxYMargin;
    return label;
}

}  // namespace

NSWindow* MacPanel::window() const {
    return panel_;
}

void MacPanel::configure(const PanelConfiguration& configuration) {
    ReaderPanel* panel = [[ReaderPanel alloc]
        initWithContentRect:nsRect(configuration.frame)
                  styleMask:NSWindowStyleMaskTitled | NSWindowStyleMaskClosable |
                            NSWindowStyleMaskMiniaturizable | NSWindowStyleMaskResizable
                    backing:NSBackingStoreBuffered
                      defer:NO];
    panel.title = nsString(configuration.title);
    panel.delegate = windowDelegate_;
    panel.minSize = NSMakeSize(configuration.minimumWidth, configuration.minimumHeight);
    panel.releasedWhenClosed = NO;
    panel.hidesOnDeactivate = NO;
    panel.excludedFromWindowsMenu = NO;
    panel.level = NSFloatingWindowLevel;
    panel.collectionBehavior = readerPanelCollectionBehavior;
    panel.backgroundColor = [NSColor colorWithCalibratedRed:configuration.backgroundRed
                                                      green:configuration.backgroundGreen
                                                       blue:configuration.backgroundBlue
                                                      alpha:1.0];

    const NSSize size = panel.frame.size;
    WKWebView* webView = webView_.create(NSMakeRect(0, 0, size.width, size.height), configuration.messageChannel,
                                         configuration.userScripts);
    BriselReadingControlsView* controls = [[BriselReadingControlsView alloc] initWithModel:*readingControls_];
    controls.hidden = YES;
    NSLayoutConstraint* hiddenControlsHeight = [controls.heightAnchor constraintEqualToConstant:0];
    panel.contentView = contentView(webView, controls, hiddenControlsHeight);

    NSTextField* label = startupLabel(configuration.startupLabel, size);
    [webView addSubview:label];

    panel_ = panel;
    controls_ = controls;
    hiddenControlsHeight_ = hiddenControlsHeight;
    startupLabel_ = label;
}

bool MacPanel::hasWindow() const {
    return panel_ != nil;
}

std::vector<Screen> MacPanel::screens() const {
    std::vector<Screen> screens;
    for (NSScreen* screen in NSScreen.screens) screens.push_back(screenOf(screen));
    return screens;
}

std::optional<Screen> MacPanel::mainScreen() const {
    NSScreen* screen = NSScreen.mainScreen;
    if (!screen) return std::nullopt;
    return screenOf(screen);
}

std::optional<Screen> MacPanel::panelScreen() const {
    NSScreen* screen = panel_.screen;
    if (!screen) return std::nullopt;
    return screenOf(screen);
}

Point MacPanel::mouseLocation() const {
    const NSPoint location = NSEvent.mouseLocation;
    return {location.x, location.y};
}

bool MacPanel::reduceMotion() const {
    return NSWorkspace.sharedWorkspace.accessibilityDisplayShouldReduceMotion;
}

bool MacPanel::isMiniaturized() const {
    return panel_.miniaturized;
}

void MacPanel::deminiaturize() {
    [panel_ deminiaturize:nil];
}

bool MacPanel::isVisible() const {
    return panel_.visible;
}

Rect MacPanel::frame() const {
    return rectOf(panel_.frame);
}

void MacPanel::setFrame(const Rect& frame, bool display, bool animate) {
    [panel_ setFrame:nsRect(frame) display:display animate:animate];
}

void MacPanel::makeKeyAndOrderFront() {
    [panel_ makeKeyAndOrderFront:nil];
}

void MacPanel::orderOut() {
    [panel_ orderOut:nil];
}

bool MacPanel::isKeyWindow() const {
    return panel_.isKeyWindow;
}

PanelLayout MacPanel::layout() const {
    WKWebView* webView = webView_.view();
    PanelLayout layout;
    layout.panelVisible = panel_.visible;
    layout.panelKey = panel_.keyWindow;
    layout.webHidden = webView.hidden;
    layout.windowVisible = (panel_.occlusionState & NSWindowOcclusionStateVisible) != 0;
    layout.panelOnActiveSpace = panel_.onActiveSpace;
    layout.frame = rectOf(panel_.frame);
    layout.webBounds = rectOf(webView.bounds);
    return layout;
}

void MacPanel::setStartupLabel(const std::string& text) {
    startupLabel_.stringValue = nsString(text);
}

void MacPanel::removeStartupLabel() {
    [startupLabel_ removeFromSuperview];
    startupLabel_ = nil;
}

void MacPanel::setControlsHidden(bool hidden) {
    controls_.hidden = hidden;
    hiddenControlsHeight_.active = hidden;
    // Shown or hidden, the strip is measured again.
    [controls_ invalidateIntrinsicContentSize];
}

}  // namespace brisel::mac
