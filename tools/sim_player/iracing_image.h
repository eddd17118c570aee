// A recorded image of iRacing's shared memory, and a way to change its samples.
#pragma once
#include "base/bytes.h"
#include "telemetry/readers/iracing_session_text.h"
#include "telemetry/readers/iracing_vars.h"

#include <string>
#include <vector>

namespace player {

struct IrImage {
    std::vector<uint8_t> bytes;
    vt::IrHeader header;
    vt::IrVarTable vars;
    std::string rawText;
    vt::IrSessionText text;
    std::vector<uint8_t> sample; // the newest of the recording
    int32_t tick = 0;            // its tick count
};

/// Reads a recording. One that holds a session text but no variables gets a variable table and an
/// empty sample. False, with the reason, for what is no image.
bool loadIrImage(const std::string& path, IrImage& out, std::string& error);

/// Writes values into one sample, converted to the stored type. A variable that the recording does
/// not have is left out.
struct IrSampleWriter {
    const vt::IrVarTable& vars;
    std::vector<uint8_t>& sample;

    void put(std::string_view name, double value, int32_t index = 0);
};

/// A number of the record of car `carIdx` in the list of drivers, such as its class's lap time; 0
/// when there is none.
double driverNumber(std::string_view text, int32_t carIdx, std::string_view key);

} // namespace player
