#include "base/log.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace vt {

namespace {
std::mutex sinkLock;
LogSink currentSink = nullptr;
void* currentUser = nullptr;
} // namespace

void logStatus(const char* format, ...) {
    char line[1024];
    va_list args;
    va_start(args, format);
    const int n = std::vsnprintf(line, sizeof line, format, args);
    va_end(args);
    if (n <= 0) return;
    const std::string_view text(line, std::min<size_t>(static_cast<size_t>(n), sizeof line - 1));
    const std::lock_guard guard(sinkLock);
    if (currentSink)
        currentSink(currentUser, text);
    else
        std::fwrite(text.data(), 1, text.size(), stderr);
}

void setLogSink(LogSink sink, void* user) {
    const std::lock_guard guard(sinkLock);
    currentSink = sink;
    currentUser = user;
}

} // namespace vt
