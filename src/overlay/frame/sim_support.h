// What works on which simulator, as pure data. Main thread, but for the capability words.
#pragma once
#include "overlay/settings/app_config.h"
#include "telemetry/sim_capabilities.h"

#include <array>
#include <cstdint>
#include <string>

namespace vt {

uint32_t fieldNeeds(int fieldId);
bool fieldSupported(int fieldId, int sim);
/// For the columns of Relative and Standings.
bool columnSupported(int columnId, int sim);

/// Per sim: 0 does not work, 1 partly, 2 fully, with a sentence; and one sentence for all.
struct SupportStatus {
    std::array<uint8_t, kSimCount> state{};
    std::array<std::string, kSimCount> note;
    std::string summary;
};

/// False for slots without a row: widgets, custom panels, numbers that are no slot.
bool overlaySupport(int slot, SupportStatus& status);
/// `kind` 1 is the cell grid (`layout`, `fields` of 9), 3 the bars (`barKind`, `source`), any other
/// the fixed widgets by `widgetType`.
bool widgetSupport(int kind, int widgetType, int barKind, int layout, const int* fields, int source,
                   SupportStatus& status);
/// `overlaySupport`, and the widget's own row for the widget slots.
bool supportFor(const AppConfig& config, int slot, SupportStatus& status);

} // namespace vt
