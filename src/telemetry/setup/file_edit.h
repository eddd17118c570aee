// How the program changes a game's own file: a copy of the original first, kept for ever, then the
// new file whole or not at all.
#pragma once
#include <cstddef>
#include <string>
#include <string_view>

namespace vt {

/// No settings file of a game comes near this.
inline constexpr size_t kGameFileLimit = 4u << 20;

/// Copies `path` to `backup` unless something of that name exists, which is then the original and
/// stays. True when a backup exists afterwards; `made` tells whether it is new.
bool backUpOnce(const std::string& path, const std::string& backup, bool* made = nullptr);

/// By way of `<path>.vt.tmp`. False leaves the old file.
bool replaceGameFile(const std::string& path, std::string_view bytes);

} // namespace vt
