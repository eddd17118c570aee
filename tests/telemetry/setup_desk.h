// A documents folder of its own, with the files of games in it.
#pragma once
#include "platform/file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <unistd.h>

namespace vt::test {

class SetupDesk : public ::testing::Test {
protected:
    std::filesystem::path root;

    void SetUp() override {
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        root = std::filesystem::temp_directory_path() /
               ("vt_setup_" + std::to_string(getpid()) + "_" + info->name());
        std::filesystem::remove_all(root);
        std::filesystem::create_directories(root);
    }
    void TearDown() override { std::filesystem::remove_all(root); }

    std::string documents() const { return (root / "Documents").string(); }

    static void put(const std::filesystem::path& path, const std::string& text) {
        std::filesystem::create_directories(path.parent_path());
        ASSERT_TRUE(writeFileAtomic(path.string(), text));
    }
    static std::string get(const std::filesystem::path& path) {
        std::string text;
        EXPECT_TRUE(readFile(path.string(), text)) << path;
        return text;
    }
    /// Every file below `root` with what stands in it.
    std::map<std::string, std::string> everything() const {
        std::map<std::string, std::string> files;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(root))
            if (entry.is_regular_file()) files[entry.path().string()] = get(entry.path());
        return files;
    }
};

} // namespace vt::test
