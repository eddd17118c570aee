// Session records as JSON. A field whose condition is false is left out and has its default when it
// is read back; what is not finite is never written; numbers are written as the shortest text that
// reads back as the same 32-bit float.
#pragma once
#include "perf/session_record.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace vt {

/// The object, two spaces a level, `version` first. Invalid UTF-8 is replaced.
std::string sessionToJson(const SessionRecord& record);

/// A missing or null value is the default. False, and `out` in no defined state, when a value has
/// the wrong type. Lists are cut at their limits.
bool parseSession(const nlohmann::json& object, SessionRecord& out);
bool parseSessionText(std::string_view text, SessionRecord& out);

/// The double whose text is the shortest that reads back as `value`; 0 when it is not finite.
double shortestDouble(float value);

} // namespace vt
