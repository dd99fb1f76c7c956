#pragma once

#include <glib.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace brisel::gtk::testing {

// A program a test starts, with its standard input and output on pipes; killed and reaped at
// the end.
// Waiting for its output keeps the main loop running, since it may be waiting on us (for the
// clipboard we own, say).
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

    // Sends it one line on its standard input.
    void writeLine(const std::string& line) {
        const std::string text = line + "\n";
        for (size_t done = 0; done < text.size();) {
            const ssize_t count = ::write(input_, text.data() + done, text.size() - done);
            if (count <= 0) return;
            done += static_cast<size_t>(count);
        }
    }

    // The next line it writes; empty when none comes within `limit`.
    std::string readLine(std::chrono::milliseconds limit = std::chrono::seconds(10)) {
        size_t end;
        while ((end = buffer_.find('\n')) == std::string::npos && readMore(limit)) {
        }
        if (end == std::string::npos) return {};
        std::string line = buffer_.substr(0, end);
        buffer_.erase(0, end + 1);
        return line;
    }
    // Everything it writes until it ends, and whether it ended with status 0.
    std::pair<std::string, bool> readToEnd(std::chrono::milliseconds limit = std::chrono::seconds(10)) {
        while (readMore(limit)) {
        }
        int status = -1;
        waitpid(pid_, &status, 0);
        pid_ = 0;
        return {std::move(buffer_), WIFEXITED(status) && WEXITSTATUS(status) == 0};
    }
    // Whether it ended by itself within `limit`.
    bool exits(std::chrono::milliseconds limit = std::chrono::seconds(10)) {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        while (std::chrono::steady_clock::now() < deadline) {
            if (waitpid(pid_, nullptr, WNOHANG) == pid_) {
                pid_ = 0;
                return true;
            }
            g_main_context_iteration(nullptr, FALSE);
            g_usleep(5000);
        }
        return false;
    }
    void stop() {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
            pid_ = 0;
        }
        if (output_ >= 0) close(output_);
        if (input_ >= 0) close(input_);
        output_ = -1;
        input_ = -1;
    }

private:
    bool readMore(std::chrono::milliseconds limit) {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        pollfd readable{output_, POLLIN, 0};
        while (std::chrono::steady_clock::now() < deadline) {
            g_main_context_iteration(nullptr, FALSE);
            if (poll(&readable, 1, 5) <= 0) continue;
            char chunk[4096];
            const ssize_t count = read(output_, chunk, sizeof chunk);
            if (count <= 0) return false;
            buffer_.append(chunk, static_cast<size_t>(count));
            return true;
        }
        return false;
    }

    GPid pid_ = 0;
    int input_ = -1;
    int output_ = -1;
    std::string buffer_;
};

}  // namespace brisel::gtk::testing
