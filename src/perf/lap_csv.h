// One lap as a table for spreadsheet programs.
#pragma once
#include "perf/session_record.h"
#include "perf/trace_file.h"

#include <string>

namespace vt {

inline constexpr int kBestLapOfSession = -1;

/// One row for each bin with data. The lap's trace where there is one; else, for the session's best
/// lap, its 200 bins; else only the head. `lapIndex` is kBestLapOfSession or counts from 0. Speeds
/// in mph or km/h; steering in degrees.
std::string lapCsv(const SessionRecord& record, int lapIndex, const LapTrace* trace, bool mph);

/// "car_track_20260102_lap.csv".
std::string lapCsvName(const SessionRecord& record);

/// Writes it into `folder`, whole or not at all. `message` is what to tell the user: "saved %s"
/// with the bare name, or "export failed".
bool exportLapCsv(const std::string& folder, const SessionRecord& record, int lapIndex,
                  const LapTrace* trace, bool mph, std::string& message);

} // namespace vt
