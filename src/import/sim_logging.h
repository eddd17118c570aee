// iRacing writes telemetry files only when its own settings say so: reads and sets that switch in
// its `app.ini`. File calls wait for the disk; nothing throws.
#pragma once
#include "platform/process_list.h"

#include <string>
#include <string_view>

namespace vt {

/// Both `irsdkEnableDisk` and `irsdkAutoLogDisk` are "1". Looked for in [Misc], then in other
/// sections, then in a [Telemetry] section that holds other keys too: where the sim itself looks.
bool telemetryLoggingOn(std::string_view ini);
/// The same text with both switched on, line endings kept; sections [Telemetry] that held nothing
/// else go.
std::string withTelemetryLogging(std::string_view ini);

struct SimLoggingPlaces {
    std::string documents; // the folder that holds `iRacing`
    std::string appDataDir;
    bool (*lister)(std::vector<std::string>& names) = listProcessNames;
};

enum class LoggingAnswer {
    on,       // it was written, or was on
    whenShut, // the sim runs: it is done when it closes
    failed,   // no app.ini, or it could not be written
};
/// Switches it on, now or as soon as the sim is closed.
LoggingAnswer turnLoggingOn(const SimLoggingPlaces& places);
/// What to tell the driver.
const char* loggingAnswerText(LoggingAnswer answer);
bool loggingIsOn(const SimLoggingPlaces& places);
/// Every ten seconds: does what waits for the sim to close. True when something was done.
bool loggingPendingTick(const SimLoggingPlaces& places);

/// The driver's stored answer to the first-run question: "yes", "no", "" = not asked.
std::string loggingPromptAnswer(const std::string& appDataDir);
bool storeLoggingPromptAnswer(const std::string& appDataDir, bool yes);
/// Once: a driver who said yes and whose settings read as off gets the pending mark.
void checkLoggingOnce(const SimLoggingPlaces& places);

} // namespace vt
