// What a folder of telemetry files holds.
#include "base/utf8.h"
#include "import/ibt_folder.h"
#include "import/ibt_import.h"
#include "perf/perf_paths.h"
#include "platform/file.h"
#include "platform/paths.h"
#include "telemetry/ibt/ibt_file.h"
#include "telemetry/readers/iracing_session_text.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace vt {

namespace {

constexpr int64_t kRecordedWithin = 600 * 10'000'000LL; // file time
constexpr std::string_view kSuffix = ".ibt";

void addFile(std::map<std::pair<std::string, std::string>, IbtCombo>& combos,
             const std::string& path, const IbtHeader& header, const IrSessionText& text) {
    if (!text.trackName[0] || !text.carName[0]) return;
    IbtCombo& combo = combos[{text.trackName, text.carName}];
    combo.track = text.trackName;
    combo.car = text.carName;
    combo.trackId = text.trackId;
    ++combo.files;
    combo.bytes += header.fileSize;
    combo.paths.push_back(path);
    if (header.sessionLapCount > 1) combo.lapPaths.push_back(path);
    combo.times.push_back(fileTimeOf(header.modifiedNs));
}

void compareWithStore(PerfStore& store, IbtCombo& combo) {
    std::vector<int64_t> ends;
    for (const SessionHead& head : store.sessionHeads(kSimIRacing, combo.car, combo.track)) {
        int64_t seconds = 0;
        if (head.date.size() == 20 && head.date.back() == 'Z' &&
            parseRecordDate(head.date, seconds))
            ends.push_back(fileTimeOf(seconds * 1'000'000'000));
    }
    combo.sessions = static_cast<int32_t>(ends.size());
    for (const int64_t time : combo.times)
        combo.alreadyRecorded += std::any_of(ends.begin(), ends.end(), [time](int64_t end) {
            return std::abs(end - time) <= kRecordedWithin;
        });
}

} // namespace

std::vector<std::string> listIbtFiles(const std::string& folder) {
    std::vector<std::string> paths;
    for (const FolderEntry& entry : listFolder(folder)) {
        if (entry.isFolder || entry.name.size() < kSuffix.size()) continue;
        if (equalsNoCase(std::string_view(entry.name).substr(entry.name.size() - kSuffix.size()),
                         kSuffix))
            paths.push_back(joinPath(folder, entry.name));
    }
    return paths;
}

std::vector<IbtCombo> scanFolder(PerfStore& store, const std::string& folder) {
    std::map<std::pair<std::string, std::string>, IbtCombo> found;
    IbtHeader header;
    const auto text = std::make_unique<IrSessionText>();
    for (const std::string& path : listIbtFiles(folder)) {
        if (!ibtReadHeader(path, header)) continue;
        parseSessionText(*text, header.sessionText);
        addFile(found, path, header, *text);
    }
    std::vector<IbtCombo> combos;
    for (auto& [key, combo] : found) {
        compareWithStore(store, combo);
        combos.push_back(std::move(combo));
    }
    std::stable_sort(combos.begin(), combos.end(),
                     [](const IbtCombo& a, const IbtCombo& b) { return a.files > b.files; });
    return combos;
}

} // namespace vt
