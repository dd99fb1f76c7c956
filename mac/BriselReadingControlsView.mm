#import "BriselReadingControlsView.h"

#include "ButtonLook.h"
#include "Conversions.h"
#include "reading/reading_controls_presentation.h"
#include "shortcuts/key_binding.h"

namespace {

using brisel::BriselKeyBinding;
using Hint = brisel::BriselReadingControlsModel::ShortcutHint;

constexpr CGFloat maximumWidth = 640, horizontalPadding = 16, verticalPadding = 12;
constexpr CGFloat minimumButtonHeight = 44, buttonContentInset = 4;

// The save button's tint: a dark green.
NSColor* accentColor() {
    return [NSColor colorWithSRGBRed:0.18 green:0.32 blue:0.26 alpha:1.0];
}

NSEventModifierFlags modifierFlagsOf(uint32_t carbonModifiers) {
    NSEventModifierFlags flags = 0;
    if (carbonModifiers & BriselKeyBinding::command) flags |= NSEventModifierFlagCommand;
    if (carbonModifiers & BriselKeyBinding::shift) flags |= NSEventModifierFlagShift;
    if (carbonModifiers & BriselKeyBinding::option) flags |= NSEventModifierFlagOption;
    if (carbonModifiers & BriselKeyBinding::control) flags |= NSEventModifierFlagControl;
    return flags;
}

// A button that is not on screen must not take its key away from the page.
void bindKey(NSButton* button, const Hint& hint, bool active) {
    button.keyEquivalent = active ? brisel::mac::nsString(hint.key) : @"";
    button.keyEquivalentModifierMask = modifierFlagsOf(hint.modifiers);
}

NSTextField* label(NSFont* font) {
    NSTextField* field = [NSTextField labelWithString:@""];
    field.font = font;
    // The button speaks for its own content.
    field.accessibilityElement = NO;
    return field;
}

NSFont* captionMonospacedFont() {
    const CGFloat size = [NSFont preferredFontForTextStyle:NSFontTextStyleCaption1 options:@{}].pointSize;
    return [NSFont monospacedSystemFontOfSize:size weight:NSFontWeightRegular];
}

}  // namespace

NSString* const BriselReadingControlsForceOpaqueKey = @"briselReadingControlsForceOpaque";

// The label row inside a button. Clicks pass through it to the button.
@interface ReadingControlsButtonContent : NSStackView
@end

@implementation ReadingControlsButtonContent

- (NSView*)hitTest:(NSPoint)point {
    return nil;
}

@end

@implementation BriselReadingControlsView {
    brisel::BriselReadingControlsModel* _model;
    NSStackView* _content;
    NSStackView* _buttons;
    NSView* _buttonsHost;  // the button stack, or the glass container around it
    NSButton* _save;
    NSImageView* _saveIcon;
    NSProgressIndicator* _saveSpinner;
    NSTextField* _saveTitle;
    NSTextField* _saveHint;
    NSButton* _close;
    NSTextField* _closeTitle;
    NSTextField* _closeHint;
    NSTextField* _status;
    id _displayOptions;
}

- (instancetype)initWithModel:(brisel::BriselReadingControlsModel&)model {
    self = [super initWithFrame:NSZeroRect];
    if (!self) return nil;
    _model = &model;

    _saveIcon = [NSImageView imageViewWithImage:[NSImage imageWithSystemSymbolName:@"bookmark"
                                                          accessibilityDescription:nil]];
    _saveSpinner = [[NSProgressIndicator alloc] initWithFrame:NSZeroRect];
    _saveSpinner.style = NSProgressIndicatorStyleSpinning;
    _saveSpinner.controlSize = NSControlSizeSmall;
    const CGFloat titleSize = NSFont.systemFontSize;
    _saveTitle = label([NSFont systemFontOfSize:titleSize weight:NSFontWeightSemibold]);
    _saveHint = label(captionMonospacedFont());
    _save = [self buttonWithContent:@[ _saveIcon, _saveSpinner, _saveTitle, _saveHint ] action:@selector(save:)];
    _save.accessibilityIdentifier = @(brisel::reading_controls_ids::save);

    _closeTitle = label([NSFont systemFontOfSize:titleSize weight:NSFontWeightSemibold]);
    _closeHint = label(captionMonospacedFont());
    _close = [self buttonWithContent:@[ _closeTitle, _closeHint ] action:@selector(close:)];
    _close.accessibilityIdentifier = @(brisel::reading_controls_ids::close);

    _buttons = [NSStackView stackViewWithViews:@[ _save, _close ]];
    _buttons.orientation = NSUserInterfaceLayoutOrientationVertical;
    _buttons.translatesAutoresizingMaskIntoConstraints = NO;
    for (NSButton* button in @[ _save, _close ]) {
        [button.widthAnchor constraintEqualToAnchor:_buttons.widthAnchor].active = YES;
    }

    _status = [NSTextField wrappingLabelWithString:@""];
    _status.font = [NSFont preferredFontForTextStyle:NSFontTextStyleFootnote options:@{}];
    _status.textColor = NSColor.secondaryLabelColor;
    _status.alignment = NSTextAlignmentCenter;
    _status.accessibilityIdentifier = @(brisel::reading_controls_ids::status);
    // Never truncated: the strip grows instead.
    [_status setContentCompressionResistancePriority:NSLayoutPriorityRequired
                                      forOrientation:NSLayoutConstraintOrientationVertical];

    _content = [NSStackView stackViewWithViews:@[ _status ]];
    _content.orientation = NSUserInterfaceLayoutOrientationVertical;
    _content.alignment = NSLayoutAttributeCenterX;
    _content.spacing = 8;
    _content.translatesAutoresizingMaskIntoConstraints = NO;
    [self addSubview:_content];
    NSLayoutConstraint* fullWidth = [_content.widthAnchor constraintEqualToAnchor:self.widthAnchor
                                                                         constant:-2 * horizontalPadding];
    fullWidth.priority = NSLayoutPriorityDefaultHigh;
    // The strip is as tall as its content with its padding, except while the panel collapses it.
    NSLayoutConstraint* contentBottom = [_content.bottomAnchor constraintEqualToAnchor:self.bottomAnchor
                                                                              constant:-verticalPadding];
    contentBottom.priority = NSLayoutPriorityRequired - 1;
    [NSLayoutConstraint activateConstraints:@[
        [_content.topAnchor constraintEqualToAnchor:self.topAnchor constant:verticalPadding],
        contentBottom,
        [_content.centerXAnchor constraintEqualToAnchor:self.centerXAnchor],
        [_content.widthAnchor constraintLessThanOrEqualToConstant:maximumWidth],
        [_content.leadingAnchor constraintGreaterThanOrEqualToAnchor:self.leadingAnchor constant:horizontalPadding],
        fullWidth,
        [_status.widthAnchor constraintEqualToAnchor:_content.widthAnchor],
    ]];

    __weak BriselReadingControlsView* weakSelf = self;
    model.onChange = [weakSelf] { [weakSelf refresh]; };
    _displayOptions = brisel::mac::observeDisplayOptions(^{
      [weakSelf applyLook];
    });
    [self applyLook];
    return self;
}

- (void)dealloc {
    brisel::mac::stopObservingDisplayOptions(_displayOptions);
}

- (void)setBriselReadingControlsForceOpaque:(BOOL)forceOpaque {
    if (_briselReadingControlsForceOpaque == forceOpaque) return;
    _briselReadingControlsForceOpaque = forceOpaque;
    [self applyLook];
}

- (NSButton*)buttonWithContent:(NSArray<NSView*>*)views action:(SEL)action {
    NSButton* button = [NSButton buttonWithTitle:@"" target:self action:action];
    button.imagePosition = NSNoImage;
    button.translatesAutoresizingMaskIntoConstraints = NO;
    ReadingControlsButtonContent* content = [ReadingControlsButtonContent stackViewWithViews:views];
    content.orientation = NSUserInterfaceLayoutOrientationHorizontal;
    content.alignment = NSLayoutAttributeCenterY;
    content.spacing = 8;
    content.translatesAutoresizingMaskIntoConstraints = NO;
    [button addSubview:content];
    [NSLayoutConstraint activateConstraints:@[
        [button.heightAnchor constraintGreaterThanOrEqualToConstant:minimumButtonHeight],
        [content.centerXAnchor constraintEqualToAnchor:button.centerXAnchor],
        [content.centerYAnchor constraintEqualToAnchor:button.centerYAnchor],
        [content.leadingAnchor constraintGreaterThanOrEqualToAnchor:button.leadingAnchor
                                                           constant:buttonContentInset],
        [content.topAnchor constraintGreaterThanOrEqualToAnchor:button.topAnchor],
    ]];
    return button;
}

// Glass in a glass container, or bordered buttons; again whenever reduce transparency or the
// host's choice changes.
- (void)applyLook {
    const bool glass = brisel::mac::usesGlass(_briselReadingControlsForceOpaque);
    brisel::mac::applyButtonLook(_save, glass, NSBezelStyleFlexiblePush, accentColor());
    brisel::mac::applyButtonLook(_close, glass, NSBezelStyleFlexiblePush);
    _buttons.spacing = glass ? 8 : 12;

    if (_buttonsHost) {
        [_content removeArrangedSubview:_buttonsHost];
        [_buttonsHost removeFromSuperview];
    }
    [_buttons removeFromSuperview];
    _buttonsHost = _buttons;
    // NSGlassEffectContainerView (macOS 26) is not in this SDK; it is only reached where glass is.
    if (Class container = glass ? NSClassFromString(@"NSGlassEffectContainerView") : nil) {
        NSView* host = [[container alloc] initWithFrame:NSZeroRect];
        host.translatesAutoresizingMaskIntoConstraints = NO;
        [host setValue:@8 forKey:@"spacing"];
        [host setValue:_buttons forKey:@"contentView"];
        [NSLayoutConstraint activateConstraints:@[
            [_buttons.leadingAnchor constraintEqualToAnchor:host.leadingAnchor],
            [_buttons.trailingAnchor constraintEqualToAnchor:host.trailingAnchor],
            [_buttons.topAnchor constraintEqualToAnchor:host.topAnchor],
            [_buttons.bottomAnchor constraintEqualToAnchor:host.bottomAnchor],
        ]];
        _buttonsHost = host;
    }
    [_content insertArrangedSubview:_buttonsHost atIndex:0];
    [_buttonsHost.widthAnchor constraintEqualToAnchor:_content.widthAnchor].active = YES;
    [self refresh];
}

- (void)refresh {
    const brisel::BriselReadingControlsModel& model = *_model;
    const brisel::ReadingControlsPresentation shown = brisel::presentReadingControls(model);
    _content.hidden = !shown.visible;

    _save.hidden = !shown.showsSave;
    _save.enabled = shown.saveEnabled;
    _saveIcon.hidden = shown.saveBusy;
    _saveSpinner.hidden = !shown.saveBusy;
    if (shown.saveBusy) {
        [_saveSpinner startAnimation:nil];
    } else {
        [_saveSpinner stopAnimation:nil];
    }
    _saveTitle.stringValue = brisel::mac::nsString(shown.saveTitle);
    _saveHint.stringValue = brisel::mac::nsString(model.saveShortcut.label);
    _save.accessibilityLabel = _saveTitle.stringValue;
    bindKey(_save, model.saveShortcut, shown.visible && shown.showsSave);

    _closeTitle.stringValue = brisel::mac::nsString(shown.closeTitle);
    _closeHint.stringValue = brisel::mac::nsString(model.returnShortcut.label);
    _close.accessibilityLabel = _closeTitle.stringValue;
    bindKey(_close, model.returnShortcut, shown.visible);

    _status.stringValue = brisel::mac::nsString(shown.status);
    [self colourLabels];
}

// On the tinted save button the labels read in white; disabled ones fade like the button.
- (void)colourLabels {
    NSColor* saveColour = !_save.enabled ? NSColor.disabledControlTextColor : NSColor.alternateSelectedControlTextColor;
    _saveTitle.textColor = saveColour;
    _saveHint.textColor = saveColour;
    _saveIcon.contentTintColor = saveColour;
    _closeTitle.textColor = NSColor.labelColor;
    _closeHint.textColor = NSColor.secondaryLabelColor;
}

- (void)save:(id)sender {
    _model->perform(brisel::BriselReadingControlsModel::saveAndReturnRequested, _model->controlId);
}

- (void)close:(id)sender {
    _model->perform(brisel::BriselReadingControlsModel::returnRequested, _model->controlId);
}

// The status wraps at the strip's width, which only layout knows.
- (void)layout {
    [super layout];
    _status.preferredMaxLayoutWidth = NSWidth(_content.frame);
}

- (void)drawRect:(NSRect)dirtyRect {
    [NSColor.windowBackgroundColor setFill];
    NSRectFill(dirtyRect);
}

@end
