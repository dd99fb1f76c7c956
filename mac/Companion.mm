#import "Companion.h"

#include <memory>

#include "Conversions.h"
#include "MacAccessibility.h"
#include "MacAppleSignIn.h"
#include "MacApplication.h"
#include "MacBackgroundQueue.h"
#include "MacConfiguration.h"
#include "MacGoogleSignIn.h"
#include "MacHotKeys.h"
#include "MacHttpClient.h"
#include "MacKeyboardLayout.h"
#include "MacMainQueue.h"
#include "MacPanel.h"
#include "MacPasteboard.h"
#include "MacRunningApplications.h"
#include "MacSavePanel.h"
#include "MacSettingsWindow.h"
#include "MacUserDefaults.h"
#include "MacWebView.h"
#include "MacWorkspace.h"
#include "ScriptMessages.h"
#include "server/posix_process_launcher.h"

@implementation Companion {
    // Declared before the core so that they outlive it.
    std::unique_ptr<brisel::mac::MacMainQueue> _mainQueue;
    std::unique_ptr<brisel::mac::MacHttpClient> _http;
    std::unique_ptr<brisel::PosixProcessLauncher> _launcher;
    std::unique_ptr<brisel::mac::MacApplication> _application;
    std::unique_ptr<brisel::mac::MacWebView> _webView;
    std::unique_ptr<brisel::mac::MacPanel> _panel;
    std::unique_ptr<brisel::mac::MacWorkspace> _workspace;
    std::unique_ptr<brisel::mac::MacBackgroundQueue> _background;
    std::unique_ptr<brisel::mac::MacPasteboard> _pasteboard;
    std::unique_ptr<brisel::mac::MacAccessibility> _accessibility;
    std::unique_ptr<brisel::mac::MacRunningApplications> _applications;
    std::unique_ptr<brisel::mac::MacHotKeys> _hotKeys;
    std::unique_ptr<brisel::mac::MacKeyboardLayout> _keyboardLayout;
    std::unique_ptr<brisel::mac::MacUserDefaults> _preferences;
    std::unique_ptr<brisel::mac::MacSettingsWindow> _settingsWindow;
    std::unique_ptr<brisel::mac::MacSavePanel> _savePanel;
    std::unique_ptr<brisel::mac::MacConfiguration> _configuration;
    std::unique_ptr<brisel::mac::MacAppleSignIn> _apple;
#if BRISEL_HAS_GOOGLE_SIGN_IN
    std::unique_ptr<brisel::mac::MacGoogleSignIn> _google;
#endif
    std::unique_ptr<brisel::Companion> _core;
}

- (instancetype)initWithSettings:(const brisel::CompanionSettings&)settings {
    self = [super init];
    if (!self) return nil;
    _mainQueue = std::make_unique<brisel::mac::MacMainQueue>();
    _http = std::make_unique<brisel::mac::MacHttpClient>();
    _launcher = std::make_unique<brisel::PosixProcessLauncher>();
    _application = std::make_unique<brisel::mac::MacApplication>(self);
    _webView = std::make_unique<brisel::mac::MacWebView>(self);
    _panel = std::make_unique<brisel::mac::MacPanel>(*_webView, self);
    _workspace = std::make_unique<brisel::mac::MacWorkspace>();
    _background = std::make_unique<brisel::mac::MacBackgroundQueue>();
    _pasteboard = std::make_unique<brisel::mac::MacPasteboard>();
    _accessibility = std::make_unique<brisel::mac::MacAccessibility>();
    _applications = std::make_unique<brisel::mac::MacRunningApplications>();
    _hotKeys = std::make_unique<brisel::mac::MacHotKeys>();
    _keyboardLayout = std::make_unique<brisel::mac::MacKeyboardLayout>();
    _preferences = std::make_unique<brisel::mac::MacUserDefaults>();
    _settingsWindow = std::make_unique<brisel::mac::MacSettingsWindow>(*_keyboardLayout);
    _savePanel = std::make_unique<brisel::mac::MacSavePanel>(*_panel);
    _configuration = std::make_unique<brisel::mac::MacConfiguration>();
    _apple = std::make_unique<brisel::mac::MacAppleSignIn>(*_panel);
#if BRISEL_HAS_GOOGLE_SIGN_IN
    _google = std::make_unique<brisel::mac::MacGoogleSignIn>(*_panel);
#endif
    _core = std::make_unique<brisel::Companion>(
        brisel::CompanionPorts{
            .mainQueue = *_mainQueue,
            .http = *_http,
            .launcher = *_launcher,
            .application = *_application,
            .panel = *_panel,
            .webView = *_webView,
            .workspace = *_workspace,
            .background = *_background,
            .pasteboard = *_pasteboard,
            .accessibility = *_accessibility,
            .applications = *_applications,
            .hotKeys = *_hotKeys,
            .keyboardLayout = *_keyboardLayout,
            .preferences = *_preferences,
            .settingsWindow = *_settingsWindow,
            .keyRecorder = *_settingsWindow,
            .savePanel = *_savePanel,
            .configuration = *_configuration,
            .apple = _apple.get(),
#if BRISEL_HAS_GOOGLE_SIGN_IN
            .google = _google.get(),
#endif
        },
        settings);
    _panel->attach(_core->readingControls());
    return self;
}

// MARK: - Application

- (void)applicationDidFinishLaunching:(NSNotification*)notification {
    _core->applicationDidFinishLaunching();
}

- (void)applicationDidBecomeActive:(NSNotification*)notification {
    _core->applicationDidBecomeActive();
}

- (BOOL)applicationShouldHandleReopen:(NSApplication*)sender hasVisibleWindows:(BOOL)flag {
    return _core->applicationShouldHandleReopen();
}

- (BOOL)applicationShouldTerminateAfterLastWindowClosed:(NSApplication*)sender {
    return _core->applicationShouldTerminateAfterLastWindowClosed();
}

- (void)applicationWillTerminate:(NSNotification*)notification {
    _core->applicationWillTerminate();
}

// Google's sign-in redirect comes back this way.
- (void)application:(NSApplication*)application openURLs:(NSArray<NSURL*>*)urls {
    for (NSURL* url in urls) _core->openURL(brisel::mac::stdString(url.absoluteString));
}

- (IBAction)openCompanion:(id)sender {
    _core->openCompanion();
}

- (IBAction)openSettings:(id)sender {
    _core->openSettings();
}

// MARK: - Windows

- (BOOL)windowShouldClose:(NSWindow*)sender {
    if (sender == _panel->window()) return _core->panelShouldClose();
    return YES;
}

// MARK: - Navigation

- (void)webView:(WKWebView*)webView
    decidePolicyForNavigationAction:(WKNavigationAction*)navigationAction
                    decisionHandler:(void (^)(WKNavigationActionPolicy))decisionHandler {
    NSURL* url = navigationAction.request.URL;
    const auto target = url ? std::optional<std::string>(brisel::mac::stdString(url.absoluteString)) : std::nullopt;
    const bool allow =
        _core->decidePolicyForNavigation(target, navigationAction.navigationType == WKNavigationTypeLinkActivated);
    decisionHandler(allow ? WKNavigationActionPolicyAllow : WKNavigationActionPolicyCancel);
}

- (void)webView:(WKWebView*)webView didStartProvisionalNavigation:(WKNavigation*)navigation {
    _core->didStartProvisionalNavigation();
}

- (void)webView:(WKWebView*)webView didFinishNavigation:(WKNavigation*)navigation {
    _core->didFinishNavigation();
}

- (void)webView:(WKWebView*)webView didFailNavigation:(WKNavigation*)navigation withError:(NSError*)error {
    _core->didFailNavigation(brisel::mac::webErrorOf(error), false);
}

- (void)webView:(WKWebView*)webView
    didFailProvisionalNavigation:(WKNavigation*)navigation
                       withError:(NSError*)error {
    _core->didFailNavigation(brisel::mac::webErrorOf(error), true);
}

- (void)webViewWebContentProcessDidTerminate:(WKWebView*)webView {
    _core->webContentProcessDidTerminate();
}

// MARK: - Page messages

- (void)userContentController:(WKUserContentController*)userContentController
      didReceiveScriptMessage:(WKScriptMessage*)message {
    _core->didReceiveScriptMessage(brisel::mac::scriptMessageOf(message));
}

@end
