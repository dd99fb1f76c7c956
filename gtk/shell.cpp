#include "shell.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "frame_message.h"

namespace brisel::gtk {

namespace {

// Sign in with Apple does not exist on Linux and Google's library is not built here, so
// sign-in answers "unconfigured"; the values still feed the bridge's other checks.
JsonConfigurationValues configurationValues(const std::optional<std::filesystem::path>& resources) {
    return resources ? JsonConfigurationValues::fromFile(*resources / "configuration.json") : JsonConfigurationValues();
}

// The web extension is built into the bundle's resources. WebKit's web inspector is for
// developers only: BRISEL_WEB_INSPECTOR=1 turns it on.
WebViewOptions webViewOptions(const std::optional<std::filesystem::path>& resources) {
    const char* inspector = std::getenv("BRISEL_WEB_INSPECTOR");
    return {resources ? std::optional(*resources / frame_message::extensionsFolder) : std::nullopt,
            inspector && std::strcmp(inspector, "1") == 0};
}

}  // namespace

Shell::Shell(std::string localURL, ShellFolders folders, Duration pageLoadTimeout)
    : webView_(webViewOptions(folders.resources)),
      preferences_(folders.preferences),
      settingsWindow_(keyboardLayout_),
      keyRecorder_(settingsWindow_),
      configuration_(configurationValues(folders.resources)),
      panel_(webView_, desktop_.menus(),
             {[this](MenuAction action) { menuAction(action); }, [](MenuAction) { return true; },
              [this] { return companion_->panelShouldClose(); }}),
      saveDialog_([this] { return panel_.window(); }),
      activation_([this] { companion_->applicationDidBecomeActive(); }) {
    desktop_.setApplications(applications_);
    CompanionSettings settings;
    settings.localURL = std::move(localURL);
    settings.cloudBackend = readCloudBackend(folders.resources);
    settings.resources = folders.resources;
    settings.logFolder = folders.log;
    settings.environment = currentEnvironment();
    settings.processID = static_cast<int64_t>(::getpid());
    settings.pageLoadTimeout = pageLoadTimeout;
    companion_ = std::make_unique<Companion>(CompanionPorts{.mainQueue = mainQueue_,
                                                            .http = http_,
                                                            .launcher = launcher_,
                                                            .application = desktop_,
                                                            .panel = panel_,
                                                            .webView = webView_,
                                                            .workspace = desktop_,
                                                            .background = background_,
                                                            .pasteboard = clipboard_,
                                                            .accessibility = accessibility_,
                                                            .applications = applications_,
                                                            .hotKeys = hotKeys_,
                                                            .keyboardLayout = keyboardLayout_,
                                                            .preferences = preferences_,
                                                            .settingsWindow = settingsWindow_,
                                                            .keyRecorder = keyRecorder_,
                                                            .savePanel = saveDialog_,
                                                            .configuration = configuration_},
                                             std::move(settings));
    webView_.attach(*companion_);
    panel_.attach(companion_->readingControls());
}

Shell::~Shell() = default;

void Shell::menuAction(MenuAction action) {
    WebKitWebView* web = webView_.widget();
    switch (action) {
    case MenuAction::openCompanion: companion_->openCompanion(); break;
    case MenuAction::openSettings: companion_->openSettings(); break;
    case MenuAction::quit: desktop_.terminate(); break;
    case MenuAction::copy: webkit_web_view_execute_editing_command(web, WEBKIT_EDITING_COMMAND_COPY); break;
    case MenuAction::paste: webkit_web_view_execute_editing_command(web, WEBKIT_EDITING_COMMAND_PASTE); break;
    case MenuAction::selectAll: webkit_web_view_execute_editing_command(web, WEBKIT_EDITING_COMMAND_SELECT_ALL); break;
    case MenuAction::minimize: gtk_window_iconify(panel_.window()); break;
    case MenuAction::separator: break;
    }
}

}  // namespace brisel::gtk
