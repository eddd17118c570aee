#include "telemetry/coach_log.h"

#include "platform/file.h"
#include "platform/paths.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string_view>

namespace vt {

namespace {

constexpr uint64_t kMaxBytes = 8'388'608;

// Lines are rare (a learned value, a changed flag), so that a lock costs nothing.
struct Log {
    std::mutex lock;
    std::string path;
    const Clock* clock = nullptr;
    bool positioned = false;
    int sessionNum = -1, lap = -1;
    double sessionTime = 0;
    float lapDistPct = 0;
};

Log& theLog() {
    static Log log;
    return log;
}

} // namespace

void coachLogOpen(const std::string& appDataDir, const Clock& clock) {
    Log& log = theLog();
    const std::lock_guard guard(log.lock);
    log.path.clear();
    log.positioned = false;
    if (appDataDir.empty()) return;
    const std::string folder = joinPath(appDataDir, "logs");
    if (!makeFolders(folder)) return;
    for (const FolderEntry& entry : listFolder(folder))
        if (entry.name == "coach.log" && entry.size > kMaxBytes)
            removeFile(joinPath(folder, entry.name));
    log.path = joinPath(folder, "coach.log");
    log.clock = &clock;
}

void coachLogPosition(int sessionNum, double sessionTime, int lap, float lapDistPct) {
    Log& log = theLog();
    const std::lock_guard guard(log.lock);
    log.positioned = true;
    log.sessionNum = sessionNum;
    log.sessionTime = sessionTime;
    log.lap = lap;
    log.lapDistPct = lapDistPct;
}

void coachLog(const char* format, ...) {
    char text[1024];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    std::string_view body = text;
    while (!body.empty() && body.back() == '\n')
        body.remove_suffix(1);

    Log& log = theLog();
    const std::lock_guard guard(log.lock);
    if (log.path.empty()) return;
    const LocalTime now = clockLocalTime(*log.clock);
    const auto ms = static_cast<int>(clockMs(*log.clock) % 1000);
    char head[128];
    int n = std::snprintf(head, sizeof head, "%04d-%02d-%02d %02d:%02d:%02d.%03d ", now.year,
                          now.month, now.day, now.hour, now.minute, now.second, ms);
    if (log.positioned)
        std::snprintf(head + n, sizeof head - static_cast<size_t>(n), "S%d t=%.4f L%d %.2f%% ",
                      log.sessionNum, log.sessionTime, log.lap, log.lapDistPct * 100);
    else
        std::snprintf(head + n, sizeof head - static_cast<size_t>(n), "t=- ");
    appendFile(log.path, head + std::string(body) + "\n");
}

} // namespace vt
