#include "app/command_line.h"
#include "app/shoot.h"
#include "base/utf8.h"

#include <gtest/gtest.h>

using namespace vt;

TEST(CommandLine, SwitchesInAnyCaseUnknownWordsIgnored) {
    const CommandLine line = parseCommandLine({"what", "--DEMO", "--Platform", "HEADLESS",
                                               "--shoot", "out", "--tag", "a", "--bogus", "x"});
    EXPECT_TRUE(line.demo);
    EXPECT_EQ(line.platform, PlatformKind::headless);
    EXPECT_EQ(line.shootFolder, "out");
    EXPECT_EQ(line.tag, "a");
    EXPECT_EQ(line.openXrLayer, -1);
}

TEST(CommandLine, ASwitchWithoutItsArgumentIsIgnored) {
    for (const char* last : {"--shoot", "--at", "--tag", "--platform", "--openxr-layer"}) {
        const CommandLine line = parseCommandLine({"--demo", last});
        EXPECT_TRUE(line.demo);
        EXPECT_TRUE(line.shootFolder.empty() && line.at.empty() && line.tag == "shot") << last;
        EXPECT_EQ(line.platform, PlatformKind::automatic);
    }
    EXPECT_EQ(parseCommandLine({"--openxr-layer", "maybe"}).openXrLayer, -1);
    EXPECT_EQ(parseCommandLine({"--openxr-layer", "SteamVR-test"}).openXrLayer, 2);
    EXPECT_EQ(parseCommandLine({"--platform", "wayland"}).platform, PlatformKind::automatic);
}

TEST(CommandLine, TimesAreSortedAndBrokenOnesDropped) {
    using Times = std::vector<double>;
    const auto times = [](const char* word) { return parseCommandLine({"--at", word}).at; };
    EXPECT_EQ(times("3,1,2"), (Times{1, 2, 3}));
    EXPECT_EQ(times("13"), (Times{13}));
    EXPECT_EQ(times("1.5,,x,-4,nan,inf,1e9,7"), (Times{1.5, 7}));
    EXPECT_TRUE(times("").empty());
    EXPECT_EQ(shootSuffix(13), "-t013");
    EXPECT_EQ(shootSuffix(71.6), "-t072");
    EXPECT_EQ(shootSuffix(1234), "-t1234");
}

TEST(CommandLine, TagIsCutBetweenCharactersAndBrokenTextIsHarmless) {
    EXPECT_EQ(parseCommandLine({"--tag", std::string(100, 'x')}).tag, std::string(63, 'x'));
    std::string long_;
    for (int i = 0; i < 40; ++i)
        long_ += "é"; // 80 bytes
    const std::string cut = parseCommandLine({"--tag", long_}).tag;
    EXPECT_EQ(cut.size(), 62u);
    EXPECT_TRUE(utf8Valid(cut));
    EXPECT_TRUE(utf8Valid(parseCommandLine({"--tag", "a\xff\xfe"}).tag));
    EXPECT_TRUE(utf8Valid(parseCommandLine({"--shoot", "dir\x80"}).shootFolder));
}

TEST(CommandLine, HelpNamesEverySwitchAndTheExitCodes) {
    const std::string help = commandLineHelp();
    for (const char* word : {"--demo", "--platform", "--shoot", "--at", "--tag", "--openxr-layer",
                             "--help", "Exit codes"})
        EXPECT_NE(help.find(word), std::string::npos) << word;
}
