// The files: whole or untouched, whatever happens to the process or the disk.
#include "settings_files.h"

#include <chrono>
#include <fcntl.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace vt;
using namespace vt::test;

namespace {

struct LowerTheFlag {
    LowerTheFlag() { settingsSaveFailed = false; }
    ~LowerTheFlag() { settingsSaveFailed = false; }
};

} // namespace

TEST(SettingsStore, StartsFromDefaultsWithoutFilesAndSaysSo) {
    SettingsFolder folder;
    AppConfig config = freshConfig();
    config.imperial = 1;
    EXPECT_FALSE(loadSettings(config, folder.path + "/missing"));
    EXPECT_EQ(config.imperial, 1) << "nothing was read, nothing changed";
    EXPECT_TRUE(saveSettings(config, folder.path + "/a/b")) << "the folder is made";
    AppConfig again = freshConfig();
    EXPECT_TRUE(loadSettings(again, folder.path + "/a/b"));
    EXPECT_EQ(again.imperial, 1);
}

TEST(SettingsStore, KeepsWhatOthersStoredAtTheTopAndOnlyThere) {
    SettingsFolder folder;
    folder.write("overlays.json",
                 R"({"_vtProfileName":"x","later":{"a":[1,2.5,null]},"fuel":{"later":1,"x":4}})");
    AppConfig config = freshConfig();
    ASSERT_TRUE(loadSettings(config, folder.path));
    ASSERT_TRUE(saveSettings(config, folder.path));
    const json tree = folder.tree();
    EXPECT_EQ(tree["_vtProfileName"], "x");
    EXPECT_EQ(tree["later"], json::parse(R"({"a":[1,2.5,null]})"));
    EXPECT_EQ(tree["fuel"]["x"], 4);
    EXPECT_FALSE(tree["fuel"].contains("later"));
}

TEST(SettingsStore, SetsADamagedFileAside) {
    const std::string damaged[] = {
        "{\"imperial\": 1,",   "[1]", "\xFF\xFE", "nul", std::string(100000, '['),
        std::string(100, '\0')};
    for (const std::string& text : damaged) {
        SettingsFolder folder;
        folder.write("overlays.json", text);
        folder.write("panels.json", text);
        AppConfig config = freshConfig();
        EXPECT_FALSE(loadSettings(config, folder.path));
        EXPECT_EQ(config.imperial, 0);
        ASSERT_TRUE(saveSettings(config, folder.path));
        EXPECT_EQ(folder.text("overlays.json.bad"), text);
        EXPECT_EQ(folder.text("panels.json.bad"), text);
        ASSERT_TRUE(saveSettings(config, folder.path));
        EXPECT_EQ(folder.text("overlays.json.bad"), text) << "a good file leaves it alone";
        EXPECT_TRUE(loadSettings(config, folder.path));
    }
}

TEST(SettingsStore, KeepsThePanelsAsTheyWereWritten) {
    SettingsFolder folder;
    const json first = {{"name", "Mein Panel"}, {"items", {{{"kind", 3}}, {{"kind", 4}}}}};
    json panels = {first, 5, {{"name", "third"}}, nullptr, json::array(), {{"name", "sixth"}}};
    panels.push_back({{"name", "seventh"}});
    folder.write("panels.json", dumpJson({{"configVersion", 7}, {"panels", panels}}));
    AppConfig config = freshConfig();
    EXPECT_FALSE(loadSettings(config, folder.path)) << "no overlays.json: still a first run";
    ASSERT_TRUE(saveSettings(config, folder.path));
    const json tree = folder.tree("panels.json");
    EXPECT_EQ(tree["configVersion"], 7) << "nobody has brought the panels into another form";
    ASSERT_EQ(tree["panels"].size(), 6u);
    EXPECT_EQ(tree["panels"][0], first);
    EXPECT_EQ(tree["panels"][1], json::object());
    EXPECT_EQ(tree["panels"][5]["name"], "sixth");

    SettingsFolder fresh;
    ASSERT_TRUE(saveSettings(freshConfig(), fresh.path));
    EXPECT_EQ(fresh.tree("panels.json")["configVersion"], 9);
}

TEST(SettingsStore, SurvivesAKillAtAnyPointOfASave) {
    SettingsFolder folder(true); // a flush takes its time there, so that kills fall into it
    const std::string unfinished = folder.file("overlays.json.tmp");
    AppConfig config = freshConfig();
    config.perfHistoryLimit = 0;
    ASSERT_TRUE(saveSettings(config, folder.path));
    int halfWritten = 0, last = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(90);
    // On a busy machine the kill may come too late for long.
    for (int round = 0; round < 60 || (halfWritten == 0 && std::chrono::steady_clock::now() < end);
         ++round) {
        int saves[2];
        ASSERT_EQ(pipe(saves), 0);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (int i = last + 1;; ++i) {
                config.perfHistoryLimit = i;
                config.fuel.x = -i; // both ends of the file carry the save's number
                config.voiceLanguage = std::string(static_cast<size_t>(i % 5000), 'x');
                if (!saveSettings(config, folder.path) || write(saves[1], "s", 1) != 1) _exit(1);
            }
        }
        close(saves[1]);
        char saved = 0;
        EXPECT_EQ(read(saves[0], &saved, 1), 1);
        // Half of the kills at any time, half while the new file is being written.
        std::this_thread::sleep_for(std::chrono::microseconds(round % 60 * 337));
        for (int i = 0; round % 2 == 0 && i < 20'000 && !fileExists(unfinished); ++i)
            std::this_thread::sleep_for(std::chrono::microseconds(20));
        kill(child, SIGKILL);
        close(saves[0]);
        int status = 0;
        waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status));
        AppConfig found = freshConfig();
        ASSERT_TRUE(loadSettings(found, folder.path)) << "round " << round;
        ASSERT_GT(found.perfHistoryLimit, last);
        ASSERT_EQ(-found.fuel.x, found.perfHistoryLimit);
        ASSERT_EQ(found.voiceLanguage.size(), static_cast<size_t>(found.perfHistoryLimit % 5000));
        halfWritten += fileExists(unfinished);
        removeFile(unfinished);
        last = found.perfHistoryLimit;
    }
    RecordProperty("half_written", halfWritten);
    EXPECT_GT(halfWritten, 0) << "no kill came between a file's beginning and its end";
}

TEST(SettingsStore, LeavesTheOldFileWhenTheDiskIsFullAndSaysSo) {
    LowerTheFlag flag;
    SettingsFolder folder;
    // A file system of its own for root, else a limit on file sizes, which stops a write halfway
    // too.
    const bool mounted =
        geteuid() == 0 && mount("none", folder.path.c_str(), "tmpfs", 0, "size=512k") == 0;
    rlimit limit{}, small{};
    getrlimit(RLIMIT_FSIZE, &limit);
    signal(SIGXFSZ, SIG_IGN);

    AppConfig config = freshConfig();
    ASSERT_TRUE(saveSettings(config, folder.path));
    const std::string before = folder.text("overlays.json");
    ASSERT_GT(before.size(), 10000u);
    if (mounted) {
        const int fd = open(folder.file("ballast").c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
        const std::string block(4096, 'b');
        while (write(fd, block.data(), block.size()) == static_cast<ssize_t>(block.size())) {
        }
        close(fd);
    } else {
        small = limit;
        small.rlim_cur = 4096;
        setrlimit(RLIMIT_FSIZE, &small);
    }

    config.imperial = 1;
    config.settingsDirty = true;
    EXPECT_FALSE(settingsSaveFailed);
    SaveState state;
    EXPECT_FALSE(saveIfDirty(config, folder.path, state, 10'000));
    EXPECT_TRUE(settingsSaveFailed);
    EXPECT_TRUE(config.settingsDirty) << "the change still waits";
    EXPECT_EQ(folder.text("overlays.json"), before);
    EXPECT_TRUE(saveIfDirty(config, folder.path, state, 11'999)) << "not tried yet";

    if (mounted)
        unlink(folder.file("ballast").c_str());
    else
        setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_TRUE(saveIfDirty(config, folder.path, state, 11'999));
    EXPECT_EQ(folder.text("overlays.json"), before);
    EXPECT_TRUE(saveIfDirty(config, folder.path, state, 12'000));
    EXPECT_FALSE(config.settingsDirty);
    EXPECT_EQ(folder.tree()["imperial"], 1);
    EXPECT_TRUE(settingsSaveFailed) << "the store never lowers it";
    if (mounted) umount(folder.path.c_str());
}

TEST(SettingsStore, NeverOverwritesWhatItCouldNotSetAside) {
    LowerTheFlag flag;
    SettingsFolder folder;
    folder.write("overlays.json", "{broken");
    // A folder in the copy's place: the copy cannot be made.
    std::filesystem::create_directories(folder.file("overlays.json.bad") + "/x");
    EXPECT_FALSE(saveSettings(freshConfig(), folder.path));
    EXPECT_TRUE(settingsSaveFailed);
    EXPECT_EQ(folder.text("overlays.json"), "{broken");
}

TEST(SettingsStore, WritesOnlyWhatChanged) {
    SettingsFolder folder;
    AppConfig config = freshConfig();
    SaveState state;
    EXPECT_TRUE(saveIfDirty(config, folder.path, state, 1));
    EXPECT_FALSE(fileExists(folder.file("overlays.json")));
    config.settingsDirty = true;
    EXPECT_TRUE(saveIfDirty(config, folder.path, state, 1));
    EXPECT_FALSE(config.settingsDirty);
    EXPECT_TRUE(fileExists(folder.file("overlays.json")));
    LowerTheFlag flag;
    EXPECT_FALSE(saveSettings(config, "")) << "no settings folder on this system";
    EXPECT_TRUE(settingsSaveFailed);
}

TEST(SettingsStore, KeepsTheStreamersAccounts) {
    LowerTheFlag flag;
    SettingsFolder folder;
    StreamerSettings settings;
    EXPECT_FALSE(loadStreamerSettings(settings, folder.path));
    settings.twitchChannel = "vt";
    settings.pulsoidToken = "secret";
    settings.twitchBotCmdEnabled = {true, false, true};
    settings.twitchBotAnnounceMinutes = 45;
    folder.write("streamer.json", R"({"later": 1})");
    ASSERT_TRUE(saveStreamerSettings(settings, folder.path));
    StreamerSettings again;
    ASSERT_TRUE(loadStreamerSettings(again, folder.path));
    EXPECT_EQ(again.twitchChannel, "vt");
    EXPECT_EQ(again.pulsoidToken, "secret");
    EXPECT_EQ(again.twitchBotCmdEnabled, settings.twitchBotCmdEnabled);
    EXPECT_EQ(again.twitchBotAnnounceMinutes, 45);
    EXPECT_EQ(folder.tree("streamer.json")["later"], 1);
    folder.write("streamer.json", R"({"twitchBotCmdEnabled": [1, true], "twitchChannel": []})");
    ASSERT_TRUE(loadStreamerSettings(again, folder.path));
    EXPECT_EQ(again.twitchBotCmdEnabled, (std::vector<bool>{false, true}));
    EXPECT_EQ(again.twitchChannel, "vt");
    EXPECT_FALSE(saveStreamerSettings(settings, "/proc/none"));
    EXPECT_TRUE(settingsSaveFailed);
}
