// Which application a process is, as the shell tells Kindle and itself apart. Activation and the
// frontmost application are proven with a real window manager by the capture tests.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <algorithm>

#include "desktop_applications.h"
#include "gtk/child_process.h"
#include "gtk/eventually.h"

namespace brisel::gtk {
namespace {

using testing::ChildProcess;

TEST(DesktopApplications, AProcessIsKnownByItsDesktopIDOrElseItsExecutableUntilItEnds) {
    constexpr const char* desktopFile = "GIO_LAUNCHED_DESKTOP_FILE=/usr/share/applications/org.example.Reader.desktop";
    ChildProcess plain({"sleep", "60"});
    // Launched the way GIO launches a desktop file, the shell becoming the program it launches.
    ChildProcess launched({"env", desktopFile, "sh", "-c", "GIO_LAUNCHED_DESKTOP_FILE_PID=$$ exec sleep 60"});
    // What a launched application starts inherits the variables, but is some other program.
    ChildProcess inherited({"env", desktopFile, "GIO_LAUNCHED_DESKTOP_FILE_PID=1", "sleep", "60"});
    // Each is a shell or env until it has exec'd.
    for (const auto& [child, identity] : {std::pair{&launched, "org.example.Reader"}, {&plain, "sleep"}, {&inherited, "sleep"}}) {
        EXPECT_TRUE(testing::eventually([&] { return applicationIdentity(child->pid()) == identity; })) << identity;
    }
    EXPECT_EQ(applicationIdentity(getpid()), "app.brisel.Brisel");

    DesktopApplications applications;
    EXPECT_EQ(applications.runningApplications("org.example.Reader"),
              (std::vector<RunningApplication>{{launched.pid(), "org.example.Reader"}}));
    const auto running = [&](int32_t pid) {
        const auto sleeping = applications.runningApplications("sleep");
        return std::any_of(sleeping.begin(), sleeping.end(), [&](const auto& app) { return app.processID == pid; });
    };
    EXPECT_TRUE(running(plain.pid()));
    EXPECT_FALSE(running(launched.pid()));
    const RunningApplication sleeper{plain.pid(), "sleep"};
    EXPECT_FALSE(applications.isTerminated(sleeper));
    EXPECT_TRUE(applications.isTerminated({plain.pid(), "org.example.Reader"})) << "another application now";
    // Killed but not waited for: a zombie, whose /proc entry is still there.
    kill(plain.pid(), SIGKILL);
    siginfo_t ended{};
    waitid(P_PID, static_cast<id_t>(plain.pid()), &ended, WEXITED | WNOWAIT);
    EXPECT_TRUE(applications.isTerminated(sleeper));
    EXPECT_FALSE(running(plain.pid()));
}

}  // namespace
}  // namespace brisel::gtk
