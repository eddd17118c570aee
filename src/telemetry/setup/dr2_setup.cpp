#include "telemetry/setup/dr2_setup.h"

#include "base/translate.h"
#include "base/utf8.h"
#include "platform/file.h"
#include "platform/paths.h"
#include "telemetry/readers/dirt_rally2_layout.h"
#include "telemetry/setup/file_edit.h"

#include <algorithm>
#include <vector>

namespace vt {

namespace {

constexpr const char* kFolder = "My Games/DiRT Rally 2.0/hardwaresettings";
constexpr const char* kFiles[] = {"hardware_settings_config.xml",
                                  "hardware_settings_config_vr.xml"};
constexpr const char* kLevel = "3"; // of detail: 3 sends all 66 values
constexpr size_t kNone = std::string_view::npos;

std::string port() {
    return std::to_string(kDirtRally2Port);
}

// ---- just enough XML
// ----------------------------------------------------------------------------------------

/// Start of the first `<name` that is an element and stands in no comment.
size_t findElement(std::string_view xml, std::string_view name) {
    for (size_t at = xml.find('<'); at != kNone; at = xml.find('<', at + 1)) {
        if (xml.substr(at, 4) == "<!--") {
            const size_t end = xml.find("-->", at + 4);
            if (end == kNone) return kNone;
            at = end;
            continue;
        }
        const size_t behind = at + 1 + name.size();
        if (xml.substr(at + 1, name.size()) != name || behind >= xml.size()) continue;
        if (std::string_view(" \t\r\n/>").find(xml[behind]) != kNone) return at;
    }
    return kNone;
}

/// Behind the `>` of the tag that starts at `at`; a `>` inside quotes is text. `kNone` when the tag
/// never ends.
size_t tagEnd(std::string_view xml, size_t at) {
    char quote = 0;
    for (; at < xml.size(); ++at) {
        const char c = xml[at];
        if (quote != 0) {
            if (c == quote) quote = 0;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '>') {
            return at + 1;
        }
    }
    return kNone;
}

bool closesItself(std::string_view tag) {
    return tag.ends_with("/>");
}

std::string_view attribute(std::string_view tag, std::string_view name) {
    for (size_t at = tag.find(name); at != kNone; at = tag.find(name, at + 1)) {
        const size_t quote = at + name.size() + 1;
        const bool whole = at > 0 && std::string_view(" \t\r\n").find(tag[at - 1]) != kNone;
        if (!whole || quote >= tag.size() || tag[quote - 1] != '=') continue;
        if (tag[quote] != '"' && tag[quote] != '\'') continue;
        const size_t end = tag.find(tag[quote], quote + 1);
        return end == kNone ? std::string_view() : tag.substr(quote + 1, end - quote - 1);
    }
    return {};
}

std::string filePath(const Dr2View& view, Dr2File file) {
    return joinPath(joinPath(view.documents, kFolder), kFiles[file]);
}

Dr2FileState scanFile(const std::string& path) {
    if (!pathExists(path)) return Dr2FileState::missing;
    std::string xml;
    return readFile(path, xml, kGameFileLimit) ? dr2StateOf(xml) : Dr2FileState::unreadable;
}

bool gameRuns(ProcessLister lister) {
    std::vector<std::string> names;
    if (!lister || !lister(names)) return false;
    return std::any_of(names.begin(), names.end(),
                       [](const std::string& n) { return equalsNoCase(n, "dirtrally2.exe"); });
}

/// Empty when the file is in order afterwards, else the reason why it is as it was.
std::string putLine(const std::string& path) {
    if (!pathExists(path))
        return Translate("this file does not exist yet. Run DiRT Rally 2.0 once and quit, then try "
                         "again.");
    std::string xml, edited, reason;
    if (!readFile(path, xml, kGameFileLimit)) return Translate("could not be read");
    if (!dr2WithLine(xml, edited, reason)) return reason;
    if (!backUpOnce(path, path + ".vt-backup"))
        return Translate("could not be backed up, so nothing was changed");
    if (edited != xml && !replaceGameFile(path, edited))
        return Translate("could not be written to. It may be read only");
    return {};
}

} // namespace

const char* dr2StateText(Dr2FileState state) {
    switch (state) {
    case Dr2FileState::missing:
        return Translate("File not found. Launch DiRT Rally 2.0 once and quit: the game creates "
                         "this file the first time it runs.");
    case Dr2FileState::noLine:
        return Translate("Found, but it has no telemetry line at all. Vantorel can add one.");
    case Dr2FileState::off:
        return Translate("Telemetry is switched off in this file.");
    case Dr2FileState::wrongLevelOrPort:
        return Translate("Telemetry is on, but it is not set to the detail level and port Vantorel "
                         "listens on.");
    case Dr2FileState::wrongAddress:
        return Translate("Telemetry is on and set up correctly, but it is being sent to a "
                         "different computer, so nothing arrives on this one.");
    case Dr2FileState::ready:
        return Translate("Ready. Nothing to change in this file.");
    case Dr2FileState::unreadable:
        return Translate("Found, but Vantorel could not open it. Check the file is not read only.");
    }
    return "";
}

std::string dr2Line() {
    return "<udp enabled=\"true\" extradata=\"3\" ip=\"127.0.0.1\" port=\"" + port() +
           "\" delay=\"1\" />";
}

Dr2FileState dr2StateOf(std::string_view xml) {
    const size_t at = findElement(xml, "udp");
    if (at == kNone) return Dr2FileState::noLine;
    const size_t end = tagEnd(xml, at);
    const std::string_view tag = xml.substr(at, end == kNone ? kNone : end - at);
    const std::string_view enabled = attribute(tag, "enabled"), ip = attribute(tag, "ip");
    if (enabled != "true" && enabled != "True" && enabled != "1") return Dr2FileState::off;
    if (attribute(tag, "extradata") != kLevel || attribute(tag, "port") != port())
        return Dr2FileState::wrongLevelOrPort;
    if (ip != "127.0.0.1" && ip != "localhost") return Dr2FileState::wrongAddress;
    return Dr2FileState::ready;
}

bool dr2WithLine(std::string_view xml, std::string& out, std::string& reason) {
    const bool hasLine = findElement(xml, "udp") != kNone;
    const size_t at = findElement(xml, hasLine ? "udp" : "motion_platform");
    if (at == kNone) {
        reason = Translate("has no motion platform section to add the line to");
        return false;
    }
    const size_t end = tagEnd(xml, at);
    // What follows an element that is closed by a second tag, or a section without a content, is
    // not ours to take apart.
    if (end == kNone || closesItself(xml.substr(at, end - at)) != hasLine) {
        reason = Translate("has a motion platform section Vantorel could not read");
        return false;
    }
    const std::string lineEnd = xml.find("\r\n") != kNone ? "\r\n" : "\n";
    out = xml.substr(0, hasLine ? at : end);
    if (!hasLine) out += lineEnd + "    ";
    out += dr2Line();
    out += xml.substr(end);
    return true;
}

void dr2Scan(Dr2View& view) {
    view.normal = view.vr = Dr2FileState::missing;
    if (view.documents.empty()) return;
    view.normal = scanFile(filePath(view, kDr2Normal));
    view.vr = scanFile(filePath(view, kDr2Vr));
}

bool dr2Fix(Dr2View& view, Dr2File file, ProcessLister lister, std::string& message) {
    if (view.documents.empty()) {
        message = Translate("Nothing was changed: the Documents folder could not be found.");
        return false;
    }
    if (gameRuns(lister)) {
        message = Translate("Close DiRT Rally 2.0 first. It rewrites these files when it exits, so "
                            "a change made now would be undone. Nothing has been changed.");
        return false;
    }
    const std::string reason = putLine(filePath(view, file));
    dr2Scan(view);
    if (reason.empty()) {
        message = Translate("Done. A copy of the original was saved next to it, ending in "
                            ".vt-backup. Start DiRT Rally 2.0 and the telemetry will be live.");
        return true;
    }
    message = Translate("Nothing was changed. ");
    message += std::string(kFiles[file]) + ": " + reason;
    return false;
}

bool dr2NeedsAttention(const std::string& documents) {
    Dr2View view;
    view.documents = documents;
    dr2Scan(view);
    return !documents.empty() &&
           (view.normal != Dr2FileState::ready || (view.hasVr() && view.vr != Dr2FileState::ready));
}

} // namespace vt
