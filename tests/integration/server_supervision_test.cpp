// The real launcher and probe against real node servers on loopback ports of the test's own.
#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <thread>

#include <gtest/gtest.h>

#include "app/companion.h"
#include "app/texts.h"
#include "fakes/companion_harness.h"
#include "fakes/real_time_queue.h"
#include "fakes/temp_dir.h"
#include "net/curl_http_client.h"
#include "server/posix_process_launcher.h"

namespace brisel {
namespace {

using namespace std::chrono_literals;

int freeLoopbackPort() {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    socklen_t length = sizeof address;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
    ::close(fd);
    return ntohs(address.sin_port);
}

// A loopback listener that accepts connections and never says a word.
class SilentListener {
public:
    SilentListener() : fd_(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address);
        ::listen(fd_, 64);
        socklen_t length = sizeof address;
        ::getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length);
        port_ = ntohs(address.sin_port);
    }
    ~SilentListener() { ::close(fd_); }
    int port() const { return port_; }

private:
    int fd_;
    int port_ = 0;
};

// The page server of this repository, started by the test itself.
class NodeServer {
public:
    NodeServer(const std::string& script, int port, const std::map<std::string, std::string>& extra = {}) {
        Environment environment = currentEnvironment();
        environment["PORT"] = std::to_string(port);
        environment["HOST"] = "127.0.0.1";
        environment.insert(extra.begin(), extra.end());
        process_ = PosixProcessLauncher().launch({BRISEL_NODE, {script}, BRISEL_SOURCE_DIR, environment});
    }
    ~NodeServer() {
        if (process_) process_->terminate();
    }
    ChildProcess& process() { return *process_; }

private:
    std::unique_ptr<ChildProcess> process_;
};

class ServerSupervisionTest : public ::testing::Test {
protected:
    void SetUp() override {
        port = freeLoopbackPort();
        // A bundle whose runtime is this machine's node and whose scripts are the repository's.
        testing::writeFile(resources() / "runtime-mode.txt", "external-development\n");
        testing::writeFile(resources() / "node-path.txt", BRISEL_NODE);
        std::filesystem::create_directory_symlink(std::filesystem::path(BRISEL_SOURCE_DIR) / "server", resources() / "server");
    }

    std::filesystem::path resources() const { return home / "Brisel/Contents/Resources"; }
    std::string localURL() const { return "http://127.0.0.1:" + std::to_string(port); }

    Companion& make() {
        CompanionSettings settings;
        settings.localURL = localURL();
        settings.resources = resources();
        settings.logFolder = home / "logs";
        settings.environment = currentEnvironment();
        settings.environment["NODE_OPTIONS"] = "--require /nonexistent/preload.js";  // would stop node
        companion = std::make_unique<Companion>(
            desktop.ports(queue, http, launcher), settings);
        return *companion;
    }

    Companion& launch() {
        make().applicationDidFinishLaunching();
        return *companion;
    }

    Probe probeOnce() {
        std::optional<Probe> outcome;
        companion->probeServer([&](Probe probe) { outcome = probe; });
        EXPECT_TRUE(queue.runUntil([&] { return outcome.has_value(); }, 5s));
        return outcome.value_or(Probe::unavailable);
    }

    // Probes until the answer is `expected`; the servers here start within a fraction of a second.
    bool probeUntil(Probe expected, Duration limit) {
        const auto deadline = Clock::now() + limit;
        while (Clock::now() < deadline) {
            if (probeOnce() == expected) return true;
        }
        return false;
    }

    testing::TempDir home;
    int port = 0;
    testing::RealTimeQueue queue;
    CurlHttpClient http;
    PosixProcessLauncher launcher;
    testing::FakeDesktop desktop;
    testing::FakePanel& panel = desktop.panel;
    testing::FakeWebView& webView = desktop.webView;
    std::unique_ptr<Companion> companion;
};

TEST_F(ServerSupervisionTest, LaunchesTheBundledServerAndStopsItAtExit) {
    auto& companion = launch();
    ASSERT_TRUE(queue.runUntil([&] { return !webView.loads.empty(); }, 20s)) << panel.startupLabel.value_or("");
    EXPECT_EQ(webView.loads.front(), localURL());
    EXPECT_TRUE(companion.launchedServer());
    EXPECT_EQ(probeOnce(), Probe::ready);

    companion.applicationWillTerminate();
    EXPECT_TRUE(probeUntil(Probe::unavailable, 10s))
        << "the server this process launched is gone";
}

TEST_F(ServerSupervisionTest, UsesACompatibleServerAlreadyRunningAndLeavesItRunning) {
    NodeServer running((std::filesystem::path(BRISEL_SOURCE_DIR) / "server/server.mjs").string(), port);
    make();
    ASSERT_TRUE(probeUntil(Probe::ready, 20s));
    companion->applicationDidFinishLaunching();
    ASSERT_TRUE(queue.runUntil([&] { return !webView.loads.empty(); }, 10s));
    EXPECT_FALSE(companion->launchedServer());
    companion->applicationWillTerminate();
    companion.reset();
    EXPECT_TRUE(running.process().isRunning());
}

TEST_F(ServerSupervisionTest, APortHeldByAnIncompatibleAnswererIsReportedWithoutALaunch) {
    NodeServer cloud((std::filesystem::path(BRISEL_SOURCE_DIR) / "server/desktop-server.mjs").string(), port);
    make();
    ASSERT_TRUE(probeUntil(Probe::mismatch, 20s));
    companion->applicationDidFinishLaunching();
    ASSERT_TRUE(queue.runUntil([&] { return panel.startupLabel == texts::portHeldByOther; }, 10s));
    EXPECT_FALSE(companion->launchedServer());
    EXPECT_TRUE(webView.loads.empty());
}

TEST_F(ServerSupervisionTest, AListenerThatNeverAnswersIsUnavailableWithinTheProbeTimeOut) {
    SilentListener silent;
    port = silent.port();
    CompanionSettings settings;
    settings.localURL = localURL();
    settings.logFolder = home / "logs";
    companion = std::make_unique<Companion>(
        desktop.ports(queue, http, launcher), settings);
    const auto started = Clock::now();
    EXPECT_EQ(probeOnce(), Probe::unavailable);
    EXPECT_LT(Clock::now() - started, 3s) << "bounded by the 0.75-second time-out";
}

// The child holds no descriptor of this process but its three streams, whether or not it was
// opened close-on-exec, and a child that ends by itself is collected without anyone asking.
TEST(PosixProcessLauncher, TheChildInheritsNoDescriptorAndIsCollectedWhenItEnds) {
    testing::TempDir dir;
    testing::writeFile(dir / "marker", "");
    const int marker = ::open((dir / "marker").c_str(), O_RDONLY);
    const char* script = R"(const fs = require('fs');
        const files = Object.fromEntries(fs.readdirSync('/proc/self/fd').map((fd) => { try { return [fd, fs.readlinkSync('/proc/self/fd/' + fd)]; } catch { return [fd, '']; } }));
        fs.writeFileSync(process.argv[1] + '.part', JSON.stringify({ pid: process.pid, files }));
        fs.renameSync(process.argv[1] + '.part', process.argv[1]);)";
    const auto report = dir / "report.json";
    auto child = PosixProcessLauncher().launch({BRISEL_NODE, {"-e", script, report.string()}, dir.path().string(), currentEnvironment()});
    ::close(marker);
    ASSERT_TRUE(child);
    const auto eventually = [](const std::function<bool()>& condition) {
        for (const auto deadline = Clock::now() + 20s; Clock::now() < deadline; std::this_thread::sleep_for(5ms)) {
            if (condition()) return true;
        }
        return false;
    };
    ASSERT_TRUE(eventually([&] { return std::filesystem::exists(report); }));
    const auto seen = nlohmann::json::parse(testing::readFile(report));
    for (const auto& [fd, file] : seen["files"].items()) EXPECT_NE(file, (dir / "marker").string()) << "descriptor " << fd;
    for (const char* fd : {"0", "1", "2"}) EXPECT_EQ(seen["files"][fd], "/dev/null");
    const pid_t pid = seen["pid"];
    EXPECT_TRUE(eventually([pid] {
        siginfo_t info{};
        return ::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) < 0 && errno == ECHILD;
    })) << "no zombie is left";
    EXPECT_FALSE(child->isRunning());
}

}  // namespace
}  // namespace brisel
