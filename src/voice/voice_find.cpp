#include "platform/file.h"
#include "platform/paths.h"
#include "voice/voice_pack.h"

#include <algorithm>

namespace vt {
namespace {

constexpr int kPackPhrases = 6; // a folder with one of the first six phrases is a pack
constexpr size_t kLongestName = 255;

std::string& chosenRoot() {
    static std::string root;
    return root;
}

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isLanguageName(const std::string& name) {
    return name.size() == 2 && isLetter(name[0]) && isLetter(name[1]);
}

bool isPackName(const std::string& name) {
    if (name.empty() || name.size() > kLongestName || name[0] == '.') return false;
    return std::all_of(name.begin(), name.end(), [](char c) {
        return c != '/' && c != '\\' && static_cast<unsigned char>(c) >= 0x20;
    });
}

bool hasClip(const std::string& stem) {
    return fileExists(stem + ".wav") || fileExists(stem + ".opus");
}

/// Ends with a slash; empty for a name that is none.
std::string languageFolder(const std::string& language) {
    if (language.empty()) return voiceRoot();
    return isLanguageName(language) ? voiceRoot() + language + "/" : std::string();
}

} // namespace

std::string voiceRoot() {
    if (!chosenRoot().empty()) return chosenRoot();
    const std::string data = shippedFolder("data");
    return (data.empty() ? joinPath(programFolder(), "data") : data) + "/spotter/";
}

void setVoiceRoot(const std::string& folder) {
    chosenRoot() = folder;
    if (!folder.empty() && folder.back() != '/') chosenRoot() += '/';
}

std::vector<std::string> listLanguages() {
    std::vector<std::string> languages;
    for (const FolderEntry& entry : listFolder(voiceRoot()))
        if (entry.isFolder && isLanguageName(entry.name) && !listPacks(entry.name).empty())
            languages.push_back(entry.name);
    return languages;
}

std::vector<std::string> listPacks(const std::string& language) {
    std::vector<std::string> packs;
    const std::string folder = languageFolder(language);
    if (folder.empty()) return packs;
    for (const FolderEntry& entry : listFolder(folder))
        if (entry.isFolder && !packPath(language, entry.name).empty()) packs.push_back(entry.name);
    return packs;
}

std::string resolveLanguage(const std::string& setting, const std::string& appLanguage) {
    const std::vector<std::string> languages = listLanguages();
    for (const std::string& code : {setting, appLanguage})
        if (std::find(languages.begin(), languages.end(), code) != languages.end()) return code;
    return {};
}

std::string defaultPack(const std::string& language) {
    if (!packPath(language, "Corin").empty()) return "Corin";
    const std::vector<std::string> packs = listPacks(language);
    return packs.empty() ? std::string() : packs.front();
}

std::string packPath(const std::string& language, const std::string& pack) {
    const std::string folder = languageFolder(language);
    if (folder.empty() || !isPackName(pack)) return {};
    const std::string path = folder + pack + "/";
    for (int phrase = 0; phrase < kPackPhrases; phrase++)
        if (hasClip(path + std::string(kPhraseNames[static_cast<size_t>(phrase)]))) return path;
    return {};
}

bool packHasCoach(const std::string& language, const std::string& pack) {
    const std::string path = packPath(language, pack);
    if (path.empty() || !folderExists(path + "coach")) return false;
    for (const std::string_view line : kCoachLineNames)
        for (int take = 1; take <= kTakes; take++)
            if (hasClip(path + "coach/" + std::string(line) + "_" + std::to_string(take)))
                return true;
    return false;
}

std::string languageLabel(const std::string& code) {
    static constexpr std::pair<std::string_view, std::string_view> kLabels[] = {
        {"en", "English"}, {"fr", "Français"},  {"it", "Italiano"}, {"de", "Deutsch"},
        {"es", "Español"}, {"pt", "Português"}, {"ja", "日本語"},   {"zh", "中文"}};
    for (const auto& [key, label] : kLabels)
        if (key == code) return std::string(label);
    return code;
}

} // namespace vt
