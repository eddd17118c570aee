// The program's main thread from start to stop: settings, overlays, windows, pump, message loop,
// and back in the reverse order. Every long-lived object is a member of one record that the entry
// function holds.
#pragma once
#include "app/command_line.h"

#include <atomic>

namespace vt {

inline constexpr const char* kProductTag = "VT Overlay";
inline constexpr const char* kProductVersion = "1.2.100";
inline constexpr const char* kInstanceName = "Local\\VantorelOverlay";

/// Read by other threads; written by the main thread.
struct ProgramWords {
    std::atomic<uint32_t> usageConsentOn{0};
    std::atomic<uint32_t> shuttingDown{0}; // 1 from the moment that the message loop has ended
};

/// Runs the program. The result is the process's exit code, see `commandLineHelp`.
int runProgram(const CommandLine& line);

} // namespace vt
