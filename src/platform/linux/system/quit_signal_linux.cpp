#include "platform/quit_signal.h"

#include <initializer_list>
#include <signal.h>
#include <sys/signalfd.h>

namespace vt {

int quitSignalDescriptor() {
    sigset_t set;
    sigemptyset(&set);
    for (const int s : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&set, s);
    // Blocked here, and by inheritance in every later thread, so that only the descriptor tells.
    if (pthread_sigmask(SIG_BLOCK, &set, nullptr) != 0) return -1;
    return signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
}

} // namespace vt
