#import "BriselShortcutSettingsView.h"

#include <array>
#include <memory>

#include "ButtonLook.h"
#include "Conversions.h"
#include "shortcuts/shortcut_settings_form.h"

namespace {

constexpr CGFloat padding = 20, contentWidth = 640 - 2 * padding;
constexpr CGFloat keyButtonWidth = 184;

NSTextField* label(NSFont* font, NSColor* colour) {
    NSTextField* field = [NSTextField labelWithString:@""];
    field.font = font;
    field.textColor = colour;
    return field;
}

NSTextField* wrappingLabel(NSFont* font, NSColor* colour) {
    NSTextField* field = [NSTextField wrappingLabelWithString:@""];
    field.font = font;
    field.textColor = colour;
    field.preferredMaxLayoutWidth = contentWidth;
    return field;
}

NSFont* textStyle(NSFontTextStyle style) {
    return [NSFont preferredFontForTextStyle:style options:@{}];
}

NSFont* monospacedBodyFont() {
    NSFontDescriptor* body = textStyle(NSFontTextStyleBody).fontDescriptor;
    NSFontDescriptor* monospaced = [body fontDescriptorWithDesign:NSFontDescriptorSystemDesignMonospaced];
    return [NSFont fontWithDescriptor:monospaced ? monospaced : body size:0];
}

NSStackView* verticalStack(NSArray<NSView*>* views, CGFloat spacing) {
    NSStackView* stack = [NSStackView stackViewWithViews:views];
    stack.orientation = NSUserInterfaceLayoutOrientationVertical;
    stack.alignment = NSLayoutAttributeLeading;
    stack.spacing = spacing;
    return stack;
}

}  // namespace

@implementation BriselShortcutSettingsView {
    const brisel::KeyboardLayoutPort* _layout;
    brisel::BriselShortcutSettings* _settings;
    brisel::BriselShortcutSettings::ObserverID _observer;
    // Expires with the observer, so settings that went first are never touched.
    std::weak_ptr<void> _observing;
    std::array<brisel::BriselShortcutAction, 3> _actions;
    NSTextField* _sectionTitle;
    NSArray<NSTextField*>* _titles;
    NSArray<NSTextField*>* _helps;
    NSArray<NSButton*>* _keys;
    NSTextField* _explanation;
    NSTextField* _message;
    NSButton* _cancel;
    NSButton* _restore;
    id _displayOptions;
}

- (instancetype)initWithLayout:(const brisel::KeyboardLayoutPort&)layout {
    self = [super initWithFrame:NSMakeRect(0, 0, 640, 430)];
    if (!self) return nil;
    _layout = &layout;
    _actions = brisel::allShortcutActions;

    NSMutableArray<NSTextField*>* titles = [NSMutableArray array];
    NSMutableArray<NSTextField*>* helps = [NSMutableArray array];
    NSMutableArray<NSButton*>* keys = [NSMutableArray array];
    NSMutableArray<NSView*>* rows = [NSMutableArray array];
    for (NSInteger index = 0; index < static_cast<NSInteger>(_actions.size()); ++index) {
        NSTextField* title = label(textStyle(NSFontTextStyleBody), NSColor.labelColor);
        NSTextField* help = label(textStyle(NSFontTextStyleFootnote), NSColor.secondaryLabelColor);
        NSButton* key = [NSButton buttonWithTitle:@"" target:self action:@selector(beginRecording:)];
        key.tag = index;
        key.bezelStyle = NSBezelStylePush;
        key.controlSize = NSControlSizeLarge;
        key.font = monospacedBodyFont();
        key.cell.lineBreakMode = NSLineBreakByTruncatingTail;
        // A large push button is the 28 points high that the caption needs.
        [key.widthAnchor constraintEqualToConstant:keyButtonWidth].active = YES;

        NSStackView* labels = verticalStack(@[ title, help ], 2);
        [labels setContentHuggingPriority:NSLayoutPriorityDefaultLow
                           forOrientation:NSLayoutConstraintOrientationHorizontal];
        NSStackView* row = [NSStackView stackViewWithViews:@[ labels, key ]];
        row.alignment = NSLayoutAttributeCenterY;
        // The labels take the spare width, which puts the key button at the trailing edge.
        row.distribution = NSStackViewDistributionFill;
        row.spacing = 12;
        row.edgeInsets = NSEdgeInsetsMake(8, 12, 8, 12);
        if (index > 0) {
            NSBox* separator = [[NSBox alloc] init];
            separator.boxType = NSBoxSeparator;
            [rows addObject:separator];
        }
        [rows addObject:row];
        [titles addObject:title];
        [helps addObject:help];
        [keys addObject:key];
    }
    _titles = titles;
    _helps = helps;
    _keys = keys;

    // The grouped form: a titled section holding the three rows.
    NSStackView* rowStack = verticalStack(rows, 0);
    for (NSView* row in rows) [row.widthAnchor constraintEqualToAnchor:rowStack.widthAnchor].active = YES;
    NSBox* group = [[NSBox alloc] init];
    group.titlePosition = NSNoTitle;
    // Pinned inside the box's own content view, so the box takes the rows' height.
    rowStack.translatesAutoresizingMaskIntoConstraints = NO;
    NSView* groupContent = group.contentView;
    [groupContent addSubview:rowStack];
    [NSLayoutConstraint activateConstraints:@[
        [rowStack.leadingAnchor constraintEqualToAnchor:groupContent.leadingAnchor],
        [rowStack.trailingAnchor constraintEqualToAnchor:groupContent.trailingAnchor],
        [rowStack.topAnchor constraintEqualToAnchor:groupContent.topAnchor],
        [rowStack.bottomAnchor constraintEqualToAnchor:groupContent.bottomAnchor],
    ]];
    _sectionTitle = label([NSFont boldSystemFontOfSize:NSFont.systemFontSize], NSColor.labelColor);
    NSStackView* section = verticalStack(@[ _sectionTitle, group ], 8);
    [group.widthAnchor constraintEqualToAnchor:section.widthAnchor].active = YES;

    _explanation = wrappingLabel(textStyle(NSFontTextStyleFootnote), NSColor.secondaryLabelColor);
    _message = wrappingLabel(textStyle(NSFontTextStyleCallout), NSColor.labelColor);
    _message.accessibilityIdentifier = @(brisel::ShortcutSettingsForm::messageAccessibilityIdentifier);

    _cancel = [NSButton buttonWithTitle:@"" target:self action:@selector(cancelRecording:)];
    _restore = [NSButton buttonWithTitle:@"" target:self action:@selector(restoreDefaults:)];
    NSStackView* buttons = [NSStackView stackViewWithViews:@[ _cancel, _restore ]];
    buttons.spacing = 8;

    NSStackView* content = verticalStack(@[ section, _explanation, _message, buttons ], 16);
    content.edgeInsets = NSEdgeInsetsMake(padding, padding, padding, padding);
    content.translatesAutoresizingMaskIntoConstraints = NO;
    [self addSubview:content];
    [NSLayoutConstraint activateConstraints:@[
        [content.leadingAnchor constraintEqualToAnchor:self.leadingAnchor],
        [content.trailingAnchor constraintEqualToAnchor:self.trailingAnchor],
        [content.topAnchor constraintEqualToAnchor:self.topAnchor],
        [content.bottomAnchor constraintLessThanOrEqualToAnchor:self.bottomAnchor],
    ]];
    for (NSView* view in @[ section, _explanation, _message ]) {
        [view.widthAnchor constraintEqualToConstant:contentWidth].active = YES;
    }

    __weak BriselShortcutSettingsView* weakSelf = self;
    _displayOptions = brisel::mac::observeDisplayOptions(^{
      [weakSelf applyLook];
    });
    [self applyLook];
    return self;
}

- (void)dealloc {
    brisel::mac::stopObservingDisplayOptions(_displayOptions);
    if (brisel::BriselShortcutSettings* settings = [self liveSettings]) settings->removeObserver(_observer);
}

- (void)observe:(brisel::BriselShortcutSettings&)settings {
    if (_settings == &settings && !_observing.expired()) return;
    if (brisel::BriselShortcutSettings* previous = [self liveSettings]) previous->removeObserver(_observer);
    auto token = std::make_shared<bool>(true);
    _observing = token;
    __weak BriselShortcutSettingsView* weakSelf = self;
    _observer = settings.addObserver([weakSelf, token] { [weakSelf refresh]; });
    _settings = &settings;
    [self refresh];
}

- (brisel::BriselShortcutSettings*)liveSettings {
    return _observing.expired() ? nullptr : _settings;
}

- (void)applyLook {
    const bool glass = brisel::mac::usesGlass();
    for (NSButton* button in @[ _cancel, _restore ]) brisel::mac::applyButtonLook(button, glass, NSBezelStylePush);
}

- (void)refresh {
    brisel::BriselShortcutSettings* settings = [self liveSettings];
    if (!settings) return;
    const brisel::ShortcutSettingsForm form = brisel::shortcutSettingsForm(*settings, *_layout);
    _sectionTitle.stringValue = brisel::mac::nsString(form.sectionTitle);
    for (size_t index = 0; index < form.rows.size(); ++index) {
        const brisel::ShortcutSettingsRow& row = form.rows[index];
        _actions[index] = row.action;
        _titles[index].stringValue = brisel::mac::nsString(row.title);
        _helps[index].stringValue = brisel::mac::nsString(row.help);
        NSButton* key = _keys[index];
        key.title = brisel::mac::nsString(row.caption);
        key.toolTip = brisel::mac::nsString(row.tooltip);
        key.accessibilityLabel = brisel::mac::nsString(row.accessibilityLabel);
        key.accessibilityValue = brisel::mac::nsString(row.accessibilityValue);
    }
    _explanation.stringValue = brisel::mac::nsString(form.explanation);
    _message.stringValue = brisel::mac::nsString(form.message);
    _cancel.title = brisel::mac::nsString(form.cancelTitle);
    _cancel.hidden = !form.showsCancel;
    _restore.title = brisel::mac::nsString(form.restoreTitle);
}

- (void)beginRecording:(NSButton*)sender {
    if (brisel::BriselShortcutSettings* settings = [self liveSettings]) {
        settings->begin(_actions[static_cast<size_t>(sender.tag)]);
    }
}

- (void)cancelRecording:(id)sender {
    if (brisel::BriselShortcutSettings* settings = [self liveSettings]) settings->cancel();
}

- (void)restoreDefaults:(id)sender {
    if (brisel::BriselShortcutSettings* settings = [self liveSettings]) settings->restore();
}

// Closing the window or leaving it ends a recording, so keys go back to their usual work.
- (void)viewWillMoveToWindow:(NSWindow*)window {
    NSNotificationCenter* center = NSNotificationCenter.defaultCenter;
    [center removeObserver:self name:NSWindowDidResignKeyNotification object:nil];
    [center removeObserver:self name:NSWindowWillCloseNotification object:nil];
    if (!window) return;
    [center addObserver:self selector:@selector(cancelRecording:) name:NSWindowDidResignKeyNotification object:window];
    [center addObserver:self selector:@selector(cancelRecording:) name:NSWindowWillCloseNotification object:window];
}

@end
