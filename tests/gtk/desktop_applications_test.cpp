// GoogleTest before Xlib, whose None and Bool macros would break its headers.
#include <gtest/gtest.h>

#include <X11/Xatom.h>
#include <gdk/gdkx.h>
#include <gtk/gtk.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <optional>
#include <string>

#include "desktop_applications.h"
#include "gtk/child_process.h"
#include "gtk/eventually.h"
#include "gtk/other_x_client.h"

namespace brisel::gtk {
namespace {

using testing::ChildProcess;

bool contains(const std::vector<RunningApplication>& applications, int32_t pid) {
    return std::any_of(applications.begin(), applications.end(), [&](const auto& app) { return app.processID == pid; });
}

constexpr const char* readerDesktopFile = "GIO_LAUNCHED_DESKTOP_FILE=/usr/share/applications/org.example.Reader.desktop";

TEST(DesktopApplications, AProcessIsKnownByItsDesktopIDOrElseItsExecutable) {
    DesktopApplications applications;
    ChildProcess plain({"sleep", "60"});
    // Launched the way GIO launches a desktop file, the shell becoming the program it launches.
    ChildProcess launched({"env", readerDesktopFile, "sh", "-c", "GIO_LAUNCHED_DESKTOP_FILE_PID=$$ exec sleep 60"});
    // What a launched application starts inherits the variables, but is some other program.
    ChildProcess inherited({"env", readerDesktopFile, "GIO_LAUNCHED_DESKTOP_FILE_PID=1", "sleep", "60"});
    // The launched child is a shell until it has exec'd.
    ASSERT_TRUE(testing::eventually([&] { return applicationIdentity(launched.pid()) == "org.example.Reader"; }));
    ASSERT_TRUE(testing::eventually([&] { return applicationIdentity(plain.pid()) == "sleep"; }));
    ASSERT_TRUE(testing::eventually([&] { return applicationIdentity(inherited.pid()) == "sleep"; }));

    EXPECT_EQ(applications.runningApplications("org.example.Reader"),
              (std::vector<RunningApplication>{{launched.pid(), "org.example.Reader"}}));
    const auto sleeping = applications.runningApplications("sleep");
    EXPECT_TRUE(contains(sleeping, plain.pid()));
    EXPECT_FALSE(contains(sleeping, launched.pid()));
    EXPECT_EQ(applicationIdentity(getpid()), "app.brisel.Brisel");
    EXPECT_EQ(applications.ownBundleID(), "app.brisel.Brisel");

    const RunningApplication sleeper{plain.pid(), "sleep"};
    EXPECT_FALSE(applications.isTerminated(sleeper));
    EXPECT_TRUE(applications.isTerminated({plain.pid(), "org.example.Reader"}));
    // Killed but not waited for: a zombie, whose /proc entry is still there.
    kill(plain.pid(), SIGKILL);
    siginfo_t ended{};
    waitid(P_PID, static_cast<id_t>(plain.pid()), &ended, WEXITED | WNOWAIT);
    EXPECT_TRUE(applications.isTerminated(sleeper));
    EXPECT_FALSE(contains(applications.runningApplications("sleep"), plain.pid()));
}

// Stands in for the window manager: owns the root's EWMH properties and receives requests.
class WindowManager {
public:
    WindowManager() {
        XSelectInput(client_.display(), client_.root(), SubstructureRedirectMask);
        XSync(client_.display(), False);
    }
    ~WindowManager() {
        for (const char* property : {"_NET_ACTIVE_WINDOW", "_NET_CLIENT_LIST_STACKING"}) {
            XDeleteProperty(client_.display(), client_.root(), client_.atom(property));
        }
        XSync(client_.display(), False);
    }

    Window windowOf(int32_t pid) {
        const Window window = XCreateSimpleWindow(client_.display(), client_.root(), 0, 0, 10, 10, 0, 0, 0);
        const long value = pid;
        XChangeProperty(client_.display(), window, client_.atom("_NET_WM_PID"), XA_CARDINAL, 32, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(&value), 1);
        return window;
    }
    void setWindows(const char* property, std::vector<Window> windows) {
        const std::vector<long> values(windows.begin(), windows.end());
        XChangeProperty(client_.display(), client_.root(), client_.atom(property), XA_WINDOW, 32, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(values.data()), static_cast<int>(values.size()));
        XSync(client_.display(), False);
    }
    // The window of the next _NET_ACTIVE_WINDOW request, if one comes within a second.
    std::optional<Window> activationRequest() {
        Display* display = client_.display();
        pollfd connection{ConnectionNumber(display), POLLIN, 0};
        while (XPending(display) || poll(&connection, 1, 1000) > 0) {
            XEvent event;
            XNextEvent(display, &event);
            if (event.type == ClientMessage && event.xclient.message_type == client_.atom("_NET_ACTIVE_WINDOW")) {
                return event.xclient.window;
            }
        }
        return std::nullopt;
    }

private:
    testing::OtherXClient client_;
};

TEST(DesktopApplications, TheFrontmostApplicationIsTheActiveWindowsProcess) {
    DesktopApplications applications;
    WindowManager manager;
    EXPECT_FALSE(applications.frontmostApplication());

    ChildProcess reader({"sleep", "60"});
    ASSERT_TRUE(testing::eventually([&] { return applicationIdentity(reader.pid()) == "sleep"; }));
    const Window readerWindow = manager.windowOf(reader.pid());
    manager.setWindows("_NET_ACTIVE_WINDOW", {readerWindow});
    EXPECT_EQ(applications.frontmostApplication(), (RunningApplication{reader.pid(), "sleep"}));

    // GDK marks our own windows with our process ID.
    GtkWidget* panel = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_widget_realize(panel);
    manager.setWindows("_NET_ACTIVE_WINDOW", {GDK_WINDOW_XID(gtk_widget_get_window(panel))});
    EXPECT_EQ(applications.frontmostApplication(), (RunningApplication{getpid(), "app.brisel.Brisel"}));
    gtk_widget_destroy(panel);
}

TEST(DesktopApplications, ActivationAsksTheWindowManagerForTheApplicationsTopWindow) {
    DesktopApplications applications;
    WindowManager manager;
    ChildProcess reader({"sleep", "60"});
    const Window lower = manager.windowOf(reader.pid());
    const Window upper = manager.windowOf(reader.pid());
    manager.setWindows("_NET_CLIENT_LIST_STACKING", {lower, manager.windowOf(getpid()), upper});

    applications.activate({reader.pid(), "sleep"});
    EXPECT_EQ(manager.activationRequest(), upper);
}

}  // namespace
}  // namespace brisel::gtk
