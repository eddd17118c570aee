// What the store has of a car on a track, and whether a stint of a file is among it.
#include "base/utf8.h"
#include "import/ibt_import.h"
#include "perf/perf_paths.h"
#include "platform/random_file.h"
#include "telemetry/sim_registry.h"

#include <cmath>
#include <cstdlib>

namespace vt {

namespace {

constexpr int64_t kEpochFileTime = 116'444'736'000'000'000; // 1970 in 100 ns since 1601
constexpr int64_t kSecond = 10'000'000;                     // file time
constexpr int64_t kNear = 120 * kSecond;
constexpr int64_t kNearBroken = 600 * kSecond; // sessions of before the fix were dated loosely
constexpr int64_t kSameMoment = 3 * kSecond;   // dates are whole seconds, and move out of the way
constexpr const char* kFixedSince = "2026-07-31T12:00:00Z";
constexpr int32_t kMendableVersion = 8;
constexpr float kSameLap = 0.025f; // s
constexpr int kMostShift = 3;

bool momentOf(const std::string& date, int64_t& fileTime) {
    int64_t seconds = 0;
    if (date.size() != 20 || date.back() != 'Z' || !parseRecordDate(date, seconds)) return false;
    fileTime = seconds * kSecond + kEpochFileTime;
    return true;
}

bool belongsToSibling(const IndexedSession& session, const ImportStint& stint) {
    if (stint.fileDates && stint.fileDates->contains(session.head.date)) return true;
    if (session.head.source != "ibt" || !stint.fileEnds) return false;
    const int64_t own = std::abs(session.time - stint.end);
    for (const int64_t end : *stint.fileEnds) {
        const int64_t other = std::abs(session.time - end);
        if (other <= kSameMoment && other < own) return true;
    }
    return false;
}

/// The session nearest to the stint's end, of those that end at most `reach` outside it.
int nearest(const std::vector<IndexedSession>& sessions, const ImportStint& stint, int64_t reach,
            bool preFixOnly) {
    int best = -1;
    int64_t bestAway = 0;
    for (size_t i = 0; i < sessions.size(); ++i) {
        const IndexedSession& session = sessions[i];
        if (session.time < stint.start - reach || session.time > stint.end + reach) continue;
        if ((preFixOnly && !session.preFix) || belongsToSibling(session, stint)) continue;
        const int64_t away = std::abs(session.time - stint.end);
        if (best >= 0 && away >= bestAway) continue;
        best = static_cast<int>(i);
        bestAway = away;
    }
    return best;
}

} // namespace

int64_t fileTimeOf(int64_t unixNs) {
    const int64_t rest = unixNs % 100;
    return (unixNs - rest) / 100 - (rest < 0 ? 1 : 0) + kEpochFileTime;
}

int64_t unixNsOf(int64_t fileTime) {
    return (fileTime - kEpochFileTime) * 100;
}

std::string ibtFileKey(const std::string& path) {
    RandomFile file;
    if (!file.open(path)) return {};
    const auto time = static_cast<uint64_t>(fileTimeOf(file.modifiedNs()));
    return foreignToUtf8(path.substr(path.rfind('/') + 1)) + "|" + std::to_string(file.size()) +
           "|" + std::to_string(time);
}

void RunDates::add(const std::string& date) {
    while (busy_.test_and_set(std::memory_order_acquire)) {
    }
    dates_.insert(date);
    busy_.clear(std::memory_order_release);
}

bool RunDates::has(const std::string& date) const {
    while (busy_.test_and_set(std::memory_order_acquire)) {
    }
    const bool found = dates_.contains(date);
    busy_.clear(std::memory_order_release);
    return found;
}

namespace {
std::string indexKey(const std::string& car, const std::string& track, int32_t trackId) {
    return car + "|" + track + "|" + std::to_string(trackId) + "|" + std::to_string(kSimIRacing);
}
} // namespace

const std::vector<IndexedSession>& SessionIndex::of(const std::string& car,
                                                    const std::string& track, int32_t trackId) {
    const auto [place, isNew] = known_.try_emplace(indexKey(car, track, trackId));
    if (!isNew) return place->second;
    for (SessionHead& head : store_.sessionHeads(kSimIRacing, car, track)) {
        IndexedSession session;
        if (head.trackId != trackId || head.simId != kSimIRacing) continue;
        if (!momentOf(head.date, session.time)) continue;
        session.preFix = head.source != "ibt" && head.date < kFixedSince;
        session.versionEight = head.version == kMendableVersion;
        session.canTakeGps = head.gps == 0 && !head.traceFile.empty();
        session.writtenThisRun = dates_.has(head.date);
        session.head = std::move(head);
        place->second.push_back(std::move(session));
    }
    return place->second;
}

void SessionIndex::drop(const std::string& car, const std::string& track, int32_t trackId) {
    known_.erase(indexKey(car, track, trackId));
}

ImportVerdict classifyStint(const ImportStint& stint, bool replacePreFix,
                            const std::set<int32_t>& redoTracks, SessionIndex& index, int& match) {
    const auto& sessions = index.of(stint.car, stint.track, stint.trackId);
    match = nearest(sessions, stint, kNear, false);
    if (match >= 0) {
        const IndexedSession& session = sessions[static_cast<size_t>(match)];
        if (redoTracks.contains(stint.trackId))
            return session.writtenThisRun ? ImportVerdict::leave : ImportVerdict::replace;
        return replacePreFix && (session.preFix || session.versionEight) ? ImportVerdict::replace
                                                                         : ImportVerdict::leave;
    }
    if (replacePreFix) match = nearest(sessions, stint, kNearBroken, true);
    return match >= 0 ? ImportVerdict::replace : ImportVerdict::fresh;
}

int32_t bestLapShift(const std::vector<float>& a, const std::vector<float>& b) {
    const auto matches = [&](int shift) {
        int count = 0;
        for (size_t i = 0; i < a.size(); ++i) {
            const int64_t j = static_cast<int64_t>(i) + shift;
            if (j < 0 || j >= static_cast<int64_t>(b.size())) continue;
            const float other = b[static_cast<size_t>(j)];
            if (a[i] > 0 && other > 0 && std::abs(a[i] - other) < kSameLap) ++count;
        }
        return count;
    };
    int32_t best = -kMostShift;
    for (int32_t shift = -kMostShift + 1; shift <= kMostShift; ++shift)
        if (matches(shift) > matches(best)) best = shift;
    return best;
}

} // namespace vt
