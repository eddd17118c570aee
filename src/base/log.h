// Status lines: short, with a word in brackets in front ("[sim] %s connected\n"). They go to the
// standard error stream, or to a sink that a test sets. Any thread.
#pragma once
#include <string_view>

namespace vt {

void logStatus(const char* format, ...) __attribute__((format(printf, 1, 2)));

using LogSink = void (*)(void* user, std::string_view line);

/// Null sets the standard error stream again.
void setLogSink(LogSink sink, void* user);

} // namespace vt
