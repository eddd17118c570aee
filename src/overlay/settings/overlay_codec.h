// The overlays' objects in overlays.json.
#pragma once
#include "overlay/settings/app_config.h"

#include <nlohmann/json_fwd.hpp>

namespace vt {

/// Reads every overlay object of `root` over what `config` holds. Never throws.
void readOverlays(AppConfig& config, const nlohmann::json& root);

/// Replaces every overlay object of `root` whole.
void writeOverlays(const AppConfig& config, nlohmann::json& root);

/// One overlay's whole block. Nothing for a slot without one.
void copyOverlay(AppConfig& to, const AppConfig& from, int slot);

} // namespace vt
