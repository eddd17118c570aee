// A program started by a test: its output, its end. Ended with SIGKILL when the test forgets it.
#pragma once
#include <chrono>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace vt::test {

class ChildProcess {
public:
    /// `environment` holds "NAME=value" entries laid over this process's own.
    explicit ChildProcess(std::vector<std::string> words,
                          std::vector<std::string> environment = {}) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) return;
        pid_ = fork();
        if (pid_ == 0) {
            dup2(ends[1], 1);
            dup2(ends[1], 2);
            for (std::string& entry : environment)
                putenv(entry.data());
            std::vector<char*> argv;
            for (std::string& word : words)
                argv.push_back(word.data());
            argv.push_back(nullptr);
            execv(argv[0], argv.data());
            _exit(127);
        }
        close(ends[1]);
        out_ = ends[0];
        fcntl(out_, F_SETFL, O_NONBLOCK);
    }
    ~ChildProcess() {
        if (running()) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
        if (out_ >= 0) close(out_);
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const { return pid_; }
    void signal(int number) const { kill(pid_, number); }

    /// All that it printed so far, both streams.
    const std::string& output() {
        char block[4096];
        ssize_t n = 0;
        while ((n = read(out_, block, sizeof block)) > 0)
            text_.append(block, static_cast<size_t>(n));
        return text_;
    }

    /// Waits until the output holds `text` behind byte `from`.
    bool waitFor(const std::string& text, int milliseconds, size_t from = 0) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
        while (output().find(text, from) == std::string::npos) {
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return true;
    }

    bool running() {
        if (ended_ || pid_ <= 0) return false;
        ended_ = waitpid(pid_, &status_, WNOHANG) == pid_;
        return !ended_;
    }

    /// The exit code; -1 when it did not end in time, -2 when a signal ended it.
    int waitForExit(int milliseconds) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
        while (running()) {
            if (std::chrono::steady_clock::now() > end) return -1;
            output();
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        output();
        return WIFEXITED(status_) ? WEXITSTATUS(status_) : -2;
    }

private:
    pid_t pid_ = -1;
    int out_ = -1;
    int status_ = 0;
    bool ended_ = false;
    std::string text_;
};

} // namespace vt::test
