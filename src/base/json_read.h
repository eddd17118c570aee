// Typed reads from JSON that never throw: a missing key, a wrong type or a parent that is no object
// gives the default in silence. And one way of writing.
#pragma once
#include <nlohmann/json_fwd.hpp>

#include <string>
#include <string_view>

namespace vt {

/// Any JSON number, brought into the range of an int before it is converted; NaN gives the default.
int toInt(const nlohmann::json& value, int fallback);
int readInt(const nlohmann::json& object, const char* key, int fallback);
bool readBool(const nlohmann::json& object, const char* key, bool fallback);
/// Any finite JSON number.
float readFloat(const nlohmann::json& object, const char* key, float fallback);
std::string readString(const nlohmann::json& object, const char* key, std::string_view fallback);

/// False, and `out` null, when `text` is not one JSON document.
bool parseJson(std::string_view text, nlohmann::json& out);

/// False for brackets nested deeper than `limit`: the JSON library walks a document by recursion
/// when it copies or writes it, so a file of nothing but brackets would exhaust the stack.
bool jsonDepthWithin(std::string_view text, int limit);

/// Indent of 2, invalid UTF-8 replaced by U+FFFD, so that it never throws.
std::string dumpJson(const nlohmann::json& document);

} // namespace vt
