#include "platform/file.h"
#include "support/sibling_record.h"
#include "telemetry/rig_view.h"
#include "telemetry/sibling_state.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace vt {
namespace {

using test::SiblingRecord;

TEST(SiblingState, OnlyAWholeRecordOfAKnownVersion) {
    SiblingRecord record("vt_test_record_" + std::to_string(getpid()));
    SiblingLink link;
    link.name = record.name();
    SiblingState state;
    EXPECT_FALSE(siblingRead(link, state)) << "no record";
    record.state().masterGain = 0.5f;
    record.state().pedalEffect[2] = -7;
    record.put(kSiblingF1, 1);
    ASSERT_TRUE(siblingRead(link, state));
    EXPECT_EQ(state.gameId, 9);
    EXPECT_EQ(state.serving, 1u);
    EXPECT_FLOAT_EQ(state.masterGain, 0.5f);
    EXPECT_EQ(state.pedalEffect[2], -7);
    EXPECT_TRUE(siblingRead(link, state)) << "a sibling that rests is still alive";

    const auto with = [&](size_t offset, uint32_t value) {
        uint32_t before = 0;
        std::memcpy(&before, record.data() + offset, 4);
        std::memcpy(record.data() + offset, &value, 4);
        const bool good = siblingRead(link, state);
        std::memcpy(record.data() + offset, &before, 4);
        return good;
    };
    EXPECT_FALSE(with(8, 77)) << "odd: it is being written";
    EXPECT_FALSE(with(4, 1)) << "version 1";
    EXPECT_TRUE(with(4, 2));
    EXPECT_FALSE(with(0, 0x54535458)) << "another magic";
    EXPECT_TRUE(siblingRead(link, state));
}

TEST(SiblingState, AShortRecordIsNone) {
    const std::string name = "vt_test_short_" + std::to_string(getpid());
    SharedMapWriter writer;
    ASSERT_TRUE(writer.create(name, sizeof(SiblingState) - 1));
    std::memcpy(writer.data(), "VTST\x05", 5);
    SiblingLink link;
    link.name = name.c_str();
    SiblingState state;
    EXPECT_FALSE(siblingRead(link, state));
}

// A record outlives a killed sibling, and its next run may make another object.
TEST(SiblingState, AKilledSiblingIsLetGoAndItsNextRunFound) {
    const std::string name = "vt_test_killed_" + std::to_string(getpid());
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {
        SiblingRecord record(name);
        record.put(kSiblingAc, 1);
        if (write(ready[1], "x", 1) != 1) _exit(1);
        for (;;)
            pause();
    }
    char c;
    ASSERT_EQ(read(ready[0], &c, 1), 1);
    close(ready[0]);
    close(ready[1]);
    SiblingLink link;
    link.name = name.c_str();
    SiblingState state;
    ASSERT_TRUE(siblingRead(link, state));
    EXPECT_EQ(state.gameId, kSiblingAc);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_FALSE(siblingRead(link, state));
    unlink(("/dev/shm/" + name).c_str());
    SiblingRecord next(name);
    next.put(kSiblingF1, 0);
    ASSERT_TRUE(siblingRead(link, state));
    EXPECT_EQ(state.gameId, kSiblingF1);
}

// One process writes as fast as it can; every word behind the head holds the same number, so that a
// mixture shows. `bench_udp` does ten million of these.
TEST(SiblingState, NoTornCopyWhileItIsWrittenAtFullSpeed) {
    const std::string name = "vt_test_torn_" + std::to_string(getpid());
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {
        test::SharedRecordWriter writer(name);
        if (write(ready[1], "x", 1) != 1) _exit(1);
        for (uint32_t n = 0;; ++n) {
            writer.write(n);
            test::SharedRecordWriter::rest(n);
        }
    }
    char c;
    ASSERT_EQ(read(ready[0], &c, 1), 1);
    close(ready[0]);
    close(ready[1]);
    SiblingLink link;
    link.name = name.c_str();
    SiblingState state;
    int good = 0, torn = 0, changed = 0;
    uint32_t last = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    // Where both share a processor, one turn of each changes the record once.
    for (int i = 0; i < 100'000 || (changed <= 50 && std::chrono::steady_clock::now() < end); ++i) {
        if (!siblingRead(link, state)) continue;
        ++good;
        torn += !test::SharedRecordWriter::whole(state);
        changed += state.sequence != last;
        last = state.sequence;
    }
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    unlink(("/dev/shm/" + name).c_str());
    EXPECT_EQ(torn, 0);
    EXPECT_GT(good, 100);
    EXPECT_GT(changed, 50) << "the writer was at work";
}

TEST(SiblingConsent, OneLineOfAForeignFile) {
    struct Case {
        const char* text;
        int value;
    };
    const Case cases[] = {
        {"", -1},
        {"telemetryConsent=1\n", 1},
        {"a=1\r\ntelemetryConsent=0\r\nb=2\r\n", 0},
        {"telemetryConsent=x\n", -1},
        {"telemetryConsent=\n", -1},
        {"telemetryConsent=99999999999\n", -1},
        {"xtelemetryConsent=1\n", -1},
        {" telemetryConsent=1\n", -1},
        {"telemetryConsent=2\ntelemetryConsent=1\n", 2},
        {"telemetryConsent=7", 7},
    };
    const auto folder =
        std::filesystem::temp_directory_path() / ("vt_consent_" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    EXPECT_EQ(siblingConsent(folder.string()), -1) << "no file";
    EXPECT_EQ(siblingConsent(""), -1);
    for (const Case& c : cases) {
        ASSERT_TRUE(writeFileAtomic((folder / "haptic_config.ini").string(), c.text));
        EXPECT_EQ(siblingConsent(folder.string()), c.value) << c.text;
    }
    std::filesystem::remove_all(folder);
}

TEST(RigView, TheNameExistsWhileItIsWanted) {
    if (namedPresenceExists(kRigViewName)) GTEST_SKIP() << "another program shows the rig";
    {
        RigView view;
        rigViewSync(view, false);
        EXPECT_FALSE(namedPresenceExists(kRigViewName));
        rigViewSync(view, true);
        rigViewSync(view, true);
        EXPECT_TRUE(namedPresenceExists(kRigViewName));
        rigViewSync(view, false);
        EXPECT_FALSE(namedPresenceExists(kRigViewName));
        rigViewSync(view, true);
    }
    EXPECT_FALSE(namedPresenceExists(kRigViewName));
}

} // namespace
} // namespace vt
