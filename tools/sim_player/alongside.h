// Cars that come alongside the player's by a script, whatever they would have done in the race:
// from behind, from ahead, on either side, two at once, in the pits. All else is the race's own.
#pragma once
#include "driver_model/driver_model.h"

#include <cstdio>
#include <string>

namespace player {

inline constexpr int kAlongsideCars = 2; // cars 1 and 2 of the race come alongside

class Alongside {
public:
    ~Alongside();
    /// `truthPath` gets a line per sample: monotonic s, s of the script, 1 for the player on pit
    /// road, curvature of the road (1/m), then for each car metres ahead, metres to the right, 1
    /// for on pit road. False with a line on standard error.
    bool begin(const model::Race& race, const std::string& truthPath);
    /// The race as it is to be told after `time` s of the script.
    const model::Race& show(const model::Race& race, double time);

private:
    model::Race shown_;
    std::FILE* truth_ = nullptr;
};

} // namespace player
