#include "platform/named_event.h"
#include "platform/shared_map.h"

#include <gtest/gtest.h>

#include <cstring>
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
    return "Local\\vt_test_" + std::string(what) + std::to_string(getpid());
}

// A process that holds the object for writing until it is killed.
pid_t startWriter(const std::string& name, size_t size) {
    int ready[2];
    if (pipe(ready) != 0) return -1;
    const pid_t child = fork();
    if (child == 0) {
        SharedMapWriter writer;
        const char answer = writer.create(name, size) ? 'y' : 'n';
        if (writer.data()) std::memset(writer.data(), 7, size);
        if (write(ready[1], &answer, 1) != 1) _exit(1);
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

TEST(SharedMap, LivesAsLongAsItsWriter) {
    const std::string name = uniqueName("alive");
    SharedMap map;
    EXPECT_FALSE(map.open(name));
    const pid_t writer = startWriter(name, 4096);
    ASSERT_GT(writer, 0);
    ASSERT_TRUE(map.open(name));
    EXPECT_EQ(map.size(), 4096u);
    uint32_t word = 0;
    EXPECT_TRUE(map.read(4092, word));
    EXPECT_EQ(word, 0x07070707u);
    EXPECT_FALSE(map.read(4093, word)) << "the last byte lies outside";
    EXPECT_TRUE(map.writerAlive());

    SharedMap second;
    EXPECT_TRUE(second.open(name)) << "a second reader is no writer and no obstacle";

    kill(writer, SIGKILL);
    waitpid(writer, nullptr, 0);
    EXPECT_FALSE(map.writerAlive()) << "readers alone do not keep it";
    EXPECT_TRUE(map.read(0, word)) << "what is open stays readable";
    map.close();
    EXPECT_FALSE(map.open(name)) << "a leftover object counts as absent";

    SharedMapWriter again;
    ASSERT_TRUE(again.create(name, 64)) << "a new writer takes the leftover over";
    EXPECT_TRUE(map.open(name));
    EXPECT_EQ(map.size(), 64u);
}

TEST(SharedMap, MappedWithoutDescriptorStillCounts) {
    const std::string name = uniqueName("mapped");
    const std::string path = "/" + std::string(sharedObjectName(name));
    const int fd = shm_open(path.c_str(), O_RDWR | O_CREAT, 0600);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(ftruncate(fd, 4096), 0);
    void* view = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    SharedMap map;
    EXPECT_TRUE(map.open(name));
    munmap(view, 4096);
    EXPECT_FALSE(map.writerAlive());
    shm_unlink(path.c_str());
}

TEST(SharedMap, ShrunkObjectFailsTheCopy) {
    const std::string name = uniqueName("shrunk");
    const std::string path = "/" + std::string(sharedObjectName(name));
    SharedMapWriter writer;
    ASSERT_TRUE(writer.create(name, 65536));
    SharedMap map;
    ASSERT_TRUE(map.open(name));
    ASSERT_EQ(truncate(("/dev/shm" + path).c_str(), 100), 0);
    char block[4096];
    EXPECT_FALSE(map.copyOut(0, block, sizeof block));
    EXPECT_TRUE(map.copyOut(0, block, 100));
    EXPECT_FALSE(map.copyOut(60000, block, 16));
}

TEST(SharedMap, NamesThatCannotBeOne) {
    EXPECT_EQ(sharedObjectName("Local\\$pcars2$"), "$pcars2$");
    EXPECT_EQ(sharedObjectName("$R3E"), "$R3E");
    for (const char* bad : {"", "Local\\", "a/b", "..", "."})
        EXPECT_TRUE(sharedObjectName(bad).empty()) << bad;
}

TEST(NamedEvent, WakesWaitersOfOtherHandlesOnceEach) {
    const std::string name = uniqueName("event");
    NamedEvent sender, waiter;
    EXPECT_FALSE(waiter.open(name));
    ASSERT_TRUE(sender.create(name));
    ASSERT_TRUE(waiter.open(name));
    EXPECT_FALSE(waiter.wait(5)) << "nothing yet";
    sender.signal();
    EXPECT_TRUE(waiter.wait(0)) << "a signal before the wait is not lost";
    EXPECT_FALSE(waiter.wait(0)) << "and counts once";
    std::thread later([&] {
        usleep(20000);
        sender.signal();
    });
    EXPECT_TRUE(waiter.wait(30000));
    later.join();
}
