// The settings' files: overlays.json and panels.json in the settings folder, streamer.json beside
// them. Main thread.
#pragma once
#include "overlay/settings/app_config.h"
#include "overlay/settings/migration.h"

#include <atomic>
#include <string>
#include <vector>

namespace vt {

/// Raised by any failed write and never lowered by the store; any thread reads it.
extern std::atomic<bool> settingsSaveFailed;

/// `<app data>/overlays`.
std::string settingsFolder();

/// Reads panels.json, then overlays.json, over what `config` holds. False when overlays.json could
/// not be opened or parsed: a first run. Never throws; a bad value leaves that value's default.
/// `move` serves files from before version 9 on a desktop that scales each screen by itself.
bool loadSettings(AppConfig& config, const std::string& folder, const MonitorMove& move = {});

/// Writes both files, each whole or not at all. True when overlays.json is in place. Top-level keys
/// of the old file that this program does not know survive. A file that cannot be parsed is kept
/// beside the new one with ".bad" at its name's end.
bool saveSettings(const AppConfig& config, const std::string& folder);

/// Saves when `settingsDirty`, and clears it when that worked. After a failure it waits `retryMs`
/// before it tries again, so that a full disk is not written to sixty times a second. True unless a
/// save was tried and failed.
struct SaveState {
    uint64_t notBeforeMs = 0;
};
bool saveIfDirty(AppConfig& config, const std::string& folder, SaveState& state, uint64_t nowMs);

/// One overlay's block back to that of a fresh installation, position included.
void resetToDefaults(AppConfig& config, int slot, int screenWidth, int screenHeight);

struct StreamerSettings {
    std::string twitchChannel, youtubeChannel;
    std::string twitchBotClientId, twitchBotChannel;
    bool twitchBotEnabled = false;
    std::string pulsoidToken;
    std::string twitchBotOauth, twitchBotRefresh;
    std::vector<bool> twitchBotCmdEnabled;
    bool twitchBotAnnounceEnabled = false;
    int twitchBotAnnounceMinutes = 15;
    std::string twitchBotLang;
};
bool loadStreamerSettings(StreamerSettings& settings, const std::string& folder);
bool saveStreamerSettings(const StreamerSettings& settings, const std::string& folder);

} // namespace vt
