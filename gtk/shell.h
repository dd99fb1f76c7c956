#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "app/companion.h"
#include "application_activation.h"
#include "atspi_accessibility.h"
#include "desktop_applications.h"
#include "glib_main_queue.h"
#include "linux_desktop.h"
#include "net/curl_http_client.h"
#include "panel_window.h"
#include "save_dialog.h"
#include "server/posix_process_launcher.h"
#include "settings_window.h"
#include "shortcuts/file_key_value_store.h"
#include "web_view.h"
#include "worker_queue.h"
#include "x11_clipboard.h"
#include "x11_hot_keys.h"
#include "xkb_keyboard_layout.h"

namespace brisel::gtk {

struct ShellFolders {
    std::optional<std::filesystem::path> resources;  // the bundle's Contents/Resources
    std::optional<std::filesystem::path> log;         // the start-up log; none without a home
    std::filesystem::path preferences;                // the shortcut bindings
};

// Brisel on Linux, put together: every port over GTK, WebKitGTK and X11, and the companion
// over them. main() runs one; the end-to-end tests run one in their own process.
class Shell {
public:
    Shell(std::string localURL, ShellFolders folders, Duration pageLoadTimeout = CompanionSettings().pageLoadTimeout);
    ~Shell();
    Shell(const Shell&) = delete;
    Shell& operator=(const Shell&) = delete;

    Companion& companion() { return *companion_; }
    PanelWindow& panel() { return panel_; }
    WebView& webView() { return webView_; }
    SettingsWindow& settingsWindow() { return settingsWindow_; }
    X11Clipboard& clipboard() { return clipboard_; }

private:
    void menuAction(MenuAction action);

    GlibMainQueue mainQueue_;
    CurlHttpClient http_;
    PosixProcessLauncher launcher_;
    LinuxDesktop desktop_;
    WebView webView_;
    WorkerQueue background_;
    X11Clipboard clipboard_;
    AtspiAccessibility accessibility_;
    DesktopApplications applications_;
    X11HotKeys hotKeys_;
    XkbKeyboardLayout keyboardLayout_;
    FileKeyValueStore preferences_;
    SettingsWindow settingsWindow_;
    SettingsKeyRecorder keyRecorder_;
    JsonConfigurationValues configuration_;
    PanelWindow panel_;
    SaveDialog saveDialog_;
    std::unique_ptr<Companion> companion_;
    ApplicationActivation activation_;
};

}  // namespace brisel::gtk
