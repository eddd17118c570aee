// A store as years of racing leave it: cars and tracks with many sessions each.
#pragma once
#include "perf/perf_store.h"
#include "perf/session_json.h"
#include "support/perf_samples.h"

#include <filesystem>
#include <fstream>
#include <string>

namespace vt {

/// 15 laps a session is an evening; names tell the combo.
inline SessionRecord storedSession(int combo, int session, int laps) {
    SessionRecord record =
        test::sampleSession(test::dateAfter(session * 3600).c_str(), laps, combo + 1);
    copyText(record.carName, "Car " + std::to_string(combo));
    for (size_t i = 0; i < record.laps.size(); ++i) {
        LapRecord& lap = record.laps[i];
        const float x = static_cast<float>(i) * 0.137f;
        lap.avgSpeed = 91.3f + x;
        lap.topSpeed = 160.7f - x;
        lap.maxLatG = 2.1f + x / 10;
        lap.throttlePct = 61.2f + x;
        lap.fuelStartL = 80.3f - x;
        lap.airTempC = 21.37f;
        lap.trackTempC = 30.19f;
    }
    record.hasBestTrace = true;
    record.bestTrace.resize(kBestTraceBins);
    for (size_t i = 0; i < record.bestTrace.size(); ++i) {
        const float x = static_cast<float>(i) * 0.0173f;
        record.bestTrace[i] = {100 + x, x / 4, 1 - x / 4, 0.1f - x / 30, x / 3, x * 30, true};
    }
    copyText(record.traceFile, perfTraceName(record.carName, record.trackName, record.date));
    return record;
}

/// Fills a store by hand: going through 20,000 commits would take as long as driving them.
inline void fillStore(const std::filesystem::path& base, int combos, int sessions, int laps) {
    const auto sim = base / "performance/iracing";
    std::filesystem::create_directories(sim / "traces");
    for (int combo = 0; combo < combos; ++combo) {
        std::string text = "[";
        for (int session = 0; session < sessions; ++session) {
            const SessionRecord record = storedSession(combo, session, laps);
            text += session == 0 ? "\n" : ",\n";
            text += sessionToJson(record);
            std::ofstream(sim / "traces" / record.traceFile) << "x";
        }
        std::ofstream(
            perfRecordPath(base.string(), kSimIRacing, "Car " + std::to_string(combo), "Some Ring"))
            << text << "\n]\n";
    }
}

} // namespace vt
