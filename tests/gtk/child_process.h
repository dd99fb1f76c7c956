#pragma once

#include <glib.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "gtk/main_loop.h"

namespace brisel::gtk::testing {

// A program a test starts, its input and output on pipes, killed at the end; waiting on it runs the
// main loop, since it may be waiting on us (for the clipboard we own, say).
class ChildProcess {
public:
    explicit ChildProcess(const std::vector<std::string>& command) {
        std::vector<gchar*> argv;
        for (const std::string& argument : command) argv.push_back(const_cast<gchar*>(argument.c_str()));
        argv.push_back(nullptr);
        g_spawn_async_with_pipes(nullptr, argv.data(), nullptr,
                                 static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_DO_NOT_REAP_CHILD), nullptr,
                                 nullptr, &pid_, &input_, &output_, nullptr, nullptr);
    }
    ~ChildProcess() { stop(); }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    int32_t pid() const { return pid_; }
    void writeLine(const std::string& line) {
        [[maybe_unused]] const ssize_t written = ::write(input_, (line + "\n").data(), line.size() + 1);
    }
    // The next line it writes; empty when none comes within `limit`.
    std::string readLine(std::chrono::milliseconds limit = std::chrono::seconds(10)) {
        size_t end;
        while ((end = buffer_.find('\n')) == std::string::npos && readMore(limit)) {}
        if (end == std::string::npos) return {};
        std::string line = buffer_.substr(0, end);
        buffer_.erase(0, end + 1);
        return line;
    }
    // Everything it writes until it ends with status 0; nothing when it fails.
    std::optional<std::string> readToEnd(std::chrono::milliseconds limit = std::chrono::seconds(10)) {
        while (readMore(limit)) {}
        int status = -1;
        waitpid(std::exchange(pid_, 0), &status, 0);
        return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? std::optional(std::move(buffer_)) : std::nullopt;
    }
    // Whether it ended by itself within `limit`.
    bool exits(std::chrono::milliseconds limit = std::chrono::seconds(10)) {
        return main_loop::runUntil([&] { return pid_ == 0 || (waitpid(pid_, nullptr, WNOHANG) == pid_ && (pid_ = 0, true)); }, guint(limit.count()));
    }
    void stop() {
        if (pid_ > 0) kill(pid_, SIGKILL), waitpid(std::exchange(pid_, 0), nullptr, 0);
        for (int* pipe : {&output_, &input_}) if (*pipe >= 0) close(std::exchange(*pipe, -1));
    }

private:
    // Waits for more output, for at most `limit`; false when none came or the pipe closed.
    bool readMore(std::chrono::milliseconds limit) {
        pollfd readable{output_, POLLIN, 0};
        if (!main_loop::runUntil([&] { return poll(&readable, 1, 0) > 0; }, guint(limit.count()))) return false;
        char chunk[4096];
        const ssize_t count = read(output_, chunk, sizeof chunk);
        if (count > 0) buffer_.append(chunk, static_cast<size_t>(count));
        return count > 0;
    }

    GPid pid_ = 0;
    int input_ = -1, output_ = -1;
    std::string buffer_;
};

}  // namespace brisel::gtk::testing
