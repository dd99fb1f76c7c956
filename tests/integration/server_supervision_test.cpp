// The real launcher, HTTP client and probe against the repository's node server, on loopback
// ports of the test's own.
#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include <gtest/gtest.h>

#include "fakes/companion_harness.h"
#include "net/curl_http_client.h"
#include "server/posix_process_launcher.h"

namespace brisel {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

// The main queue on the real clock: the test thread plays the main thread, running tasks as they
// fall due until `done` holds or `limit` passes.
class RealTimeQueue final : public testing::VirtualMainQueue {
public:
    Clock::time_point now() const override { return Clock::now(); }
    bool runUntil(const std::function<bool()>& done, Duration limit) {
        for (const auto deadline = Clock::now() + limit; !done(); std::this_thread::sleep_for(Duration(1))) {
            runUntilIdle();
            if (Clock::now() >= deadline) return done();
        }
        return true;
    }
};

// A loopback port that nobody serves: free, or held by a listener that never says a word.
struct LoopbackPort {
    int fd = ::socket(AF_INET, SOCK_STREAM, 0), number = 0;
    explicit LoopbackPort(bool silentListener) {
        sockaddr_in address{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
        socklen_t length = sizeof address;
        ::bind(fd, reinterpret_cast<sockaddr*>(&address), length);
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
        number = ntohs(address.sin_port);
        silentListener ? ::listen(fd, 64) : ::close(std::exchange(fd, -1));
    }
    ~LoopbackPort() { ::close(fd); }
};

// A bundle whose runtime is this machine's node and whose scripts are the repository's.
class ServerSupervisionTest : public ::testing::Test {
protected:
    void SetUp() override {
        testing::writeFile(home / "Resources/runtime-mode.txt", "external-development\n");
        testing::writeFile(home / "Resources/node-path.txt", BRISEL_NODE);
        fs::create_directory_symlink(fs::path(BRISEL_SOURCE_DIR) / "server", home / "Resources/server");
    }
    Companion& make(int port) {
        CompanionSettings settings{.localURL = "http://127.0.0.1:" + std::to_string(port), .resources = home / "Resources",
                                   .logFolder = home / "logs", .environment = currentEnvironment()};
        settings.environment["NODE_OPTIONS"] = "--require /nonexistent/preload.js";  // would stop node
        companion = std::make_unique<Companion>(desktop.ports(queue, http, launcher), settings);
        return *companion;
    }
    Probe probe() {
        std::optional<Probe> outcome;
        companion->probeServer([&](Probe probe) { outcome = probe; });
        EXPECT_TRUE(queue.runUntil([&] { return outcome.has_value(); }, 5s));
        return outcome.value_or(Probe::unavailable);
    }
    bool launchLoads(int port, size_t loads) {
        make(port).applicationDidFinishLaunching();
        return queue.runUntil([&] { return desktop.webView.loads.size() == loads; }, 20s);
    }

    testing::TempDir home;
    RealTimeQueue queue;
    CurlHttpClient http;
    PosixProcessLauncher launcher;
    testing::FakeDesktop desktop;
    std::unique_ptr<Companion> companion;
};

TEST_F(ServerSupervisionTest, LaunchesTheBundledServerWhichAnotherRunUsesAndOnlyItsLauncherStops) {
    const LoopbackPort port(false);
    ASSERT_TRUE(launchLoads(port.number, 1)) << desktop.panel.startupLabel.value_or("");
    EXPECT_TRUE(companion->launchedServer());
    auto first = std::exchange(companion, nullptr);

    ASSERT_TRUE(launchLoads(port.number, 2));
    EXPECT_FALSE(companion->launchedServer()) << "the running server is used as it is";
    companion->applicationWillTerminate();
    companion = std::move(first);
    EXPECT_EQ(probe(), Probe::ready) << "a server another run launched is left alone";

    companion->applicationWillTerminate();
    EXPECT_TRUE(queue.runUntil([&] { return probe() == Probe::unavailable; }, 10s)) << "its own server stops";
}

TEST_F(ServerSupervisionTest, AListenerThatNeverAnswersIsUnavailableWithinTheProbeTimeOut) {
    const LoopbackPort silent(true);
    make(silent.number);
    const auto started = Clock::now();
    EXPECT_EQ(probe(), Probe::unavailable);
    EXPECT_LT(Clock::now() - started, 3s) << "bounded by the 0.75-second time-out";
}

// The child holds no descriptor of this process but its three streams, whether or not it was
// opened close-on-exec, and a child that ends by itself is collected without anyone asking.
TEST(PosixProcessLauncher, TheChildInheritsNoDescriptorAndIsCollectedWhenItEnds) {
    testing::TempDir dir;
    testing::writeFile(dir / "marker", "");
    const int marker = ::open((dir / "marker").c_str(), O_RDONLY);
    const char* script = R"(const fs = require('fs'), out = process.argv[1], fds = fs.readdirSync('/proc/self/fd');
        const files = Object.fromEntries(fds.map((fd) => { try { return [fd, fs.readlinkSync(`/proc/self/fd/${fd}`)]; } catch { return [fd, '']; } }));
        fs.writeFileSync(out + '.part', JSON.stringify({ pid: process.pid, files }));
        fs.renameSync(out + '.part', out);)";
    const auto child = PosixProcessLauncher().launch({BRISEL_NODE, {"-e", script, (dir / "seen").string()}, dir.path().string(), {}});
    ::close(marker);
    const auto eventually = [](const std::function<bool()>& condition) { return RealTimeQueue().runUntil(condition, 20s); };
    ASSERT_TRUE(child && eventually([&] { return fs::exists(dir / "seen"); }));
    const auto seen = nlohmann::json::parse(testing::readFile(dir / "seen"));
    for (const auto& [fd, file] : seen["files"].items()) EXPECT_NE(file, (dir / "marker").string()) << "descriptor " << fd;
    for (const char* fd : {"0", "1", "2"}) EXPECT_EQ(seen["files"][fd], "/dev/null");
    EXPECT_TRUE(eventually([pid = seen["pid"].get<pid_t>()] {
        siginfo_t info{};
        return ::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) < 0 && errno == ECHILD;
    })) << "no zombie is left";
    EXPECT_FALSE(child->isRunning());
}

}  // namespace
}  // namespace brisel
