// Brisel on Linux: the same core as on macOS, hosted in GTK 3 and WebKitGTK.
#include <glib-unix.h>
#include <gtk/gtk.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>

#include "app/companion.h"
#include "glib_main_queue.h"
#include "linux_desktop.h"
#include "net/curl_http_client.h"
#include "panel_window.h"
#include "screenshot.h"
#include "server/posix_process_launcher.h"
#include "web_view.h"

namespace {

using namespace brisel;

struct Options {
    std::string localURL = productLocalURL;
    std::string screenshot;
    int screenshotTimeoutSeconds = 45;
};

void usage() {
    std::cerr << "usage: brisel [--screenshot FILE.png [--screenshot-timeout SECONDS]] [--local-url URL]\n"
                 "  --screenshot FILE    save a picture of the panel once the page is ready, then quit\n"
                 "  --local-url URL      serve the page on another loopback port (development and tests)\n";
}

std::optional<Options> parseOptions(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const bool hasValue = i + 1 < argc;
        if (argument == "--screenshot" && hasValue) {
            options.screenshot = argv[++i];
        } else if (argument == "--screenshot-timeout" && hasValue) {
            options.screenshotTimeoutSeconds = std::atoi(argv[++i]);
        } else if (argument == "--local-url" && hasValue) {
            options.localURL = argv[++i];
        } else {
            return std::nullopt;
        }
    }
    return options;
}

// The bundle is laid out like Brisel.app: this executable in Contents/MacOS, resources beside it.
std::optional<std::filesystem::path> resourcesFolder() {
    std::error_code error;
    const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) return std::nullopt;
    const auto resources = executable.parent_path().parent_path() / "Resources";
    if (!std::filesystem::is_directory(resources, error)) return std::nullopt;
    return resources;
}

// The start-up log lives in the XDG state folder, where Linux keeps logs of a user's programs.
std::filesystem::path logFolder() {
    if (const char* state = std::getenv("XDG_STATE_HOME"); state && *state == '/') {
        return std::filesystem::path(state) / "Brisel";
    }
    const char* home = std::getenv("HOME");
    return std::filesystem::path(home && *home ? home : "/tmp") / ".local/state/Brisel";
}

}  // namespace

int main(int argc, char** argv) {
    const auto options = parseOptions(argc, argv);
    if (!options) {
        usage();
        return 2;
    }
    if (!gtk_init_check(&argc, &argv)) {
        std::cerr << "Brisel needs a display. Without one, run it through scripts/run.sh, which starts Xvfb.\n";
        return 1;
    }
    g_set_prgname("brisel");
    g_set_application_name("Brisel");

    const auto resources = resourcesFolder();
    CompanionSettings settings;
    settings.localURL = options->localURL;
    settings.cloudBackend = readCloudBackend(resources);
    settings.resources = resources;
    settings.logFolder = logFolder();
    settings.environment = currentEnvironment();
    settings.processID = static_cast<int64_t>(::getpid());

    gtk::GlibMainQueue mainQueue;
    CurlHttpClient http;
    PosixProcessLauncher launcher;
    gtk::LinuxDesktop desktop;
    gtk::WebView webView;
    std::unique_ptr<Companion> companion;
    gtk::PanelWindow panel(webView, desktop.menus(),
                           {[&](MenuAction action) {
                                switch (action) {
                                case MenuAction::openCompanion: companion->openCompanion(); break;
                                case MenuAction::quit: gtk_main_quit(); break;
                                case MenuAction::copy:
                                    webkit_web_view_execute_editing_command(webView.widget(), WEBKIT_EDITING_COMMAND_COPY);
                                    break;
                                case MenuAction::paste:
                                    webkit_web_view_execute_editing_command(webView.widget(), WEBKIT_EDITING_COMMAND_PASTE);
                                    break;
                                case MenuAction::selectAll:
                                    webkit_web_view_execute_editing_command(webView.widget(),
                                                                            WEBKIT_EDITING_COMMAND_SELECT_ALL);
                                    break;
                                case MenuAction::minimize: gtk_window_iconify(panel.window()); break;
                                case MenuAction::openSettings:
                                case MenuAction::separator: break;
                                }
                            },
                            // The settings window arrives with the shortcut settings.
                            [](MenuAction action) { return action != MenuAction::openSettings; },
                            [&] { return companion->panelShouldClose(); }});
    desktop.setPanel(panel);
    companion = std::make_unique<Companion>(
        CompanionPorts{mainQueue, http, launcher, desktop, panel, webView, desktop}, settings);
    webView.attach(*companion);
    panel.attach(companion->readingControls());

    // Quitting from the terminal or the session ends like "Briselを終了": the server we started stops.
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) {
        g_unix_signal_add(signal, +[](gpointer) -> gboolean { gtk_main_quit(); return G_SOURCE_CONTINUE; }, nullptr);
    }

    companion->applicationDidFinishLaunching();
    std::unique_ptr<gtk::Screenshot> screenshot;
    if (!options->screenshot.empty()) {
        screenshot = std::make_unique<gtk::Screenshot>(panel, *companion, options->screenshot,
                                                      std::chrono::seconds(options->screenshotTimeoutSeconds));
    }
    gtk_main();
    companion->applicationWillTerminate();
    return screenshot && !screenshot->saved() ? 1 : 0;
}
