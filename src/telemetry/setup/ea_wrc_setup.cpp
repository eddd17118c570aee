#include "telemetry/setup/ea_wrc_setup.h"

#include "base/json_read.h"
#include "base/translate.h"
#include "platform/file.h"
#include "platform/paths.h"
#include "telemetry/readers/ea_wrc_layout.h"
#include "telemetry/setup/file_edit.h"

#include <nlohmann/json.hpp>

namespace vt {

namespace {

// Plain JSON objects would sort the keys of the user's file anew.
using Json = nlohmann::ordered_json;

constexpr const char* kStructure = "vantorel2";
constexpr const char* kOldStructure = "vantorel"; // of earlier versions
constexpr const char* kPacket = "session_update";
constexpr const char* kAddress = "127.0.0.1";
constexpr int kEverySample = -1; // Hz: as often as the game has new values
constexpr int kMaxDepth = 200;

struct Paths {
    std::string folder, packetFile, oldPacketFile, config, backup;
};

Paths pathsBelow(const std::string& documents) {
    Paths p;
    p.folder = joinPath(documents, "My Games/WRC/telemetry");
    p.packetFile = p.folder + "/udp/" + kEaWrcPacketFile;
    p.oldPacketFile = p.folder + "/udp/vantorel.json";
    p.config = p.folder + "/config.json";
    p.backup = p.config + ".vt.bak";
    return p;
}

/// Strict: a byte order mark or a comment makes it another language than JSON, and a writer of JSON
/// would drop them without a word.
bool parseConfig(const std::string& text, Json& out) {
    if (text.starts_with("\xEF\xBB\xBF") || !jsonDepthWithin(text, kMaxDepth)) return false;
    out = Json::parse(text, nullptr, false);
    return !out.is_discarded();
}

/// `structure` of a receiver's entry; empty when it has none.
std::string structureOf(const Json& entry) {
    if (!entry.is_object()) return {};
    const auto found = entry.find("structure");
    return found != entry.end() && found->is_string() ? found->get<std::string>() : std::string();
}

bool isOurs(const Json& entry) {
    return structureOf(entry) == kStructure;
}
bool isOld(const Json& entry) {
    return structureOf(entry) == kOldStructure;
}

const Json& receiverValues() {
    static const Json values = {
        {"structure", kStructure}, {"packet", kPacket},           {"ip", kAddress},
        {"port", kEaWrcPort},      {"frequencyHz", kEverySample}, {"bEnabled", true}};
    return values;
}

bool isCorrect(const Json& entry) {
    for (const auto& [key, value] : receiverValues().items()) {
        const auto found = entry.find(key);
        if (found == entry.end() || *found != value) return false;
    }
    return true;
}

int countOthers(const Json& receivers) {
    int count = 0;
    for (const Json& entry : receivers) {
        const std::string structure = structureOf(entry);
        count += !structure.empty() && structure != kStructure && structure != kOldStructure;
    }
    return count;
}

/// Takes away the entries that `test` picks. True when there were any.
template <class Test>
bool removeEntries(Json& list, Test test) {
    Json kept = Json::array();
    for (const Json& entry : list)
        if (!test(entry)) kept.push_back(entry);
    const bool removed = kept.size() != list.size();
    if (removed) list = std::move(kept);
    return removed;
}

// ---- the edit of the document
// -------------------------------------------------------------------------------

enum class Edit { done, unchanged, noList, notSafe };

/// An old version wrote its entry to the top of the file, where the game never looks.
bool removeFromTop(Json& config) {
    const auto top = config.find("packets");
    if (top == config.end() || !top->is_array()) return false;
    if (!removeEntries(*top, [](const Json& e) { return isOurs(e) || isOld(e); })) return false;
    if (top->empty()) config.erase("packets");
    return true;
}

/// One entry of ours, correct; whatever else stands in it stays. True when something changed.
bool putOurEntry(Json& receivers) {
    int seen = 0;
    bool changed = removeEntries(receivers, [&seen](const Json& e) {
        return isOurs(e) && ++seen > 1; // the first one stays
    });
    if (seen == 0) {
        receivers.push_back(receiverValues());
        return true;
    }
    for (Json& entry : receivers) {
        if (!isOurs(entry) || isCorrect(entry)) continue;
        for (const auto& [key, value] : receiverValues().items())
            entry[key] = value;
        changed = true;
    }
    return changed;
}

Edit editConfig(Json& config, std::vector<std::string>& report, int& others) {
    if (!config.is_object()) return Edit::notSafe;
    bool changed = removeFromTop(config);
    if (changed)
        report.push_back(
            Translate("Removed a stale Vantorel entry from the wrong part of config.json."));
    if (!config.contains("udp")) config["udp"] = Json::object();
    Json& udp = config["udp"];
    if (!udp.is_object()) return Edit::notSafe;
    if (!udp.contains("packets")) udp["packets"] = Json::array();
    Json& receivers = udp["packets"];
    if (!receivers.is_array()) return Edit::noList;
    if (removeEntries(receivers, isOld)) {
        changed = true;
        report.push_back(Translate("Removed the Vantorel entry this version replaces."));
    }
    changed = putOurEntry(receivers) || changed;
    others = countOthers(receivers);
    return changed ? Edit::done : Edit::unchanged;
}

// ---- the steps
// ----------------------------------------------------------------------------------------------

bool installPacketFile(const Paths& paths, std::vector<std::string>& report) {
    std::string present;
    const bool wasThere = pathExists(paths.packetFile);
    if (readFile(paths.packetFile, present, kGameFileLimit) && present == kEaWrcPacketText) {
        report.push_back(Translate("Packet file already up to date: ") + paths.packetFile);
        return true;
    }
    if (!replaceGameFile(paths.packetFile, kEaWrcPacketText)) {
        report.push_back(Translate("Could not write the packet file: ") + paths.packetFile);
        report.push_back(Translate("Windows refused the write. Antivirus or folder permissions are "
                                   "the usual reason. Use the manual steps below."));
        return false;
    }
    report.push_back((wasThere ? Translate("Updated the packet file: ")
                               : Translate("Installed the packet file: ")) +
                     paths.packetFile);
    return true;
}

bool readConfig(const Paths& paths, Json& config, std::vector<std::string>& report) {
    std::string text;
    if (!readFile(paths.config, text, kGameFileLimit)) {
        report.push_back(Translate("Could not read ") + paths.config);
        report.push_back(Translate(
            "Launch EA Sports WRC once so it creates that file, then press this button again. "
            "Vantorel will not write a config file from scratch: it only ever edits the one the "
            "game made."));
        return false;
    }
    if (parseConfig(text, config)) return true;
    report.push_back(Translate("Your config.json could not be read as valid JSON:"));
    report.push_back(paths.config);
    report.push_back(Translate(
        "Something has left it malformed, usually a hand edit with a missing or extra comma. "
        "Vantorel has not touched it. Fix or delete that file (the game rebuilds a fresh one), "
        "then try again, or use the manual steps below."));
    return false;
}

bool backUpConfig(const Paths& paths, std::vector<std::string>& report) {
    bool made = false;
    if (!backUpOnce(paths.config, paths.backup, &made)) {
        report.push_back(Translate("Could not back up your config.json to:"));
        report.push_back(paths.backup);
        report.push_back(Translate(
            "Nothing was changed. Something is blocking that file (permissions, or an antivirus "
            "holding it). Sort that out and press this button again, or use the manual steps "
            "below."));
        return false;
    }
    if (made) {
        report.push_back(Translate("Backed up your original config to:"));
        report.push_back(paths.backup);
    }
    return true;
}

bool notSafe(std::vector<std::string>& report) {
    report.push_back(
        Translate("Something in config.json could not be processed safely, so Vantorel stopped "
                  "without changing it. Use the manual steps below."));
    return false;
}

std::string othersLine(int others) {
    char text[512];
    std::snprintf(text, sizeof text,
                  Translate("Left your %d other telemetry %s in that file untouched."), others,
                  others == 1 ? Translate("tool") : Translate("tools"));
    return text;
}

bool editAndWrite(const Paths& paths, Json& config, std::vector<std::string>& report) {
    int others = 0;
    std::vector<std::string> removed; // told once it is so
    const Edit edit = editConfig(config, removed, others);
    if (edit == Edit::notSafe) return notSafe(report);
    if (edit == Edit::noList) {
        report.push_back(
            Translate("Your config.json has a receiver list that is not a list, so Vantorel cannot "
                      "safely add itself to it. Use the manual steps below."));
        return false;
    }
    if (edit == Edit::done && !replaceGameFile(paths.config, config.dump(2))) {
        report.push_back(Translate("Could not write ") + paths.config);
        report.push_back(Translate("Windows refused the write. Your original file is unchanged. "
                                   "Use the manual steps below."));
        return false;
    }
    report.insert(report.end(), removed.begin(), removed.end());
    report.push_back((edit == Edit::done ? Translate("Added Vantorel to ")
                                         : Translate("Vantorel was already listed in ")) +
                     paths.config);
    if (others > 0) report.push_back(othersLine(others));
    report.push_back(Translate("Restart EA Sports WRC now. It reads both files when it starts, so "
                               "the change does nothing until then."));
    return true;
}

} // namespace

bool eaWrcAutoSetup(const std::string& documents, std::vector<std::string>& report) {
    if (documents.empty()) {
        report.push_back(
            Translate("Could not work out where your Documents folder is, so the setup could not "
                      "run. Use the manual steps below."));
        return false;
    }
    const Paths paths = pathsBelow(documents);
    if (!folderExists(paths.folder)) {
        report.push_back(Translate("EA Sports WRC has never been launched on this PC, so its "
                                   "telemetry folder does not exist yet:"));
        report.push_back(paths.folder);
        report.push_back(Translate(
            "Start the game once, reach the main menu, then come back and press this button again. "
            "Vantorel will not create that folder itself: the game has to make it, or the settings "
            "would be written somewhere the game never looks."));
        return false;
    }
    if (!installPacketFile(paths, report)) return false;
    if (fileExists(paths.oldPacketFile) && removeFile(paths.oldPacketFile))
        report.push_back(Translate("Removed the packet file this version replaces: ") +
                         paths.oldPacketFile);
    Json config;
    if (!readConfig(paths, config, report) || !backUpConfig(paths, report)) return false;
    try {
        return editAndWrite(paths, config, report);
    } catch (const std::exception&) {
        return notSafe(report);
    }
}

bool eaWrcCheck(const std::string& documents, EaWrcStatus& status) {
    status = {};
    const Paths paths = pathsBelow(documents);
    status.folderExists = !documents.empty() && folderExists(paths.folder);
    if (!status.folderExists) return false;
    std::string text;
    status.packetFileExists = fileExists(paths.packetFile);
    status.packetFileMatches =
        readFile(paths.packetFile, text, kGameFileLimit) && text == kEaWrcPacketText;
    status.configRead = readFile(paths.config, text, kGameFileLimit);
    Json config;
    status.configParses = status.configRead && parseConfig(text, config);
    if (!status.configParses || !config.is_object()) return true;
    const auto udp = config.find("udp");
    if (udp == config.end() || !udp->is_object()) return true;
    const auto receivers = udp->find("packets");
    status.receiversAreList = receivers != udp->end() && receivers->is_array();
    if (!status.receiversAreList) return true;
    const auto ours = std::find_if(receivers->begin(), receivers->end(), isOurs);
    status.entryExists = ours != receivers->end();
    status.entryCorrect = status.entryExists && isCorrect(*ours) &&
                          std::count_if(receivers->begin(), receivers->end(), isOurs) == 1;
    status.otherReceivers = countOthers(*receivers);
    return true;
}

bool eaWrcReady(const EaWrcStatus& status) {
    return status.folderExists && status.packetFileMatches && status.entryCorrect;
}

} // namespace vt
