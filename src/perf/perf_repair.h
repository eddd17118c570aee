// Changes to one stored session, on its JSON: keys that this version does not know stay as they
// are. Pure. Functions may throw what the JSON library throws for a record of wrong types; the
// store catches it.
#pragma once
#include <nlohmann/json_fwd.hpp>

#include <string_view>
#include <vector>

namespace vt {

/// Number of laps in the entry; -1 when they are no list of objects.
int storedLaps(const nlohmann::ordered_json& entry);

/// Puts the times in, mends the last sectors, recomputes the summary's lap times and sets the
/// version. `times` has one finite value for each lap. How many laps changed.
int putLapTimes(nlohmann::ordered_json& entry, const std::vector<float>& times);

/// False when there is no such lap.
bool putShareState(nlohmann::ordered_json& entry, int lapIndex, int share,
                   std::string_view shareLapId);

/// The version as the first key.
void putVersion(nlohmann::ordered_json& entry, int version);

} // namespace vt
