#include "desktop_applications.h"

#include <gdk/gdkx.h>
#include <X11/Xatom.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>

#include "linux_desktop.h"

namespace brisel::gtk {

namespace {

namespace fs = std::filesystem;

std::string procPath(int32_t processID, const char* entry) {
    return "/proc/" + std::to_string(processID) + "/" + entry;
}

std::optional<int32_t> parseProcessID(std::string_view text) {
    int32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value <= 0) return std::nullopt;
    return value;
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// A zombie still has its /proc entry, but the program is gone.
bool isAlive(int32_t processID) {
    const std::string stat = readFile(procPath(processID, "stat"));
    // The state follows the command name, which is in parentheses and may contain anything.
    const size_t nameEnd = stat.rfind(')');
    if (nameEnd == std::string::npos || nameEnd + 2 >= stat.size()) return false;
    const char state = stat[nameEnd + 2];
    return state != 'Z' && state != 'X';
}

// A variable of the environment the process started with; absent when unset, or when the
// process is not ours to read.
std::optional<std::string> environmentVariable(int32_t processID, std::string_view name) {
    const std::string environment = readFile(procPath(processID, "environ"));
    for (size_t start = 0; start < environment.size();) {
        size_t end = environment.find('\0', start);
        if (end == std::string::npos) end = environment.size();
        const std::string_view variable(environment.data() + start, end - start);
        if (variable.size() > name.size() && variable.starts_with(name) && variable[name.size()] == '=') {
            return std::string(variable.substr(name.size() + 1));
        }
        start = end + 1;
    }
    return std::nullopt;
}

// An X display's name without its screen: ":0.0" is the display ":0".
std::string displayName(std::string name) {
    const size_t screen = name.rfind('.');
    if (screen != std::string::npos && screen > name.rfind(':')) name.resize(screen);
    return name;
}

// GIO's launcher sets both variables; children inherit them, so the PID tells whether this
// process is the one launched.
std::optional<std::string> launchedDesktopID(int32_t processID) {
    const auto desktopFile = environmentVariable(processID, "GIO_LAUNCHED_DESKTOP_FILE");
    const auto launchedProcess = environmentVariable(processID, "GIO_LAUNCHED_DESKTOP_FILE_PID");
    if (!desktopFile || !launchedProcess || parseProcessID(*launchedProcess) != processID ||
        !desktopFile->ends_with(".desktop")) {
        return std::nullopt;
    }
    const std::string name = fs::path(*desktopFile).filename().string();
    return name.substr(0, name.size() - std::string_view(".desktop").size());
}

std::optional<std::string> executableName(int32_t processID) {
    std::error_code error;
    std::string target = fs::read_symlink(procPath(processID, "exe"), error).string();
    if (error || target.empty()) return std::nullopt;
    // A program replaced on disk while running (an upgrade) is still the same program.
    constexpr std::string_view deleted = " (deleted)";
    if (target.ends_with(deleted)) target.resize(target.size() - deleted.size());
    return fs::path(target).filename().string();
}

// A CARDINAL or WINDOW list property; empty when absent or when the window is gone.
std::vector<unsigned long> listProperty(Window window, const char* name, Atom type) {
    GdkDisplay* display = gdk_display_get_default();
    Display* xdisplay = gdk_x11_display_get_xdisplay(display);
    Atom actualType = None;
    int format = 0;
    unsigned long count = 0;
    unsigned long remaining = 0;
    unsigned char* data = nullptr;
    gdk_x11_display_error_trap_push(display);
    const int status = XGetWindowProperty(xdisplay, window, gdk_x11_get_xatom_by_name_for_display(display, name), 0,
                                          1 << 16, False, type, &actualType, &format, &count, &remaining, &data);
    gdk_x11_display_error_trap_pop_ignored(display);
    std::vector<unsigned long> values;
    if (status == Success && data && actualType == type && format == 32) {
        // Format 32 arrives as an array of longs, whatever the size of long.
        const auto* longs = reinterpret_cast<const unsigned long*>(data);
        values.assign(longs, longs + count);
    }
    if (data) XFree(data);
    return values;
}

std::optional<int32_t> windowProcessID(Window window) {
    const auto pid = listProperty(window, "_NET_WM_PID", XA_CARDINAL);
    if (pid.empty() || pid.front() == 0) return std::nullopt;
    return static_cast<int32_t>(pid.front());
}

}  // namespace

std::optional<std::string> applicationIdentity(int32_t processID) {
    if (processID == getpid()) return LinuxDesktop::applicationID;
    if (!isAlive(processID)) return std::nullopt;
    if (auto desktopID = launchedDesktopID(processID)) return desktopID;
    return executableName(processID);
}

std::optional<RunningApplication> DesktopApplications::frontmostApplication() const {
    const auto active = listProperty(gdk_x11_get_default_root_xwindow(), "_NET_ACTIVE_WINDOW", XA_WINDOW);
    if (active.empty() || active.front() == None) return std::nullopt;
    const auto processID = windowProcessID(active.front());
    if (!processID) return std::nullopt;
    return RunningApplication{*processID, applicationIdentity(*processID)};
}

std::vector<RunningApplication> DesktopApplications::runningApplications(const std::string& bundleID) const {
    std::vector<int32_t> processIDs;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator("/proc", error)) {
        if (auto processID = parseProcessID(entry.path().filename().string())) processIDs.push_back(*processID);
    }
    std::sort(processIDs.begin(), processIDs.end());
    // Started on our display: one on another display, or another user's, is not on this desktop
    // and cannot be brought forward here.
    const std::string display = displayName(gdk_display_get_name(gdk_display_get_default()));
    std::vector<RunningApplication> found;
    for (int32_t processID : processIDs) {
        if (applicationIdentity(processID) != bundleID) continue;
        const auto processDisplay = environmentVariable(processID, "DISPLAY");
        if (processDisplay && displayName(*processDisplay) == display) found.push_back({processID, bundleID});
    }
    return found;
}

bool DesktopApplications::isTerminated(const RunningApplication& application) const {
    // A reused process ID runs some other program: that application is gone as well.
    const auto identity = applicationIdentity(application.processID);
    return !identity || identity != application.bundleID;
}

void DesktopApplications::activate(const RunningApplication& application) {
    GdkDisplay* display = gdk_display_get_default();
    Display* xdisplay = gdk_x11_display_get_xdisplay(display);
    const Window root = gdk_x11_get_default_root_xwindow();
    // Bottom to top: the last window of the application is the one it was last used in.
    const auto windows = listProperty(root, "_NET_CLIENT_LIST_STACKING", XA_WINDOW);
    const auto window = std::find_if(windows.rbegin(), windows.rend(), [&](unsigned long candidate) {
        return windowProcessID(candidate) == application.processID;
    });
    if (window == windows.rend()) return;
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = *window;
    event.xclient.message_type = gdk_x11_get_xatom_by_name_for_display(display, "_NET_ACTIVE_WINDOW");
    event.xclient.format = 32;
    // Source 2 is a pager: a request on the user's behalf, which window managers do not hold
    // back as focus stealing.
    event.xclient.data.l[0] = 2;
    event.xclient.data.l[1] = static_cast<long>(gdk_x11_display_get_user_time(display));
    XSendEvent(xdisplay, root, False, SubstructureRedirectMask | SubstructureNotifyMask, &event);
    XFlush(xdisplay);
}

std::optional<std::string> DesktopApplications::ownBundleID() const {
    return LinuxDesktop::applicationID;
}

}  // namespace brisel::gtk
