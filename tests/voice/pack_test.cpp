// Packs are folders that users fill: what is found, what is refused, what the log says of it.
#include "base/log.h"
#include "voice/voice_choose.h"
#include "voice/voice_pack.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>

using namespace vt;
namespace fs = std::filesystem;

namespace {

struct Packs : testing::Test {
    fs::path root;
    std::string log;
    void SetUp() override {
        char name[] = "/tmp/vt_pack_XXXXXX";
        root = mkdtemp(name);
        setVoiceRoot(root.string());
        setLogSink(
            [](void* user, std::string_view line) { *static_cast<std::string*>(user) += line; },
            &log);
    }
    void TearDown() override {
        setLogSink(nullptr, nullptr);
        setVoiceRoot("");
        fs::remove_all(root);
    }
    /// 16 bit mono at 48 kHz, `frames` long.
    void clip(const std::string& name, uint32_t frames = 480) {
        const fs::path path = root / name;
        fs::create_directories(path.parent_path());
        std::string bytes(
            "RIFF\0\0\0\0WAVEfmt \x10\0\0\0\1\0\1\0\x80\xBB\0\0\0\0\0\0\0\0\x10\0data", 40);
        for (int i = 0; i < 4; i++)
            bytes += static_cast<char>(frames * 2 >> (8 * i) & 255);
        std::ofstream(path, std::ios::binary) << bytes << std::string(frames * 2, 'x');
    }
    bool load(const VoiceWanted& wanted, VoiceClips& out) {
        log.clear();
        return loadPack(wanted, 48000, 2, out, nullptr, nullptr);
    }
    long lines(const std::string& word) const {
        long count = 0;
        for (size_t at = 0; (at = log.find(word, at)) != log.npos; at++)
            count++;
        return count;
    }
};

TEST_F(Packs, namesStandAtTheNumbersThatRequestsUse) {
    const std::pair<int, std::string_view> told[] = {
        {0, "brake_later"},      {19, "personal_best"},       {110, "eng_grid"},
        {119, "eng_result_pos"}, {131, "eng_ov_restart_pos"}, {150, "setup_differs"}};
    for (const auto& [index, name] : told)
        EXPECT_EQ(kCoachLineNames[static_cast<size_t>(index)], name);
    EXPECT_EQ(kAlertNames[11], "track_limits");
    EXPECT_EQ(kNumberNames[19], "num_20");
    std::vector<std::string_view> names(kCoachLineNames.begin(), kCoachLineNames.end());
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::unique(names.begin(), names.end()), names.end());
}

TEST_F(Packs, languagesAndPacksAreFoundAndHostileNamesAreNot) {
    clip("en/Zed/car_left.wav");
    clip("en/Ann/clear.wav");
    clip("en/NoPack/still_left.wav"); // not one of the first six
    clip("en/.hidden/car_left.wav");
    clip("fr/Corin/car_left.wav");
    clip("fr/Ann/car_left.wav");
    clip("eng/Ann/car_left.wav");
    clip("Loose/car_left.wav");
    fs::create_directory(root / "de");
    fs::create_directory_symlink("loop", root / "en/loop");
    EXPECT_EQ(listLanguages(), (std::vector<std::string>{"en", "fr"}));
    EXPECT_EQ(listPacks("en"), (std::vector<std::string>{"Ann", "Zed"}));
    EXPECT_EQ(listPacks(""), (std::vector<std::string>{"Loose"}));
    EXPECT_EQ(resolveLanguage("de", "fr"), "fr");
    EXPECT_EQ(resolveLanguage("en", "fr"), "en");
    EXPECT_EQ(resolveLanguage("de", "it"), "");
    EXPECT_EQ(defaultPack("en"), "Ann");
    EXPECT_EQ(defaultPack("fr"), "Corin");
    using namespace std::string_literals;
    for (const std::string& name : {""s, "."s, ".."s, "../en/Ann"s, ".hidden"s, "Ann/"s, "Ann\0x"s,
                                    "a\\b"s, "/etc"s, "loop"s, std::string(5000, 'a')})
        EXPECT_EQ(packPath("en", name), "") << name.substr(0, 20);
    for (const std::string language : {"..", "./", "eng", "e\n"})
        EXPECT_TRUE(packPath(language, "Ann").empty() && listPacks(language).empty()) << language;
    EXPECT_FALSE(packHasCoach("en", "Ann"));
    clip("en/Ann/coach/setup_differs_5.wav");
    EXPECT_TRUE(packHasCoach("en", "Ann"));
    EXPECT_EQ(languageLabel("zh"), "中文");
    EXPECT_EQ(languageLabel("xx"), "xx");
}

TEST_F(Packs, everySetLandsInItsPlaceAndUnwantedOnesStayEmpty) {
    const char* names[] = {
        "car_left",      "three_wide_right_5", "alerts/track_limits_2", "coach/eng_grid_4",
        "coach/here_1",  "coach/turn_40_1",    "coach/num_turn_1",      "coach/rem_brake_later_1",
        "coach/ord_40_1"};
    uint32_t frames = 100;
    for (const char* name : names)
        clip("en/Ann/" + std::string(name) + ".wav", frames++);
    VoiceClips clips;
    ASSERT_TRUE(load({"en", "../Ann", true, true, true}, clips));
    EXPECT_EQ(lines("requested \"../Ann\" -> using \"Ann\", 1/11 phrases loaded, 1 extra take(s)"),
              1);
    EXPECT_EQ(lines("alerts, 1 cues / 1 clips"), 1);
    EXPECT_EQ(lines("no alert clips for"), 10);
    EXPECT_EQ(
        lines("1/151 lines (1 clips) + 2/41 places + 1 reminders + 1 number clips + 1 ordinals"),
        1);
    PackClip* landed[] = {&clips.phrases[0][0],      &clips.phrases[10][4], &clips.alerts[11][1],
                          &clips.coachLines[110][3], &clips.places[0],      &clips.places[40],
                          &clips.numbers[29],        &clips.reminders[0],   &clips.ordinals[39]};
    for (size_t i = 0; i < std::size(landed); i++) {
        const Clip* heard = hear(clips, *landed[i]);
        ASSERT_TRUE(heard) << names[i];
        EXPECT_EQ(heard->frames(), 100 + i) << names[i];
    }
    ASSERT_TRUE(load({"de", "", true, false, false}, clips) == false) << "no pack at all";
    ASSERT_TRUE(load({"en", "Ann", false, true, false}, clips));
    EXPECT_TRUE(clips.phrases[0][0].absent() && clips.coachLines[110][3].absent());
    int asked = 0;
    EXPECT_FALSE(loadPack(
        {"en", "Ann", true, true, true}, 48000, 2, clips, [&] { return ++asked > 3; }, nullptr));
    EXPECT_EQ(asked, 4) << "a stop is heard between two files";
}

TEST_F(Packs, hostileFilesCostOneLineEachAndTheOthersPlay) {
    clip("en/Ann/car_left.wav");
    const auto at = [&](const char* name) { return root / "en/Ann" / name; };
    mkfifo(at("car_left_2.wav").c_str(), 0600);
    fs::create_symlink("/dev/zero", at("car_left_3.wav"));
    fs::create_symlink("car_left_4.wav", at("car_left_4.wav"));
    std::ofstream(at("car_left_5.wav")) << "RIFF";
    fs::resize_file(at("car_left_5.wav"), 2ull << 30);
    fs::create_directory(at("car_right_2.opus"));
    std::ofstream(at("car_right_3.opus")) << "OggS no more";
    clip("en/Ann/car_right_3.wav");
    VoiceClips clips;
    ASSERT_TRUE(load({"en", "Ann", true, false, false}, clips));
    EXPECT_EQ(clips.phrases[0][0].clip.frames(), 480u);
    EXPECT_EQ(clips.phrases[1][2].clip.frames(), 480u);
    for (const char* name : {"car_left_2.wav", "car_left_3.wav", "car_left_4.wav", "car_left_5.wav",
                             "car_right_2.opus", "car_right_3.opus"})
        EXPECT_EQ(lines(name), 1) << name;
    EXPECT_EQ(lines("FAILED"), 5 + 10) << "ten phrases have no first take";
    EXPECT_EQ(lines("passed over"), 1);
}

TEST_F(Packs, aLineThatTurnsOutToBeDamagedGivesWayToItsOtherTakes) {
    clip("en/Ann/car_left.wav");
    clip("en/Ann/coach/brake_later_1.wav", 700);
    for (const char* name : {"brake_later_2.opus", "brake_later_3.opus"})
        std::ofstream(root / "en/Ann/coach" / name) << "OggS no more";
    std::ofstream(root / "en/Ann/coach/here_1.wav") << "RIFF";
    VoicePlayer player;
    ASSERT_TRUE(load({"en", "Ann", false, false, true}, player.clips));
    resetPlayer(player, 48000);
    for (int i = 0; i < 8; i++) {
        player.current = nullptr;
        chooseWhatPlays(player, {.tip = packTip(0, 0, false)});
        ASSERT_TRUE(player.current);
        EXPECT_EQ(player.current->frames(), 700u);
        EXPECT_FALSE(player.second) << "the place cannot be said";
    }
    EXPECT_EQ(lines("FAILED"), 3) << log;
}

} // namespace
