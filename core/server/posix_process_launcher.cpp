#include "server/posix_process_launcher.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

extern char** environ;

namespace brisel {

namespace {

class PosixChildProcess final : public ChildProcess {
public:
    explicit PosixChildProcess(pid_t pid) : pid_(pid) {}

    ~PosixChildProcess() override { reap(false); }

    bool isRunning() override { return !reap(false); }

    void terminate() override {
        if (!reap(false)) ::kill(pid_, SIGTERM);
    }

private:
    // True once the child has exited; collects it so that no zombie is left.
    bool reap(bool wait) {
        if (exited_) return true;
        int status = 0;
        pid_t result;
        do {
            result = ::waitpid(pid_, &status, wait ? 0 : WNOHANG);
        } while (result < 0 && errno == EINTR);
        exited_ = result == pid_ || (result < 0 && errno == ECHILD);
        return exited_;
    }

    pid_t pid_;
    bool exited_ = false;
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

    pid_t pid = 0;
    const int error = ::posix_spawn(&pid, launchRequest.executable.c_str(), &actions, nullptr, argv.data(), envp.data());
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
