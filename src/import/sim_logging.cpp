#include "import/sim_logging.h"

#include "base/translate.h"
#include "platform/file.h"
#include "platform/paths.h"
#include "telemetry/setup/file_edit.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <vector>

namespace vt {

namespace {

constexpr size_t kIniBytesMax = 16u << 20;
constexpr std::array<std::string_view, 2> kKeys = {"irsdkEnableDisk", "irsdkAutoLogDisk"};
constexpr const char* kPendingFile = "iracing_logging_pending.txt";
constexpr const char* kPromptFile = "iracing_logging_prompt.txt";
constexpr const char* kFixFile = "iracing_logging_section_fix.txt";

std::string lower(std::string_view text) {
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return out;
}

std::string_view trimmed(std::string_view text) {
    const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
    while (!text.empty() && blank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && blank(text.back()))
        text.remove_suffix(1);
    return text;
}

struct IniLine {
    std::string text; // without its end
    int section = -1; // index of the section's head line; -1 = before the first
    int key = -1;     // index in kKeys
    bool content = false;
};

struct Ini {
    std::vector<IniLine> lines;
    std::string ending = "\r\n"; // what the file uses
    bool lastEnds = true;        // the last line has an ending too
};

int keyOf(std::string_view line) {
    const size_t equals = line.find('=');
    if (equals == line.npos) return -1;
    const std::string name = lower(trimmed(line.substr(0, equals)));
    for (size_t i = 0; i < kKeys.size(); ++i)
        if (name == lower(kKeys[i])) return static_cast<int>(i);
    return -1;
}

bool isHead(std::string_view line) {
    const std::string_view text = trimmed(line);
    return text.size() >= 2 && text.front() == '[' && text.find(']') != text.npos;
}

std::string sectionName(const Ini& ini, int head) {
    if (head < 0) return "";
    const std::string_view text = trimmed(ini.lines[static_cast<size_t>(head)].text);
    return lower(trimmed(text.substr(1, text.find(']') - 1)));
}

Ini parseIni(std::string_view text) {
    Ini ini;
    const size_t feed = text.find('\n');
    if (feed != text.npos) ini.ending = feed > 0 && text[feed - 1] == '\r' ? "\r\n" : "\n";
    ini.lastEnds = text.empty() || text.back() == '\n';
    int section = -1;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        IniLine item{std::string(line), section, -1, !trimmed(line).empty()};
        if (isHead(line)) {
            section = static_cast<int>(ini.lines.size());
            item.section = section;
        } else {
            item.key = keyOf(line);
        }
        ini.lines.push_back(std::move(item));
    }
    return ini;
}

/// A [Telemetry] section with nothing in it but the two keys, at least one of them: the sim never
/// looks there.
bool deadSection(const Ini& ini, int head) {
    if (head < 0 || sectionName(ini, head) != "telemetry") return false;
    bool key = false;
    for (size_t i = static_cast<size_t>(head) + 1;
         i < ini.lines.size() && ini.lines[i].section == head; ++i) {
        if (ini.lines[i].key >= 0)
            key = true;
        else if (ini.lines[i].content)
            return false;
    }
    return key;
}

/// 0 [Misc], 1 another, 2 a mixed [Telemetry], 3 nowhere that counts.
int rankOf(const Ini& ini, int head) {
    const std::string name = sectionName(ini, head);
    if (name == "misc") return 0;
    if (name != "telemetry") return 1;
    return deadSection(ini, head) ? 3 : 2;
}

/// The line that holds the key for the sim; -1 = none.
int findKey(const Ini& ini, int key) {
    int best = -1, bestRank = 3;
    for (size_t i = 0; i < ini.lines.size(); ++i) {
        if (ini.lines[i].key != key) continue;
        const int rank = rankOf(ini, ini.lines[i].section);
        if (rank >= bestRank) continue;
        best = static_cast<int>(i);
        bestRank = rank;
    }
    return best;
}

/// Behind the '=', without what the sim writes after a blank and a semicolon.
std::string_view valueOf(std::string_view line) {
    std::string_view value = line.substr(line.find('=') + 1);
    return trimmed(value.substr(0, value.find(';')));
}

void setToOne(std::string& line) {
    const size_t equals = line.find('=');
    const size_t comment = line.find(';', equals);
    size_t from = equals + 1;
    size_t to = comment == std::string::npos ? line.size() : comment;
    while (from < to && (line[from] == ' ' || line[from] == '\t'))
        ++from;
    while (to > from && (line[to - 1] == ' ' || line[to - 1] == '\t'))
        --to;
    line.replace(from, to - from, "1");
}

void addToMisc(Ini& ini, int key) {
    int head = -1;
    for (size_t i = 0; i < ini.lines.size(); ++i)
        if (ini.lines[i].section == static_cast<int>(i) &&
            sectionName(ini, static_cast<int>(i)) == "misc") {
            head = static_cast<int>(i);
            break;
        }
    if (head < 0) {
        head = static_cast<int>(ini.lines.size());
        ini.lines.push_back({"[Misc]", head, -1, true});
    }
    size_t at = static_cast<size_t>(head) + 1, after = at;
    for (; at < ini.lines.size() && ini.lines[at].section == head; ++at)
        if (ini.lines[at].content) after = at + 1;
    const std::string text = std::string(kKeys[static_cast<size_t>(key)]) + "=1";
    ini.lines.insert(ini.lines.begin() + static_cast<ptrdiff_t>(after), {text, head, key, true});
    for (size_t i = after + 1; i < ini.lines.size(); ++i)
        if (ini.lines[i].section > head) ++ini.lines[i].section;
}

std::string written(const Ini& ini) {
    std::string out;
    for (size_t i = 0; i < ini.lines.size(); ++i) {
        if (deadSection(ini, ini.lines[i].section)) continue;
        out += ini.lines[i].text;
        if (i + 1 < ini.lines.size() || ini.lastEnds) out += ini.ending;
    }
    return out;
}

std::string iniPath(const SimLoggingPlaces& places) {
    return joinPath(joinPath(places.documents, "iRacing"), "app.ini");
}

bool simRuns(const SimLoggingPlaces& places) {
    std::vector<std::string> names;
    if (!places.lister(names)) return true; // cannot tell: better later than into an open file
    return std::any_of(names.begin(), names.end(), [](const std::string& name) {
        return lower(name).starts_with("iracingsim");
    });
}

bool writeLogging(const SimLoggingPlaces& places) {
    std::string ini;
    const std::string path = iniPath(places);
    if (places.documents.empty() || !readFile(path, ini, kIniBytesMax)) return false;
    const std::string changed = withTelemetryLogging(ini);
    if (changed == ini) return true;
    return backUpOnce(path, path + ".vantorel-backup") && replaceGameFile(path, changed);
}

std::string own(const SimLoggingPlaces& places, const char* name) {
    return joinPath(places.appDataDir, name);
}

} // namespace

bool telemetryLoggingOn(std::string_view text) {
    const Ini ini = parseIni(text);
    for (int key = 0; key < static_cast<int>(kKeys.size()); ++key) {
        const int line = findKey(ini, key);
        if (line < 0 || valueOf(ini.lines[static_cast<size_t>(line)].text) != "1") return false;
    }
    return true;
}

std::string withTelemetryLogging(std::string_view text) {
    Ini ini = parseIni(text);
    for (int key = 0; key < static_cast<int>(kKeys.size()); ++key) {
        const int line = findKey(ini, key);
        if (line >= 0)
            setToOne(ini.lines[static_cast<size_t>(line)].text);
        else
            addToMisc(ini, key);
    }
    return written(ini);
}

bool loggingIsOn(const SimLoggingPlaces& places) {
    std::string ini;
    return readFile(iniPath(places), ini, kIniBytesMax) && telemetryLoggingOn(ini);
}

LoggingAnswer turnLoggingOn(const SimLoggingPlaces& places) {
    if (loggingIsOn(places)) return LoggingAnswer::on;
    if (simRuns(places))
        return writeFileAtomic(own(places, kPendingFile), "1") ? LoggingAnswer::whenShut
                                                               : LoggingAnswer::failed;
    return writeLogging(places) ? LoggingAnswer::on : LoggingAnswer::failed;
}

const char* loggingAnswerText(LoggingAnswer answer) {
    switch (answer) {
    case LoggingAnswer::on:
        return Translate("iRacing telemetry logging is on");
    case LoggingAnswer::whenShut:
        return Translate("iRacing telemetry logging will switch on when you close iRacing");
    case LoggingAnswer::failed:
        break;
    }
    return Translate("iRacing's app.ini could not be changed");
}

bool loggingPendingTick(const SimLoggingPlaces& places) {
    const std::string marker = own(places, kPendingFile);
    if (!fileExists(marker) || simRuns(places) || !writeLogging(places)) return false;
    return removeFile(marker);
}

std::string loggingPromptAnswer(const std::string& appDataDir) {
    std::string text;
    if (!readFile(joinPath(appDataDir, kPromptFile), text, 64)) return "";
    return std::string(trimmed(text.substr(0, text.find('\n'))));
}

bool storeLoggingPromptAnswer(const std::string& appDataDir, bool yes) {
    return writeFileAtomic(joinPath(appDataDir, kPromptFile), yes ? "yes" : "no");
}

void checkLoggingOnce(const SimLoggingPlaces& places) {
    const std::string done = own(places, kFixFile);
    if (fileExists(done)) return;
    const bool askedFor = loggingPromptAnswer(places.appDataDir) == "yes";
    if (askedFor && !loggingIsOn(places)) writeFileAtomic(own(places, kPendingFile), "1");
    writeFileAtomic(done, "1");
}

} // namespace vt
