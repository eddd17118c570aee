// Where the store keeps what. `base` is the program's data folder (`appDataFolder()`).
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace vt {

std::string perfRoot(const std::string& base);
/// A simulator that is not known shares iRacing's folder.
std::string perfSimDir(const std::string& base, int32_t simKind);
std::string perfTraceDir(const std::string& base, int32_t simKind);
std::string perfRecordPath(const std::string& base, int32_t simKind, std::string_view carName,
                           std::string_view trackName);
/// Bare name of a session's sidecar; empty when `date` holds no moment.
std::string perfTraceName(std::string_view carName, std::string_view trackName,
                          std::string_view date);
/// A name that came out of a record may be used as a file in the traces folder: not empty, no
/// separators, no "..".
bool traceNameIsSafe(std::string_view name);

/// "%04d-%02d-%02dT%02d:%02d:%02dZ" of a UTC moment, and back; false unless `date` begins so.
std::string recordDate(int64_t unixSeconds);
bool parseRecordDate(std::string_view date, int64_t& unixSeconds);

} // namespace vt
