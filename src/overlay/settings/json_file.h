// JSON files of the settings folder.
#pragma once
#include <nlohmann/json_fwd.hpp>

#include <string>

namespace vt {

enum class JsonFile {
    good,
    missing, // or unreadable
    damaged, // it is there, but is not one JSON object
};

/// `root` is an object in any case, an empty one when the file is not good.
JsonFile readJsonFile(const std::string& path, nlohmann::json& root);

/// Before a damaged file is overwritten: copies it to `path` + ".bad". False when that failed, so
/// that it must not be overwritten; true in all other states.
bool keepDamaged(const std::string& path, JsonFile state);

} // namespace vt
