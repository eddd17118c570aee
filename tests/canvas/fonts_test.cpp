#include "base/log.h"
#include "platform/file.h"
#include "platform/text.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace vt {

namespace {

namespace fs = std::filesystem;

std::string shippedFonts() {
    const std::string folder = std::string(VT_SOURCE_DIR) + "/fonts";
    return fileExists(folder + "/inter-tight/InterTight_400Regular.ttf") ? folder : std::string();
}

class Fonts : public testing::Test {
protected:
    fs::path folder = fs::temp_directory_path() / ("vt_fonts_" + std::to_string(getpid()));
    std::string log;

    void SetUp() override {
        fs::create_directories(folder);
        setLogSink(
            [](void* user, std::string_view line) { *static_cast<std::string*>(user) += line; },
            &log);
    }
    void TearDown() override {
        setLogSink(nullptr, nullptr);
        unloadFonts();
        fs::remove_all(folder);
    }
    void write(const char* name, const std::string& bytes) {
        fs::create_directories((folder / name).parent_path());
        std::ofstream(folder / name, std::ios::binary) << bytes;
    }
};

TEST_F(Fonts, EveryFamilyAndWeightIsItsOwnFile) {
    if (shippedFonts().empty()) GTEST_SKIP() << "no fonts/ folder: run tools/get_fonts";
    EXPECT_GE(loadFonts(shippedFonts()), 20);
    struct Row {
        const char* family;
        int weight;
        const char* file;
    };
    constexpr Row rows[] = {
        {"Inter Tight", 400, "InterTight_400Regular.ttf"},
        {"Inter Tight", 500, "InterTight_500Medium.ttf"},
        {"Inter Tight", 600, "InterTight_600SemiBold.ttf"},
        {"Inter Tight", 700, "InterTight_700Bold.ttf"},
        {"JetBrains Mono", 400, "JetBrainsMono_400Regular.ttf"},
        {"JetBrains Mono", 600, "JetBrainsMono_600SemiBold.ttf"},
        {"JetBrains Mono", 700, "JetBrainsMono_700Bold.ttf"},
        {"Titillium Web", 400, "TitilliumWeb_400Regular.ttf"},
        {"Titillium Web", 600, "TitilliumWeb_600SemiBold.ttf"},
        {"Titillium Web", 700, "TitilliumWeb_700Bold.ttf"},
        {"Chakra Petch", 400, "ChakraPetch_400Regular.ttf"},
        {"Chakra Petch", 600, "ChakraPetch_600SemiBold.ttf"},
        {"Chakra Petch", 700, "ChakraPetch_700Bold.ttf"},
        {"Barlow Condensed", 400, "BarlowCondensed_400Regular.ttf"},
        {"Barlow Condensed", 500, "BarlowCondensed_500Medium.ttf"},
        {"Barlow Condensed", 600, "BarlowCondensed_600SemiBold.ttf"},
        {"Barlow Condensed", 700, "BarlowCondensed_700Bold.ttf"},
        {"Noto Sans JP", 400, "NotoSansJP_400Regular.ttf"},
        {"Noto Sans JP", 700, "NotoSansJP_700Bold.ttf"},
    };
    for (const Row& row : rows) {
        EXPECT_TRUE(fontFamilyKnown(row.family)) << row.family;
        EXPECT_EQ(fontFileFor(row.family, row.weight), row.file) << row.family << row.weight;
    }
}

TEST_F(Fonts, AnUnknownFamilyComesFromTheSystemNotFromTheShippedOnes) {
    loadFonts({});
    const std::string plain = fontFileFor("No Such Family", 400);
    EXPECT_FALSE(plain.empty());
    EXPECT_FALSE(fontFamilyKnown("No Such Family"));
    if (shippedFonts().empty()) GTEST_SKIP() << "no fonts/ folder: run tools/get_fonts";
    loadFonts(shippedFonts());
    EXPECT_EQ(fontFileFor("No Such Family", 400), plain);
}

TEST_F(Fonts, MissingEmptyAndDamagedFilesLeaveTheSystemsFonts) {
    EXPECT_EQ(loadFonts((folder / "nowhere").string()), 0);
    EXPECT_EQ(loadFonts(folder.string()), 0);
    write("empty.ttf", "");
    write("damaged.OTF", std::string(5000, 'x'));
    write("deep/readme.txt", "no font");
    write("deep/huge.ttf", "x");
    fs::resize_file(folder / "deep/huge.ttf", (32u << 20) + 1);
    log.clear();
    EXPECT_EQ(loadFonts(folder.string()), 0);
    for (const char* name : {"empty.ttf", "damaged.OTF", "huge.ttf"})
        EXPECT_NE(log.find(name), std::string::npos) << log;
    EXPECT_EQ(log.find("readme"), std::string::npos);
    const TextFormatRef format = createTextFormat("Inter Tight", 12, 400);
    EXPECT_GT(layoutMetrics(*createTextLayout(*format, "Text", 100, 20)).width, 10);
}

TEST_F(Fonts, HiddenEntriesAreSkippedAndSubfoldersWalked) {
    if (shippedFonts().empty()) GTEST_SKIP() << "no fonts/ folder: run tools/get_fonts";
    const fs::path font = fs::path(shippedFonts()) / "chakra-petch/ChakraPetch_400Regular.ttf";
    fs::create_directories(folder / "a/b");
    fs::create_directories(folder / ".hidden");
    fs::copy_file(font, folder / "a/b/one.TTF");
    fs::copy_file(font, folder / ".two.ttf");
    fs::copy_file(font, folder / ".hidden/three.ttf");
    EXPECT_EQ(loadFonts(folder.string()), 1);
    EXPECT_EQ(fontFileFor("Chakra Petch", 400), "one.TTF");
}

} // namespace

} // namespace vt
