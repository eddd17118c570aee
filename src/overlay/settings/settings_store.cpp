#include "overlay/settings/settings_store.h"

#include "base/json_read.h"
#include "overlay/settings/app_codec.h"
#include "overlay/settings/json_file.h"
#include "overlay/settings/overlay_codec.h"
#include "platform/file.h"
#include "platform/paths.h"

#include <nlohmann/json.hpp>

namespace vt {

std::atomic<bool> settingsSaveFailed{false};

namespace {

using json = nlohmann::json;

constexpr uint64_t kRetryMs = 2000;

std::string overlaysPath(const std::string& folder) {
    return joinPath(folder, "overlays.json");
}
std::string panelsPath(const std::string& folder) {
    return joinPath(folder, "panels.json");
}

void loadPanels(AppConfig& config, const std::string& folder) {
    json root;
    if (readJsonFile(panelsPath(folder), root) != JsonFile::good) return;
    config.panelsVersion = readInt(root, "configVersion", kConfigVersion);
    const auto panels = root.find("panels");
    if (panels == root.end() || !panels->is_array()) return;
    for (size_t i = 0; i < config.panels.size() && i < panels->size(); ++i)
        if (const json& entry = (*panels)[i]; entry.is_object())
            config.panels[i].json = entry.dump();
}

bool savePanels(const AppConfig& config, const std::string& folder) {
    json panels = json::array();
    for (const PanelDesign& panel : config.panels) {
        json entry;
        const bool stored = parseJson(panel.json, entry) && entry.is_object();
        panels.push_back(stored ? std::move(entry) : json::object());
    }
    json root = {{"configVersion", config.panelsVersion}};
    root["panels"] = std::move(panels);
    const std::string path = panelsPath(folder), text = dumpJson(root);
    // Most saves are of a switch or a slider: then a second wait for the disk is spared.
    std::string present;
    if (readFile(path, present) && present == text) return true;
    json old;
    return keepDamaged(path, readJsonFile(path, old)) && writeFileAtomic(path, text);
}

bool saveOverlays(const AppConfig& config, const std::string& folder) {
    const std::string path = overlaysPath(folder);
    json root;
    if (!keepDamaged(path, readJsonFile(path, root))) return false;
    root["configVersion"] = kConfigVersion;
    writeAppKeys(config, root);
    writeOverlays(config, root);
    return writeFileAtomic(path, dumpJson(root));
}

} // namespace

std::string settingsFolder() {
    const std::string parent = appDataFolder();
    return parent.empty() ? parent : joinPath(parent, "overlays");
}

bool loadSettings(AppConfig& config, const std::string& folder, const MonitorMove& move) {
    loadPanels(config, folder);
    json root;
    if (readJsonFile(overlaysPath(folder), root) != JsonFile::good) return false;
    migrateForm(root);
    if (readInt(root, "configVersion", 0) < kConfigVersion) migratePositions(root, move);
    readOverlays(config, root);
    readAppKeys(config, root);
    for (int slot = 0; slot < kSlotCount; ++slot)
        if (OverlayConfig* overlay = overlayConfig(config, slot))
            overlay->refreshHz = snapRefreshHz(slot, overlay->refreshHz);
    return true;
}

bool saveSettings(const AppConfig& config, const std::string& folder) {
    const bool folderThere = !folder.empty() && makeFolders(folder);
    const bool panelsSaved = folderThere && savePanels(config, folder);
    const bool overlaysSaved = folderThere && saveOverlays(config, folder);
    if (!panelsSaved || !overlaysSaved) settingsSaveFailed = true;
    return overlaysSaved;
}

bool saveIfDirty(AppConfig& config, const std::string& folder, SaveState& state, uint64_t nowMs) {
    if (!config.settingsDirty || nowMs < state.notBeforeMs) return true;
    const bool saved = saveSettings(config, folder);
    config.settingsDirty = !saved;
    state.notBeforeMs = saved ? 0 : nowMs + kRetryMs;
    return saved;
}

void resetToDefaults(AppConfig& config, int slot, int screenWidth, int screenHeight) {
    copyOverlay(config, defaultAppConfig(screenWidth, screenHeight), slot);
}

} // namespace vt
