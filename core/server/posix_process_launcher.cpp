#include "server/posix_process_launcher.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>
#include <thread>

extern char** environ;

namespace brisel {

namespace {

// A thread of its own waits for the child, so one that exits by itself is collected at once
// rather than left a zombie. It waits without collecting first: until the lock marks the child
// gone, its pid cannot be given to another process and a terminate cannot reach a stranger.
class PosixChildProcess final : public ChildProcess {
public:
    explicit PosixChildProcess(pid_t pid) : pid_(pid) {
        std::thread([pid, state = state_] {
            siginfo_t info{};
            while (::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT) < 0 && errno == EINTR) {
            }
            std::lock_guard guard(state->lock);
            while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
            }
            state->exited = true;
        }).detach();
    }

    bool isRunning() override {
        std::lock_guard guard(state_->lock);
        return !state_->exited;
    }

    void terminate() override {
        std::lock_guard guard(state_->lock);
        if (!state_->exited) ::kill(pid_, SIGTERM);
    }

private:
    struct State {
        std::mutex lock;
        bool exited = false;
    };

    pid_t pid_;
    std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace

std::unique_ptr<ChildProcess> PosixProcessLauncher::launch(const ChildProcessSpec& launchRequest) {
    std::vector<std::string> argumentStrings{launchRequest.executable};
    argumentStrings.insert(argumentStrings.end(), launchRequest.arguments.begin(), launchRequest.arguments.end());
    std::vector<char*> argv;
    for (auto& argument : argumentStrings) argv.push_back(argument.data());
    argv.push_back(nullptr);

    std::vector<std::string> environmentStrings;
    for (const auto& [key, value] : launchRequest.environment) environmentStrings.push_back(key + "=" + value);
    std::vector<char*> envp;
    for (auto& entry : environmentStrings) envp.push_back(entry.data());
    envp.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        posix_spawn_file_actions_addopen(&actions, fd, "/dev/null", fd == STDIN_FILENO ? O_RDONLY : O_WRONLY, 0);
    }
    posix_spawn_file_actions_addchdir_np(&actions, launchRequest.directory.c_str());
    // Nothing of this process but the three streams above reaches the child, whether or not it
    // was opened close-on-exec.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
#ifdef __APPLE__
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_CLOEXEC_DEFAULT);
#else
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
#endif

    pid_t pid = 0;
    const int error =
        ::posix_spawn(&pid, launchRequest.executable.c_str(), &actions, &attributes, argv.data(), envp.data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) return nullptr;
    return std::make_unique<PosixChildProcess>(pid);
}

Environment currentEnvironment() {
    Environment environment;
    for (char** entry = environ; entry && *entry; ++entry) {
        const std::string text = *entry;
        const size_t equals = text.find('=');
        if (equals != std::string::npos) environment.emplace(text.substr(0, equals), text.substr(equals + 1));
    }
    return environment;
}

}  // namespace brisel
