// iRacing's samples of cars that move.
#pragma once
#include "drive_model.h"
#include "iracing_image.h"

namespace player {

struct IrDrive {
    DriveModel model;
    double startTime = 0;   // session time of the recording
    double startRemain = 0; // session time left in it
    double total = 0;       // length of the session, s
    bool onGrid = false;    // recorded before the start of a race: its clock stands until then
    double startFuel = 0;   // litres
    double fuelCapacity = 60;
    double maxRpm = 7000;
    int32_t lapsTotal = 0; // 0 = not limited by laps
    int32_t state = 4;     // SessionState of the recording
    uint32_t flags = 0;
    int32_t player = -1;
    double lastSpeed = 0; // of the player, for its acceleration
};

IrDrive startIrDrive(const IrImage& image);

/// Moves on by `dt` seconds and writes everything that changed into the sample.
void stepIrDrive(IrDrive& drive, double dt, IrSampleWriter out);

} // namespace player
