#include "base/log.h"
#include "platform/shared/backend.h"

#include <atomic>
#include <cstdlib>

namespace vt {

namespace {

std::atomic<const Backend*> chosen{nullptr}; // the main thread writes, any reads

bool startBackend(const Backend& candidate) {
    loopReset();
    if (!candidate.start()) return false;
    chosen = &candidate;
    return true;
}

} // namespace

const Backend* backend() {
    return chosen;
}

bool platformStart(PlatformKind kind) {
    if (chosen) return kind == PlatformKind::automatic || kind == backend()->kind;
    if (kind == PlatformKind::x11) return startBackend(x11Backend);
    if (kind == PlatformKind::automatic) {
        const char* display = std::getenv("DISPLAY");
        if (display && *display && startBackend(x11Backend)) return true;
        logStatus("[platform] no display, running without a screen\n");
    }
    return startBackend(headlessBackend);
}

void platformStop() {
    if (!chosen) return;
    destroyAllWindows();
    forgetHotkeys();
    backend()->stop();
    chosen = nullptr;
    loopReset();
}

PlatformKind platformKind() {
    return chosen ? backend()->kind : PlatformKind::headless;
}

} // namespace vt
