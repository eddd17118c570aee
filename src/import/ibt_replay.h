// One telemetry file on its way into the store.
#pragma once
#include "import/ibt_columns.h"
#include "import/ibt_import.h"
#include "perf/session_commit.h"
#include "perf/session_tracker.h"

#include <memory>
#include <string>
#include <vector>

namespace vt {

/// A stretch of equal `SessionNum`; moments of the session's clock, s.
struct IbtStint {
    int32_t sessionNum = 0;
    double first = 0, last = 0;
    double shift = 0; // s that bring its moments onto the clock of the file's last stint
};

/// The clock of a file: its last sample was taken when it was last written.
struct IbtClock {
    int64_t end = 0; // file time
    double last = 0; // SessionTime of the last sample, s
    int64_t at(double sessionTime) const;
};

struct IbtReplay {
    ImportContext& context;
    SessionIndex& index;
    bool replacePreFix = false, gpsOnly = false;
    IbtFile file{};
    std::unique_ptr<IrSessionText> text{};
    IbtColumns columns{};
    IbtClock clock{};
    SessionMeta meta{};               // without the session's type
    std::vector<IbtStint> stints{};   // as probed before the replay
    std::vector<int64_t> stintEnds{}; // file times
    std::set<std::string> storedDates{};
    std::unique_ptr<SessionTracker> tracker{};
    IbtImportResult result{};

    bool named() const { return !meta.carName.empty() && !meta.trackName.empty(); }
    /// Nothing of the file may be believed any more; the result says so.
    bool spoilt();
    ImportStint identity(const IbtStint& stint) const;
};

/// Without reading more than a few samples when `SessionNum` never falls. Where the sim's clock
/// began anew with a session, the one before ended as that one began.
std::vector<IbtStint> findStints(IbtFile& file, const IbtColumns& columns);
/// Some of eight samples along the file has a position.
bool ibtHasGps(IbtFile& file, const IbtColumns& columns);

/// What the tracker has gathered goes to the store, or to the session that is there already; the
/// tracker is empty afterwards.
void flushStint(IbtReplay& replay, const IbtStint& stint);

} // namespace vt
