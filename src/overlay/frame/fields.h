// The catalogue of 54 values that a strip, a widget or a panel cell can show. A value has one way
// of being turned into text.
#pragma once
#include "overlay/settings/app_config.h"
#include "platform/clock.h"
#include "telemetry/sim_frame.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vt {

inline constexpr int kFieldCount = 54; // 0 is the empty place
inline constexpr size_t kFieldTextSize = 96;

/// Values that other parts of the program supply; empty until they enter themselves.
struct FieldProviders {
    int (*heartRate)() = nullptr;                                  // bpm, 0 = none
    size_t (*strategyTitle)(char* out, size_t capacity) = nullptr; // field 48
    bool (*fuelSaveTarget)(float& litresPerLap) = nullptr;         // field 49
};
extern FieldProviders fieldProviders;

/// What a value is formatted for.
struct FieldContext {
    const AppConfig& config;
    int slot = -1;
    const Clock& clock;
};

/// The value alone; empty for ids outside 1..53, values that are missing and numbers that are not
/// finite. Returns the length. Never cuts a character.
size_t formatField(char* out, size_t capacity, int fieldId, const SimFrame& frame,
                   const FieldContext& context);

/// The value for a strip, with the short label in front when `withLabel`; "N/A" or "None" where the
/// sim lacks it. `out` holds `kFieldTextSize` bytes.
size_t formatStripField(char* out, int fieldId, const SimFrame& frame, const FieldContext& context,
                        int sim, bool withLabel);

const char* fieldLabel(int fieldId);     // translated; short
const char* fieldLongLabel(int fieldId); // translated

/// Does a strip's text end in the translated "N/A" or "None"?
bool isFieldEmpty(std::string_view text);

} // namespace vt
