// Which documents folder a game really uses.
#pragma once
#include <string>
#include <vector>

namespace vt {

/// The first of `candidates` that has the game's folder (`gameFolder`, a path below it), else the
/// first, else an empty text.
std::string documentsOfGame(const std::vector<std::string>& candidates,
                            const std::string& gameFolder);

} // namespace vt
