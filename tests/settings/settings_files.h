// Settings folders and files for the tests of this folder.
#pragma once
#include "base/json_read.h"
#include "overlay/settings/settings_store.h"
#include "platform/file.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace vt::test {

using nlohmann::json;

/// A new folder, removed with all it holds. In memory where there is such a place: these tests save
/// hundreds of times, and every save waits for the disk.
struct SettingsFolder {
    std::string path;
    explicit SettingsFolder(bool onDisk = false) {
        char memory[] = "/dev/shm/vt_settings_XXXXXX", disk[] = "/tmp/vt_settings_XXXXXX";
        const char* made = onDisk ? nullptr : mkdtemp(memory);
        path = made ? made : mkdtemp(disk);
    }
    ~SettingsFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    SettingsFolder(const SettingsFolder&) = delete;

    std::string file(const char* name) const { return path + "/" + name; }
    void write(const char* name, const std::string& text) const {
        ASSERT_TRUE(writeFileAtomic(file(name), text));
    }
    std::string text(const char* name) const {
        std::string out;
        readFile(file(name), out);
        return out;
    }
    json tree(const char* name = "overlays.json") const {
        json out;
        parseJson(text(name), out);
        return out;
    }
};

inline AppConfig freshConfig() {
    return defaultAppConfig(1920, 1080);
}

/// The configuration that `tree` gives as overlays.json over the defaults.
inline AppConfig loaded(const json& tree) {
    SettingsFolder folder;
    folder.write("overlays.json", dumpJson(tree));
    AppConfig config = freshConfig();
    EXPECT_TRUE(loadSettings(config, folder.path));
    return config;
}

/// overlays.json as it is saved for `config`.
inline json saved(const AppConfig& config) {
    SettingsFolder folder;
    EXPECT_TRUE(saveSettings(config, folder.path));
    return folder.tree();
}

} // namespace vt::test
