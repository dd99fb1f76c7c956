#include "fakes/page_script_runner.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstring>

extern char** environ;

namespace brisel::testing {

namespace {

using nlohmann::json;

// The page, in node. The scripts come as data on stdin, so nothing in them is ever parsed
// as part of the harness; the report goes to stdout as one JSON text.
constexpr const char* harness = R"JS('use strict';
const vm = require('vm');
const input = JSON.parse(require('fs').readFileSync(0, 'utf8'));
const report = { received: [], posted: [], scriptErrors: [], listenerErrors: [], probe: null };
const describe = (error) => {
  if (error && typeof error === 'object' && 'name' in error) return `${error.name}: ${error.message}`;
  return String(error);
};
const copy = (value) => (value === undefined ? null : JSON.parse(JSON.stringify(value)));
process.on('uncaughtException', (error) => report.listenerErrors.push(describe(error)));
if (typeof globalThis.CustomEvent !== 'function') {
  globalThis.CustomEvent = class CustomEvent extends Event {
    constructor(type, init = {}) { super(type, init); this.detail = init.detail ?? null; }
  };
}
const target = new EventTarget();
const location = { origin: input.origin, href: input.origin + '/' };
const window = {
  addEventListener: (...args) => target.addEventListener(...args),
  removeEventListener: (...args) => target.removeEventListener(...args),
  dispatchEvent: (event) => target.dispatchEvent(event),
  location,
  webkit: {
    messageHandlers: new Proxy({}, {
      get: (_, channel) => ({ postMessage: (body) => report.posted.push({ channel: String(channel), body: copy(body) }) }),
    }),
  },
};
globalThis.window = window;
globalThis.location = location;
for (const type of input.listenFor) {
  window.addEventListener(type, (event) => report.received.push({ type, detail: copy(event.detail) }));
}
input.scripts.forEach((source, index) => {
  try {
    vm.runInThisContext(source, { filename: `script-${index}.js` });
    report.scriptErrors.push(null);
  } catch (error) {
    report.scriptErrors.push(describe(error));
  }
});
const AsyncFunction = (async () => {}).constructor;
(async () => {
  for (const call of input.calls) {
    const names = Object.keys(call.arguments);
    try {
      await new AsyncFunction(...names, call.functionBody)(...names.map((name) => call.arguments[name]));
      report.scriptErrors.push(null);
    } catch (error) {
      report.scriptErrors.push(describe(error));
    }
  }
})().then(() => setImmediate(() => {
  if (input.probe) {
    try { report.probe = copy(vm.runInThisContext(input.probe)); } catch (error) { report.probeError = describe(error); }
  }
  process.stdout.write(JSON.stringify(report));
}));
)JS";

std::string nodeExecutable() {
    const char* configured = ::getenv("BRISEL_NODE");
    return configured && *configured ? configured : "node";
}

struct Pipe {
    int read = -1;
    int write = -1;
    bool open() {
        int ends[2];
        if (::pipe(ends) != 0) return false;
        read = ends[0];
        write = ends[1];
        ::fcntl(read, F_SETFD, FD_CLOEXEC);
        ::fcntl(write, F_SETFD, FD_CLOEXEC);
        return true;
    }
    static void close(int& fd) {
        if (fd >= 0) ::close(fd);
        fd = -1;
    }
    ~Pipe() {
        close(read);
        close(write);
    }
};

// Feeds `input` to the child's stdin while draining its stdout and stderr, so neither side
// can block on a full pipe; gives up at `deadline`.
bool exchange(Pipe& in, Pipe& out, Pipe& err, const std::string& input, std::string& stdoutText,
              std::string& stderrText, std::chrono::steady_clock::time_point deadline) {
    size_t sent = 0;
    if (input.empty()) Pipe::close(in.write);
    ::fcntl(in.write, F_SETFL, O_NONBLOCK);
    std::array<char, 65536> buffer;
    while (out.read >= 0 || err.read >= 0) {
        std::array<pollfd, 3> fds{};
        nfds_t count = 0;
        for (int fd : {out.read, err.read}) {
            if (fd >= 0) fds[count++] = {fd, POLLIN, 0};
        }
        if (in.write >= 0) fds[count++] = {in.write, POLLOUT, 0};
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) return false;
        const int ready = ::poll(fds.data(), count, static_cast<int>(left.count()));
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0) return false;
        for (nfds_t i = 0; i < count; ++i) {
            if (!fds[i].revents) continue;
            const int fd = fds[i].fd;
            if (fd == in.write) {
                const ssize_t n = ::write(fd, input.data() + sent, input.size() - sent);
                if (n > 0) sent += static_cast<size_t>(n);
                if ((n < 0 && errno != EAGAIN && errno != EINTR) || sent == input.size()) Pipe::close(in.write);
                continue;
            }
            const ssize_t n = ::read(fd, buffer.data(), buffer.size());
            if (n > 0) {
                (fd == out.read ? stdoutText : stderrText).append(buffer.data(), static_cast<size_t>(n));
            } else if (n == 0 || (errno != EAGAIN && errno != EINTR)) {
                Pipe::close(fd == out.read ? out.read : err.read);
            }
        }
    }
    return true;
}

PageRun runPage(const std::vector<std::string>& scripts, const std::vector<AsyncCall>& calls, const PageSetup& setup) {
    PageRun run;
    // A child that dies early must not take the test process with it through SIGPIPE.
    static const bool ignoringBrokenPipes = [] { return ::signal(SIGPIPE, SIG_IGN) != SIG_ERR; }();
    (void)ignoringBrokenPipes;

    std::string input;
    try {
        json callList = json::array();
        for (const AsyncCall& call : calls) {
            callList.push_back({{"functionBody", call.functionBody}, {"arguments", call.arguments}});
        }
        input = json{{"origin", setup.origin},
                     {"listenFor", setup.listenFor},
                     {"scripts", scripts},
                     {"calls", callList},
                     {"probe", setup.probe}}
                    .dump(-1, ' ', true);
    } catch (const json::exception& error) {
        run.failure = std::string("the scripts are not UTF-8: ") + error.what();
        return run;
    }

    Pipe in, out, err;
    if (!in.open() || !out.open() || !err.open()) {
        run.failure = "no pipes";
        return run;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in.read, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out.write, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err.write, STDERR_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);

    const std::string node = nodeExecutable();
    std::vector<char*> arguments = {const_cast<char*>(node.c_str()), const_cast<char*>("-e"),
                                    const_cast<char*>(harness), nullptr};
    pid_t pid = -1;
    const int spawned = ::posix_spawnp(&pid, node.c_str(), &actions, &attributes, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    Pipe::close(in.read);
    Pipe::close(out.write);
    Pipe::close(err.write);
    if (spawned != 0) {
        run.failure = "cannot start " + node + ": " + std::strerror(spawned);
        return run;
    }

    std::string stdoutText, stderrText;
    const bool finished = exchange(in, out, err, input, stdoutText, stderrText,
                                   std::chrono::steady_clock::now() + setup.timeout);
    if (!finished) ::kill(pid, SIGKILL);
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (!finished) {
        run.failure = "node timed out; stderr: " + stderrText;
        return run;
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        run.failure = "node failed; stderr: " + stderrText;
        return run;
    }
    const json report = json::parse(stdoutText, nullptr, false);
    if (!report.is_object()) {
        run.failure = "node's report is not JSON: " + stdoutText + "; stderr: " + stderrText;
        return run;
    }
    run.ran = true;
    run.received = report["received"];
    run.posted = report["posted"];
    for (const auto& error : report["scriptErrors"]) {
        run.scriptErrors.push_back(error.is_string() ? std::optional<std::string>(error.get<std::string>()) : std::nullopt);
    }
    run.probe = report["probe"];
    for (const auto& error : report["listenerErrors"]) {
        run.failure += (run.failure.empty() ? "listener error: " : "; ") + error.get<std::string>();
    }
    if (report.contains("probeError")) run.failure += "probe error: " + report["probeError"].get<std::string>();
    return run;
}

}  // namespace

PageRun runPageScripts(const std::vector<std::string>& scripts, const PageSetup& setup) {
    return runPage(scripts, {}, setup);
}

PageRun runPageCalls(const std::vector<AsyncCall>& calls, const PageSetup& setup) {
    return runPage({}, calls, setup);
}

std::vector<json> PageRun::details(const std::string& type) const {
    std::vector<json> found;
    for (const auto& event : received) {
        if (event.value("type", "") == type) found.push_back(event["detail"]);
    }
    return found;
}

}  // namespace brisel::testing
