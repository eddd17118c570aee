// Names of the running programs.
#pragma once
#include <string>
#include <vector>

namespace vt {

/// File names without folders, one per process, of what each was started as: a program under a
/// compatibility layer appears under its own name. False when there is no list.
bool listProcessNames(std::vector<std::string>& names);

} // namespace vt
