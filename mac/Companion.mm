#import "Companion.h"

#include <memory>

#include "Conversions.h"
#include "MacApplication.h"
#include "MacHttpClient.h"
#include "MacMainQueue.h"
#include "MacPanel.h"
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
    _core = std::make_unique<brisel::Companion>(
        brisel::CompanionPorts{*_mainQueue, *_http, *_launcher, *_application, *_panel, *_webView, *_workspace},
        settings);
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

- (IBAction)openCompanion:(id)sender {
    _core->openCompanion();
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
