// The `columns` array of Relative and Standings.
#pragma once
#include "overlay/settings/overlay_config.h"

#include <nlohmann/json_fwd.hpp>

namespace vt {

/// Reads `object["columns"]`. Every column stands in the result exactly once: ids that are unknown
/// or come again are dropped, missing columns follow in the order of `defaults`, and a key that an
/// entry lacks is that of `defaults`. Without an array `list` stays as it is.
void readColumns(ColumnList& list, const nlohmann::json& object, const ColumnList& defaults);

void writeColumns(const ColumnList& list, nlohmann::json& object);

} // namespace vt
