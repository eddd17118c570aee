// The variables of iRacing's samples: names, types and units as the sim has them, and what the
// driver model says about each.
#pragma once
#include "iracing_model.h"

namespace player {

/// What the variables are told from.
struct IrMoment {
    const model::Race& race;
    const model::Car& me;
    IrPlace origin;
    const std::vector<std::vector<double>>& lapTimes; // per class: s from the line, by point
    const model::Wheel (&measured)[4];                // tyres, as the crew saw them last
    double time = 0;                                  // SessionTime
    double lastLap = 0;                               // s; -1 = none
    double delta = 0;                                 // s
    bool deltaOk = false;
    int session = 0, tick = 0, bestLapNumber = -1;
    bool furled = false, away = false; // away: the driver has left the car
};

std::vector<vt::IrVarHeader> irVariables(IrTable table);

/// `sample` has room for all of `irVariables`.
void fillIrSample(const IrMoment& moment, IrTable table, uint8_t* sample);

} // namespace player
