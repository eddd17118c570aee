// The long log of what was decided and learned, for whoever wants to know later why: one file,
// `logs/coach.log` in the program's data folder.
#pragma once
#include "platform/clock.h"

#include <string>

namespace vt {

/// Where the log goes; empty = nowhere (the state at start). A file above 8 MiB is deleted. Call
/// before the first line of a run.
void coachLogOpen(const std::string& appDataDir, const Clock& clock);

/// The position that the next lines of any thread stand under; told by the pump with each frame.
/// A `sessionNum` below 0 and a time of 0 are written as they are.
void coachLogPosition(int sessionNum, double sessionTime, int lap, float lapDistPct);

/// One line, in one write: local time, position, then the text, whose own line end is not doubled.
/// Any thread. A file that cannot be written drops the line.
void coachLog(const char* format, ...) __attribute__((format(printf, 1, 2)));

} // namespace vt
