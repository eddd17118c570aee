// The looks that an overlay can be drawn in: one integer setting and one list of names each.
#pragma once
#include "overlay/settings/app_config.h"

namespace vt {

/// The overlay's style setting, or null when it has no styles. `names` has `count` entries; the
/// first one is stored as `firstValue`.
int* styleOf(AppConfig& config, int slot, int& count, const char* const*& names, int& firstValue);
const int* styleOf(const AppConfig& config, int slot, int& count, const char* const*& names,
                   int& firstValue);

/// The style's name begins with "Apex", or the slot always counts as Apex.
bool overlayUsesApexStyle(const AppConfig& config, int slot);

} // namespace vt
