// The one loop of the main thread: messages of windows, timers, posted calls.
#pragma once
#include <cstdint>
#include <functional>

namespace vt {

enum class PlatformKind { automatic, x11, headless };

/// Opens the screen. `automatic` takes the desktop when there is one, else headless. False when the
/// wanted one cannot be had. Must come before everything else of this header, window.h and
/// desktop.h.
bool platformStart(PlatformKind kind);
void platformStop();
/// What was opened.
PlatformKind platformKind();

/// Runs until `loopQuit`. Returns its code.
int loopRun();
void loopQuit(int code);
/// A modal loop inside the loop: runs until `*done`. A quit met inside is passed on outward.
void loopRunModal(const bool* done);
/// Handles what is waiting, at most `waitMs` for the first; for tests and progress. False when a
/// quit was met.
bool loopPump(int waitMs = 0);

/// Calls `call(user)` on the main thread. Any thread.
void loopPost(void (*call)(void*), void* user);
/// Called before each message; the driver stamps its heartbeat there. Null for none.
void loopSetBeforeMessage(void (*call)());
/// Watches a descriptor; `call` runs on the main thread while it is readable. Remove with null.
void loopWatch(int descriptor, std::function<void()> call);

} // namespace vt
