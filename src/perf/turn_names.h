// Names of turns that somebody wrote down: `turnnames/<sim key>/<track id>.json` in the program's
// data folder, else in the shipped one.
//
//     { "match": { "lengthM": 5793, "lengthTolPct": 1.5 },
//       "turns": [ { "name": "Prima Variante" }, { "name": "Curva Grande", "pct": 0.21 } ] }
//
// A layout of another length has other turns: the file applies only when the track's length lies
// within the tolerance. An entry with `pct` (a lap fraction) names the nearest turn within 2 % of
// the lap, one without the turn of its place in the list. Any thread; reads a file.
#pragma once
#include "perf/track_shape.h"

#include <string>

namespace vt {

/// Names the turns of `shape` that have no name yet. `length` in metres; 0 = the shape's own.
/// Nothing when there is no file, it cannot be believed, or it is of another length.
void nameTurns(TrackShape& shape, const std::string& dataDir, const std::string& baseDir,
               int simKind, int trackId, float length);

} // namespace vt
