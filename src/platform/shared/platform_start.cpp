#include "base/log.h"
#include "platform/shared/backend.h"

#include <cstdlib>

namespace vt {

namespace {

const Backend* chosen = nullptr;

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
    if (chosen) return kind == PlatformKind::automatic || kind == chosen->kind;
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
    chosen->stop();
    chosen = nullptr;
    loopReset();
}

PlatformKind platformKind() {
    return chosen ? chosen->kind : PlatformKind::headless;
}

} // namespace vt
