#include "platform/shared_words.h"

#include <gtest/gtest.h>

#include <array>
#include <barrier>
#include <fcntl.h>
#include <signal.h>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace vt;

namespace {

std::string uniqueName(const char* what) {
    return "vt_test_words_" + std::string(what) + std::to_string(getpid());
}

bool objectExists(const std::string& name) {
    return access(("/dev/shm/" + name).c_str(), F_OK) == 0;
}

/// An object as another program made it, `size` bytes long; -1 on failure.
int foreignObject(const std::string& name, off_t size) {
    const int fd = shm_open(("/" + name).c_str(), O_RDWR | O_CREAT, 0600);
    return fd >= 0 && ftruncate(fd, size) == 0 ? fd : -1;
}

/// A process that holds the words with a value in them until it is killed.
pid_t startHolder(const std::string& name, uint32_t value) {
    int ready[2];
    if (pipe(ready) != 0) return -1;
    const pid_t child = fork();
    if (child == 0) {
        SharedWords words;
        const bool open = words.openOrCreate(name, 2);
        if (open) words[1] = value;
        if (write(ready[1], open ? "y" : "n", 1) != 1) _exit(1);
        for (;;)
            pause();
    }
    char answer = 0;
    const bool good = read(ready[0], &answer, 1) == 1 && answer == 'y';
    close(ready[0]);
    close(ready[1]);
    return good ? child : -1;
}

} // namespace

TEST(SharedWords, KeepsTheWordsOfTheLivingAndForgetsThoseOfTheDead) {
    const std::string name = uniqueName("dead");
    const pid_t holder = startHolder(name, 7);
    ASSERT_GT(holder, 0);
    SharedWords words;
    ASSERT_TRUE(words.openOrCreate("Local\\" + name, 2));
    EXPECT_EQ(words[1], 7u);
    words.close();
    EXPECT_TRUE(objectExists(name)) << "somebody else still holds it";
    kill(holder, SIGKILL);
    waitpid(holder, nullptr, 0);
    ASSERT_TRUE(words.openOrCreate(name, 2));
    EXPECT_EQ(words[0], 0u);
    EXPECT_EQ(words[1], 0u);
    words.close();
    words.close();
    EXPECT_FALSE(objectExists(name)) << "the last one removes it";
}

TEST(SharedWords, NamesAndSizesThatCannotBe) {
    SharedWords words;
    for (const char* bad : {"", "Local\\", "a/b", ".."})
        EXPECT_FALSE(words.openOrCreate(bad, 2)) << bad;
    EXPECT_FALSE(words.openOrCreate(uniqueName("none"), 0));
    EXPECT_FALSE(words.openOrCreate(uniqueName("big"), 1025));

    const std::string name = uniqueName("short");
    const int fd = foreignObject(name, 4);
    ASSERT_GE(fd, 0);
    EXPECT_FALSE(words.openOrCreate(name, 2)) << "held by others and too short";
    EXPECT_TRUE(objectExists(name));
    close(fd);
    EXPECT_TRUE(words.openOrCreate(name, 2)) << "a short one that nobody holds grows";
    EXPECT_TRUE(words.whole());
}

TEST(SharedWords, TellsWhenTheObjectShrank) {
    const std::string name = uniqueName("shrunk");
    SharedWords words;
    EXPECT_FALSE(words.whole());
    ASSERT_TRUE(words.openOrCreate(name, 2));
    EXPECT_TRUE(words.whole());
    ASSERT_EQ(truncate(("/dev/shm/" + name).c_str(), 4), 0);
    EXPECT_FALSE(words.whole());
}

// A name that was removed meanwhile may belong to somebody else's new object.
TEST(SharedWords, RemovesOnlyWhatItHolds) {
    const std::string name = uniqueName("other");
    SharedWords words;
    ASSERT_TRUE(words.openOrCreate(name, 2));
    shm_unlink(("/" + name).c_str());
    const int fd = foreignObject(name, 8);
    ASSERT_GE(fd, 0);
    close(fd);
    words.close();
    EXPECT_TRUE(objectExists(name));
    shm_unlink(("/" + name).c_str());
}

// The last one out removes the object while the next one comes in: both must still end up with the
// same words.
TEST(SharedWords, OpeningAndClosingAtOnceNeverSplitsTheObject) {
    const std::string name = uniqueName("race");
    constexpr int kRounds = 300;
    std::array<SharedWords, 2> sides;
    std::barrier meet(2);
    std::atomic<int> split{0}, failed{0};
    const auto run = [&](uint32_t side) {
        for (uint32_t round = 0; round < kRounds; ++round) {
            if (!sides[side].openOrCreate(name, 2)) ++failed;
            meet.arrive_and_wait();
            if (sides[side].isOpen() && side == 0) sides[0][0] = round + 1;
            meet.arrive_and_wait();
            if (sides[1].isOpen() && side == 1 && sides[1][0] != round + 1) ++split;
            meet.arrive_and_wait();
            sides[side].close();
        }
    };
    std::thread other(run, 1);
    run(0);
    other.join();
    EXPECT_EQ(failed, 0);
    EXPECT_EQ(split, 0);
    EXPECT_FALSE(objectExists(name));
}
