// Brisel on Linux: the same core as on macOS, hosted in GTK 3 and WebKitGTK.
#include <glib-unix.h>
#include <gtk/gtk.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>

#include "screenshot.h"
#include "shell.h"

namespace {

using namespace brisel;

// How long the exit waits for a clipboard manager to take the clipboard over.
constexpr Duration clipboardHandOverLimit{3000};

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

}  // namespace

int main(int argc, char** argv) {
    const auto options = parseOptions(argc, argv);
    if (!options) {
        usage();
        return 2;
    }
    // The hot key, the clipboard and the frontmost window are X11's; under Wayland, XWayland serves them.
    gdk_set_allowed_backends("x11");
    if (!gtk_init_check(&argc, &argv)) {
        std::cerr << "Brisel needs a display. Without one, run it through scripts/run.sh, which starts Xvfb.\n";
        return 1;
    }
    g_set_prgname("brisel");
    g_set_application_name("Brisel");

    const auto preferences = FileKeyValueStore::userFolder(std::getenv("XDG_CONFIG_HOME"), std::getenv("HOME"));
    // Without any home the bindings still work for this run, kept in the temporary folder; the
    // start-up log is not kept at all.
    const auto log = StartupDiagnostics::linuxFolder(std::getenv("XDG_STATE_HOME"), std::getenv("HOME"));
    gtk::Shell shell(options->localURL, {resourcesFolder(), log,
                                         preferences.value_or(std::filesystem::temp_directory_path() / "Brisel")});
    Companion& companion = shell.companion();

    // Quitting from the terminal or the session ends like "Briselを終了": the server we started stops.
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) {
        g_unix_signal_add(signal, +[](gpointer) -> gboolean { gtk_main_quit(); return G_SOURCE_CONTINUE; }, nullptr);
    }

    companion.applicationDidFinishLaunching();
    std::unique_ptr<gtk::Screenshot> screenshot;
    if (!options->screenshot.empty()) {
        screenshot = std::make_unique<gtk::Screenshot>(shell.panel(), companion, options->screenshot,
                                                      std::chrono::seconds(options->screenshotTimeoutSeconds));
    }
    gtk_main();
    companion.applicationWillTerminate();
    // A clipboard we put back after a capture would end with this process; a clipboard
    // manager, where one runs, keeps it. Without one it goes, as any X program's does.
    shell.clipboard().handOverToClipboardManager(clipboardHandOverLimit);
    return screenshot && !(screenshot->saved() && screenshot->legible()) ? 1 : 0;
}
