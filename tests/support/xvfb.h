// A real X server without a screen, for tests: started on a free display, ended with its helpers by
// their own process ids. `missing()` names what is not installed; a test then skips.
#pragma once
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace vt::test {

inline bool programExists(const std::string& name) {
    const char* path = std::getenv("PATH");
    const std::string all = path ? path : "";
    for (size_t from = 0; from <= all.size();) {
        const size_t colon = std::min(all.find(':', from), all.size());
        if (access((all.substr(from, colon - from) + "/" + name).c_str(), X_OK) == 0) return true;
        from = colon + 1;
    }
    return false;
}

/// Starts a program that ends with us at the latest. `keep` stays open in it (-1: none).
inline pid_t startProgram(const std::vector<std::string>& words, int keep = -1) {
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child != 0) return child;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(1);
    if (keep >= 0) fcntl(keep, F_SETFD, 0);
    const int nowhere = open("/dev/null", O_RDWR);
    dup2(nowhere, 1);
    dup2(nowhere, 2);
    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

/// Asks it to end; after ten seconds it is ended.
inline void endProgram(pid_t pid, int signal = SIGTERM) {
    if (pid <= 0) return;
    kill(pid, signal);
    for (int i = 0; i < 1000; ++i) {
        if (waitpid(pid, nullptr, WNOHANG) != 0) return;
        usleep(10'000);
    }
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
}

/// What a shell command prints within half a minute: a client of a server that went may never end.
inline std::string shellOutput(const std::string& command) {
    std::string text;
    setenv("VT_COMMAND", command.c_str(), 1);
    FILE* pipe = popen("timeout -k 5 30 sh -c \"$VT_COMMAND\" 2>/dev/null", "r");
    if (!pipe) return text;
    char buffer[4096];
    for (size_t n = 0; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        text.append(buffer, n);
    pclose(pipe);
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    return text;
}

class Xvfb {
public:
    ~Xvfb() { stop(); }

    /// The first program of the list that is not installed; empty when all are.
    static std::string missing(std::initializer_list<const char*> programs) {
        if (!programExists("Xvfb")) return "Xvfb";
        for (const char* name : programs)
            if (!programExists(name)) return name;
        return {};
    }

    /// Starts the server and points DISPLAY at it. `without` names an extension to leave out.
    bool start(const std::string& size = "1280x800x24", const std::string& without = {}) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) return false;
        std::vector<std::string> words{"Xvfb",      "-displayfd", std::to_string(ends[1]),
                                       "-screen",   "0",          size,
                                       "-nolisten", "tcp",        "-noreset"};
        if (!without.empty()) words.insert(words.end(), {"-extension", without});
        server_ = startProgram(words, ends[1]);
        close(ends[1]);
        // The number comes in pieces; a line end completes it.
        std::string number;
        pollfd ready{ends[0], POLLIN, 0};
        for (char c = 0; poll(&ready, 1, 60000) > 0 && read(ends[0], &c, 1) == 1 && c != '\n';)
            number += c;
        close(ends[0]);
        if (number.empty()) return false;
        display_ = ":" + number;
        setenv("DISPLAY", display_.c_str(), 1);
        return true;
    }

    /// A window manager; returns when it manages.
    bool startWindowManager() {
        // An empty file would bring up a window that complains of it. Windows that appear before
        // it runs its start-up command get no focus.
        manager_ =
            startProgram({"sh", "-c",
                          "exec openbox --startup 'xprop -root -f VT_READY 8s -set VT_READY yes' "
                          "--config-file /dev/fd/3 3<<E\n"
                          "<openbox_config xmlns=\"http://openbox.org/3.4/rc\"/>\nE\n"});
        return waitFor("xprop -root VT_READY", "yes");
    }

    /// A compositor; returns when it composites.
    bool startCompositor() {
        compositor_ =
            startProgram({"picom", "--backend", "xrender", "--no-vsync", "--config", "/dev/null"});
        for (int i = 0; i < 600; ++i) {
            if (waitpid(compositor_, nullptr, WNOHANG) != 0) break;
            // It names its own window once it has taken over the screen.
            if (shellOutput("xwininfo -root -tree").find("picom") != std::string::npos) return true;
            usleep(50'000);
        }
        compositor_ = 0;
        return false;
    }

    /// The server dies without a word.
    void crash() {
        endProgram(server_, SIGKILL);
        server_ = 0;
    }

    void stop() {
        endProgram(compositor_);
        endProgram(manager_);
        endProgram(server_);
        server_ = manager_ = compositor_ = 0;
    }

    const std::string& display() const { return display_; }
    pid_t server() const { return server_; }

private:
    static bool waitFor(const std::string& command, const std::string& wanted) {
        for (int i = 0; i < 600; ++i) {
            if (shellOutput(command).find(wanted) != std::string::npos) return true;
            usleep(50'000);
        }
        return false;
    }

    pid_t server_ = 0, manager_ = 0, compositor_ = 0;
    std::string display_;
};

} // namespace vt::test
