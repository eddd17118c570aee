#include "base/json_read.h"
#include "overlay/settings/json_file.h"
#include "overlay/settings/setting_key.h"
#include "overlay/settings/settings_store.h"
#include "platform/file.h"
#include "platform/paths.h"

#include <nlohmann/json.hpp>

namespace vt {

namespace {

using json = nlohmann::json;

constexpr SettingKey<StreamerSettings> kStreamerKeys[] = {
    {"twitchChannel", &StreamerSettings::twitchChannel},
    {"youtubeChannel", &StreamerSettings::youtubeChannel},
    {"twitchBotClientId", &StreamerSettings::twitchBotClientId},
    {"twitchBotChannel", &StreamerSettings::twitchBotChannel},
    {"twitchBotEnabled", &StreamerSettings::twitchBotEnabled},
    {"pulsoidToken", &StreamerSettings::pulsoidToken},
    {"twitchBotOauth", &StreamerSettings::twitchBotOauth},
    {"twitchBotRefresh", &StreamerSettings::twitchBotRefresh},
    {"twitchBotAnnounceEnabled", &StreamerSettings::twitchBotAnnounceEnabled},
    {"twitchBotAnnounceMinutes", &StreamerSettings::twitchBotAnnounceMinutes, within(1, 60)},
    {"twitchBotLang", &StreamerSettings::twitchBotLang},
};

std::string streamerPath(const std::string& folder) {
    return joinPath(folder, "streamer.json");
}

} // namespace

bool loadStreamerSettings(StreamerSettings& settings, const std::string& folder) {
    json root;
    if (readJsonFile(streamerPath(folder), root) != JsonFile::good) return false;
    readSettings(kStreamerKeys, root, settings);
    const auto commands = root.find("twitchBotCmdEnabled");
    if (commands == root.end() || !commands->is_array()) return true;
    // The place in the array is the command: an entry of another type is off, not left out.
    settings.twitchBotCmdEnabled.clear();
    for (const json& entry : *commands)
        settings.twitchBotCmdEnabled.push_back(entry.is_boolean() && entry.get<bool>());
    return true;
}

bool saveStreamerSettings(const StreamerSettings& settings, const std::string& folder) {
    const std::string path = streamerPath(folder);
    const auto save = [&] {
        json root;
        if (folder.empty() || !makeFolders(folder)) return false;
        if (!keepDamaged(path, readJsonFile(path, root))) return false;
        writeSettings(kStreamerKeys, settings, root);
        root["twitchBotCmdEnabled"] = settings.twitchBotCmdEnabled;
        return writeFileAtomic(path, dumpJson(root));
    };
    const bool saved = save();
    if (!saved) settingsSaveFailed = true;
    return saved;
}

} // namespace vt
