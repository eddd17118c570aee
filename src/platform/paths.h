// Where things lie. All paths are UTF-8 with forward slashes and without a slash at the end.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace vt {

/// Folder for the user's settings: the environment's `APPDATA`, else the desktop's own rule. Empty
/// when neither is set.
std::string roamingFolder();

/// `roamingFolder()` + "/Vantorel"; empty when that is empty.
std::string appDataFolder();

std::string documentsFolder();

/// Where a game may keep what it calls the user's documents: the user's own folder first, then
/// those of the compatibility layers that run the game with that number in its shop. Folders of
/// layers exist; the user's own may not.
std::vector<std::string> gameDocumentsFolders(uint32_t appId);

/// The same for a game's local data (`LOCALAPPDATA` of the environment first, where it is set).
std::vector<std::string> gameLocalDataFolders(uint32_t appId);

/// A text that a game keeps in the current user's registry, from the first layer that has it; empty
/// when none does. `key` is written with single backslashes, upper and lower case count as one.
std::string gameRegistryText(uint32_t appId, const std::string& key, const std::string& name);

/// Folder of the running program's file.
std::string programFolder();

/// A folder that ships with the program (`fonts`, `data`): beside the program, else above it in the
/// tree that it was built in. Empty when there is none.
std::string shippedFolder(const std::string& name);

std::string joinPath(const std::string& folder, const std::string& name);

} // namespace vt
