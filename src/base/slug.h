// Names as parts of file names.
#pragma once
#include <string>
#include <string_view>

namespace vt {

/// Blank to _, a-z 0-9 _ - kept, A-Z lowered, every other byte dropped; "unknown" when nothing is
/// left.
std::string nameSlug(std::string_view name);

} // namespace vt
