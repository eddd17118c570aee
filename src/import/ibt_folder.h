#pragma once
#include <string>
#include <vector>

namespace vt {

/// The telemetry files of a folder, not of those below it, sorted; full paths.
std::vector<std::string> listIbtFiles(const std::string& folder);

} // namespace vt
