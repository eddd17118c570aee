// The program-wide keys at the top level of overlays.json.
#pragma once
#include "overlay/settings/app_config.h"

#include <nlohmann/json_fwd.hpp>

namespace vt {

/// Reads them over what `config` holds. Never throws.
void readAppKeys(AppConfig& config, const nlohmann::json& root);

void writeAppKeys(const AppConfig& config, nlohmann::json& root);

} // namespace vt
