// Where things lie. All paths are UTF-8 with forward slashes and without a slash at the end.
#pragma once
#include <string>

namespace vt {

/// Folder for the user's settings: the environment's `APPDATA`, else the desktop's own rule. Empty
/// when neither is set.
std::string roamingFolder();

/// `roamingFolder()` + "/Vantorel"; empty when that is empty.
std::string appDataFolder();

std::string documentsFolder();

/// Folder of the running program's file.
std::string programFolder();

/// A folder that ships with the program (`fonts`, `data`): beside the program, else above it in the
/// tree that it was built in. Empty when there is none.
std::string shippedFolder(const std::string& name);

std::string joinPath(const std::string& folder, const std::string& name);

} // namespace vt
