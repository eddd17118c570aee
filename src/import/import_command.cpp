#include "import/import_command.h"

#include "base/utf8.h"
#include "import/ibt_import.h"
#include "perf/gps_map.h"
#include "platform/file.h"
#include "platform/paths.h"

#include <charconv>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>

namespace vt {

namespace {

int numberOf(std::string_view text) {
    int value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

std::vector<int> idsOf(std::string_view text) {
    std::vector<int> ids;
    for (size_t start = 0; start <= text.size();) {
        const size_t end = std::min(text.find(',', start), text.size());
        const int id = numberOf(text.substr(start, end - start));
        if (id > 0) ids.push_back(id);
        start = end + 1;
    }
    return ids;
}

struct Switch {
    const char* name;
    bool takesValue;
    void (*apply)(ImportCommand& command, const std::string& value);
};

constexpr Switch kSwitches[] = {
    {"--import", true, [](ImportCommand& c, const std::string& v) { c.importPath = v; }},
    {"--scan", true, [](ImportCommand& c, const std::string& v) { c.scanFolder = v; }},
    {"--out", true, [](ImportCommand& c, const std::string& v) { c.out = v; }},
    {"--replace-prefix", false,
     [](ImportCommand& c, const std::string&) { c.replacePreFix = true; }},
    {"--gps-only", false, [](ImportCommand& c, const std::string&) { c.gpsOnly = true; }},
    {"--jobs", true, [](ImportCommand& c, const std::string& v) { c.jobs = numberOf(v); }},
    {"--redo-track", true, [](ImportCommand& c, const std::string& v) { c.redoTracks = idsOf(v); }},
};

/// Lines for the log file, and for the terminal when `echo`.
struct Journal {
    std::string path;
    bool echo = false;

    Journal(const std::string& folder, const char* name, bool toTerminal) : echo(toTerminal) {
        if (!folder.empty()) makeFolders(folder);
        path = joinPath(folder.empty() ? "." : folder, name);
        removeFile(path);
    }
    void say(const std::string& text) {
        const std::string line = foreignToUtf8(text) + "\n";
        appendFile(path, line);
        if (!echo) return;
        std::fputs(line.c_str(), stdout);
        std::fflush(stdout);
    }
};

__attribute__((format(printf, 1, 2))) std::string printed(const char* format, ...) {
    va_list values, again;
    va_start(values, format);
    va_copy(again, values);
    const int length = std::vsnprintf(nullptr, 0, format, values);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    va_end(values);
    return text;
}

bool hasFailed(const IbtImportResult& result) {
    return !result.parsed || !result.message.empty();
}

std::string fileLine(const std::string& path, const IbtImportResult& result) {
    const std::string name = path.substr(path.rfind('/') + 1);
    if (hasFailed(result)) return name + ": FAILED (" + result.message + ")";
    return printed("%s: %d stint(s) saved, %d lap(s), %d skipped (already recorded live), %d "
                   "skipped (incomplete), %d session(s) replaced, %d given GPS",
                   name.c_str(), result.stintsSaved, result.lapsImported, result.skippedRecorded,
                   result.skippedIncomplete, result.sessionsReplaced, result.givenGps);
}

struct Totals {
    int files = 0, failed = 0, stints = 0, laps = 0, recorded = 0, incomplete = 0, replaced = 0,
        givenGps = 0;
    std::set<int32_t> tracks;
};

Totals totalsOf(const std::vector<IbtImportResult>& results) {
    Totals totals;
    for (const IbtImportResult& result : results) {
        ++totals.files;
        totals.failed += hasFailed(result);
        totals.stints += result.stintsSaved;
        totals.laps += result.lapsImported;
        totals.recorded += result.skippedRecorded;
        totals.incomplete += result.skippedIncomplete;
        totals.replaced += result.sessionsReplaced;
        totals.givenGps += result.givenGps;
        if (result.parsed && result.trackId > 0) totals.tracks.insert(result.trackId);
    }
    return totals;
}

void buildMaps(PerfStore& store, const std::set<int32_t>& tracks, Journal& journal) {
    int built = 0;
    for (const int32_t track : tracks) {
        const GpsMapBuild map = rebuildGpsMap(store, track, nullptr);
        built += map.built;
        journal.say(printed("GPS map track %d: ", track) +
                    (map.built ? printed("%d clean lap(s)", map.cleanLaps)
                               : "not built (too few clean GPS laps)"));
    }
    journal.say(
        printed("GPS maps built: %d of %d track(s)", built, static_cast<int>(tracks.size())));
}

int runImport(const ImportCommand& command, const std::string& base, const std::string& dataDir) {
    Journal journal(command.out, "ibt_import.log", true);
    journal.say("Importing " + command.importPath +
                (command.out.empty() ? "" : " -> " + command.out));
    if (!command.redoTracks.empty()) {
        std::string ids;
        for (const int id : command.redoTracks)
            ids += (ids.empty() ? "" : ",") + std::to_string(id);
        journal.say("Redo tracks (existing sessions replaced): " + ids);
    }
    const std::string& folder = command.out.empty() ? base : command.out;
    if (folder.empty()) {
        journal.say("no data folder: set HOME, or name one with --out");
        return 1;
    }
    PerfStore store(folder);
    RunDates dates;
    ImportContext context{.store = store, .dataDir = dataDir, .dates = dates};
    context.redoTracks.insert(command.redoTracks.begin(), command.redoTracks.end());
    context.gpsOnly = command.gpsOnly;
    context.onFile = [&journal](size_t, const std::string& path, const IbtImportResult& result) {
        journal.say(fileLine(path, result));
    };
    std::vector<std::string> files;
    const Totals totals = totalsOf(
        importPath(context, command.importPath, command.replacePreFix, command.jobs, files));
    journal.say(printed("TOTAL: %d file(s) (%d failed to parse), %d stint(s) saved, %d lap(s) "
                        "imported, %d skipped (already recorded live), %d skipped (incomplete), %d "
                        "session(s) replaced, %d session(s) given GPS",
                        totals.files, totals.failed, totals.stints, totals.laps, totals.recorded,
                        totals.incomplete, totals.replaced, totals.givenGps));
    buildMaps(store, totals.tracks, journal);
    return totals.failed > 0 ? 1 : 0;
}

int runScan(const ImportCommand& command, const std::string& base) {
    Journal journal(command.out, "ibt_scan.log", false);
    PerfStore store(base);
    const std::vector<IbtCombo> combos = scanFolder(store, command.scanFolder);
    for (const IbtCombo& combo : combos)
        journal.say(printed("%s | %s | trackId=%d | files=%d | lapFiles=%d | sessions=%d | "
                            "bytes=%" PRIu64 " | alreadyRecorded~=%d",
                            combo.track.c_str(), combo.car.c_str(), combo.trackId, combo.files,
                            static_cast<int>(combo.lapPaths.size()), combo.sessions, combo.bytes,
                            combo.alreadyRecorded));
    journal.say(printed("TOTAL: %d combo(s)", static_cast<int>(combos.size())));
    return 0;
}

} // namespace

bool parseImportCommand(const std::vector<std::string>& words, ImportCommand& out) {
    out = {};
    for (size_t i = 0; i < words.size(); ++i) {
        for (const Switch& known : kSwitches) {
            if (!equalsNoCase(words[i], known.name)) continue;
            if (!known.takesValue)
                known.apply(out, {});
            else if (i + 1 < words.size())
                known.apply(out, words[++i]);
            break;
        }
    }
    if (!out.importPath.empty()) out.scanFolder.clear();
    return !out.importPath.empty() || !out.scanFolder.empty();
}

int runImportCommand(const ImportCommand& command, const std::string& base,
                     const std::string& dataDir) {
    return command.importPath.empty() ? runScan(command, base) : runImport(command, base, dataDir);
}

} // namespace vt
