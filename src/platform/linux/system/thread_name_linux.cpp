#include "platform/thread_name.h"

#include <cstdio>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

namespace vt {

void nameThisThread(const char* name) {
    char cut[16];
    std::snprintf(cut, sizeof cut, "%s", name);
    pthread_setname_np(pthread_self(), cut);
}

void lowerThisThread() {
    // Linux keeps a nice value for each thread, under its own number.
    const auto thread = static_cast<id_t>(gettid());
    setpriority(PRIO_PROCESS, thread, getpriority(PRIO_PROCESS, thread) + 1);
}

} // namespace vt
