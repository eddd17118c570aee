#include "platform/broadcast.h"
#include "platform/clock.h"
#include "platform/file.h"
#include "platform/paths.h"
#include "platform/process_list.h"
#include "platform/single_instance.h"
#include "support/eventually.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace vt;

namespace {

std::string newFolder() {
    char name[] = "/tmp/vt_services_XXXXXX";
    return mkdtemp(name);
}

} // namespace

TEST(File, WritesWholeOrNotAtAll) {
    const std::string folder = newFolder(), path = folder + "/a.json";
    ASSERT_TRUE(writeFileAtomic(path, "old"));
    std::string text;
    ASSERT_TRUE(readFile(path, text));
    EXPECT_EQ(text, "old");
    EXPECT_FALSE(fileExists(path + ".tmp"));

    // A limit on file sizes stands for a full disk: the write stops in the middle.
    signal(SIGXFSZ, SIG_IGN);
    rlimit limit{}, small{};
    getrlimit(RLIMIT_FSIZE, &limit);
    small = limit;
    small.rlim_cur = 4096;
    setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_FALSE(writeFileAtomic(path, std::string(100000, 'x')));
    setrlimit(RLIMIT_FSIZE, &limit);
    ASSERT_TRUE(readFile(path, text));
    EXPECT_EQ(text, "old");
    EXPECT_TRUE(writeFileAtomic(path, "new")) << "the leftover of the failed write is no obstacle";
    EXPECT_FALSE(writeFileAtomic(folder + "/missing/a", "x"));
}

TEST(File, ReadsOnlyRegularFilesWithinTheLimit) {
    const std::string folder = newFolder();
    std::string text = "kept?";
    EXPECT_FALSE(readFile(folder + "/none", text));
    EXPECT_EQ(text, "");
    ASSERT_TRUE(writeFileAtomic(folder + "/ten", "0123456789"));
    EXPECT_TRUE(readFile(folder + "/ten", text, 10));
    EXPECT_FALSE(readFile(folder + "/ten", text, 9));
    EXPECT_FALSE(readFile(folder, text)) << "a folder";
    ASSERT_EQ(mkfifo((folder + "/pipe").c_str(), 0600), 0);
    EXPECT_FALSE(readFile(folder + "/pipe", text)) << "must not hang";
    EXPECT_FALSE(readFile("/dev/zero", text));
}

TEST(File, MakesFoldersAndListsThem) {
    const std::string folder = newFolder();
    EXPECT_TRUE(makeFolders(folder + "/a/b/c"));
    EXPECT_TRUE(makeFolders(folder + "/a/b/c")) << "again";
    ASSERT_TRUE(appendFile(folder + "/log", "1\n") && appendFile(folder + "/log", "2\n"));
    EXPECT_FALSE(makeFolders(folder + "/log/x")) << "a file stands in the way";
    const auto entries = listFolder(folder);
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_TRUE(entries[0].name == "a" && entries[0].isFolder);
    EXPECT_TRUE(entries[1].name == "log" && entries[1].size == 4);
}

TEST(Paths, EnvironmentDecides) {
    setenv("APPDATA", "/tmp/roaming/", 1);
    EXPECT_EQ(appDataFolder(), "/tmp/roaming/Vantorel");
    unsetenv("APPDATA");
    setenv("XDG_CONFIG_HOME", "/tmp/config", 1);
    EXPECT_EQ(appDataFolder(), "/tmp/config/Vantorel");
    unsetenv("XDG_CONFIG_HOME");
    setenv("HOME", "/tmp/home", 1);
    EXPECT_EQ(appDataFolder(), "/tmp/home/.config/Vantorel");
}

TEST(ProcessList, NamesAreThoseOfTheCommandLine) {
    // Longer than the 15 bytes that the kernel keeps of a program's own name, and with a path as a
    // compatibility layer writes it.
    const char* shown = "C:\\games\\VtTest-Win64-Shipping.exe";
    const pid_t child = fork();
    if (child == 0) {
        execl("/bin/sleep", shown, "600", nullptr);
        _exit(1);
    }
    std::vector<std::string> names;
    EXPECT_TRUE(test::eventually([&] {
        EXPECT_TRUE(listProcessNames(names));
        return std::count(names.begin(), names.end(), "VtTest-Win64-Shipping.exe") == 1;
    }));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

TEST(SingleInstance, SecondStartAsksTheFirstAndAKilledOneLeavesNothing) {
    const std::string name = "Local\\vt_single_" + std::to_string(getpid());
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t first = fork();
    if (first == 0) {
        SingleInstance held;
        char state = held.acquire(name) ? 'y' : 'n';
        if (write(ready[1], &state, 1) != 1) _exit(1);
        while (!held.takeRequest())
            usleep(1000);
        state = 's';
        if (write(ready[1], &state, 1) != 1) _exit(1);
        for (;;)
            pause();
    }
    char state = 0;
    ASSERT_EQ(read(ready[0], &state, 1), 1);
    EXPECT_EQ(state, 'y');
    SingleInstance second;
    EXPECT_FALSE(second.acquire(name));
    EXPECT_TRUE(second.askFirstToShow());
    ASSERT_EQ(read(ready[0], &state, 1), 1);
    EXPECT_EQ(state, 's');
    kill(first, SIGKILL);
    waitpid(first, nullptr, 0);
    EXPECT_TRUE(second.acquire(name));
}

TEST(Broadcast, ReachesAListenerAndNobodyElse) {
    const std::string message = "VT_TEST_MSG_" + std::to_string(getpid());
    EXPECT_FALSE(sendBroadcast(message, {1, 2}));
    BroadcastListener listener;
    ASSERT_TRUE(listener.listen(message));
    BroadcastMessage got;
    EXPECT_FALSE(listener.take(got));
    EXPECT_TRUE(sendBroadcast(message, {2u << 16 | 9u, 45}));
    ASSERT_TRUE(listener.take(got));
    EXPECT_EQ(got.wParam, 2u << 16 | 9u);
    EXPECT_EQ(got.lParam, 45);
}

TEST(DeadlineTimer, EndsAtTheDeadlineOrWhenWoken) {
    const Clock clock;
    DeadlineTimer timer;
    const int64_t start = clockTicks(clock);
    EXPECT_TRUE(timer.waitUntil(start + 5'000'000));
    EXPECT_GE(clockTicks(clock), start + 5'000'000);
    timer.wake();
    EXPECT_FALSE(timer.waitUntil(start + 60 * kTicksPerSecond)) << "woken before it waits";
    std::thread waker([&] {
        usleep(5000);
        timer.wake();
    });
    EXPECT_FALSE(timer.waitUntil(start + 60 * kTicksPerSecond));
    waker.join();
}
