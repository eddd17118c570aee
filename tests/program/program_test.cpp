// The built program as a whole, on the headless desktop: a drive goes in, lines, pictures and files
// come out.
#include "platform/file.h"
#include "support/child_process.h"
#include "support/eventually.h"

#include <gtest/gtest.h>

#include <cstdlib>

using namespace vt;
using vt::test::ChildProcess;

namespace {

struct Profile {
    Profile() {
        char name[] = "/tmp/vt_program_XXXXXX";
        folder = mkdtemp(name);
    }
    std::vector<std::string> environment() const { return {"APPDATA=" + folder, "DISPLAY="}; }
    std::string settings() const { return folder + "/Vantorel/overlays/overlays.json"; }
    std::string folder;
};

std::vector<std::string> program(const std::vector<std::string>& arguments) {
    std::vector<std::string> words = {VT_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

int pngCount(const std::string& folder, const std::string& part) {
    int count = 0;
    for (const FolderEntry& entry : listFolder(folder))
        if (entry.name.find(part) != std::string::npos && entry.name.ends_with(".png") &&
            entry.size > 500)
            ++count;
    return count;
}

constexpr int kSlow = vt::test::kPatienceMs;

} // namespace

TEST(Program, HelpAndAScreenThatCannotBeHad) {
    ChildProcess help(program({"--help"}));
    EXPECT_EQ(help.waitForExit(kSlow), 0);
    EXPECT_NE(help.output().find("--shoot FOLDER"), std::string::npos);
    const Profile profile;
    ChildProcess screen(program({"--platform", "x11"}), profile.environment());
    EXPECT_EQ(screen.waitForExit(kSlow), 1);
}

TEST(Program, ShootsEveryLookAndSaysWhenItCannot) {
    const Profile profile;
    const std::string out = profile.folder + "/pictures";
    ChildProcess shoot(program({"--shoot", out, "--tag", "x"}), profile.environment());
    EXPECT_EQ(shoot.waitForExit(3 * kSlow), 0) << shoot.output();
    // Six styles, the Apex one in four themes, one with strips, one in edit mode, one as set.
    EXPECT_GE(pngCount(out, "x-relative"), 12);
    EXPECT_GE(pngCount(out, "x-standings"), 12);
    EXPECT_EQ(pngCount(out, "x-relative-apex-smoked-glass"), 1);

    ASSERT_TRUE(writeFileAtomic(profile.folder + "/file", "in the way"));
    ChildProcess blocked(program({"--shoot", profile.folder + "/file/x"}), profile.environment());
    EXPECT_EQ(blocked.waitForExit(kSlow), 1);
}

TEST(Program, ShootsTheRaceAtTheTimesAsked) {
    const Profile profile;
    const std::string out = profile.folder + "/race";
    ChildProcess shoot(program({"--shoot", out, "--at", "2,1"}), profile.environment());
    EXPECT_EQ(shoot.waitForExit(2 * kSlow), 0) << shoot.output();
    for (const char* name : {"shot-VT_Relative-t001.png", "shot-VT_Relative-t002.png",
                             "shot-VT_Standings-t001.png", "shot-VT_Standings-t002.png"})
        EXPECT_EQ(pngCount(out, name), 1) << name;
}

TEST(Program, DemoOnAFreshProfileStoresNothing) {
    const Profile profile;
    ChildProcess run(program({"--demo", "--platform", "headless"}), profile.environment());
    ASSERT_TRUE(run.waitFor("no display", kSlow)) << run.output();
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    run.signal(SIGTERM);
    EXPECT_EQ(run.waitForExit(kSlow), 0) << run.output();
    EXPECT_FALSE(fileExists(profile.settings()));
}

TEST(Program, SecondStartShowsTheFirstAndAKilledOneIsNoObstacle) {
    const Profile profile;
    for (int round = 0; round < 2; ++round) {
        ChildProcess first(program({"--platform", "headless"}), profile.environment());
        ASSERT_TRUE(first.waitFor("no display", kSlow)) << first.output();
        ChildProcess second(program({"--demo"}), profile.environment());
        EXPECT_EQ(second.waitForExit(kSlow), 0);
        EXPECT_NE(second.output().find("brought to the front"), std::string::npos)
            << second.output();
        EXPECT_TRUE(first.running());
        first.signal(SIGKILL); // the next round must start as if nothing had been
        first.waitForExit(kSlow);
    }
}

TEST(Program, FindsTheSimLosesItAndFindsItAgain) {
    const std::string capture = VT_SOURCE_DIR "/../shared/realdata/iracing/le_mans_race_38.irsdk";
    if (!fileExists(capture)) GTEST_SKIP() << "no recording of a race beside the tree";
    const Profile profile;
    ChildProcess run(program({"--platform", "headless"}), profile.environment());
    ASSERT_TRUE(run.waitFor("no display", kSlow)) << run.output();
    size_t seen = 0;
    for (int round = 0; round < 2; ++round) {
        ChildProcess player({VT_SIM_PLAYER, "iracing", capture, "--drive"});
        ASSERT_TRUE(run.waitFor("[sim] iRacing connected", kSlow, seen)) << run.output();
        seen = run.output().size();
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        player.signal(SIGKILL);
        player.waitForExit(kSlow);
        ASSERT_TRUE(run.waitFor("[sim] disconnected", kSlow, seen)) << run.output();
        seen = run.output().size();
    }
    run.signal(SIGTERM);
    EXPECT_EQ(run.waitForExit(kSlow), 0);
}
