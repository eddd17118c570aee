#include "platform/thread_name.h"

#include <cstdio>
#include <pthread.h>

namespace vt {

void nameThisThread(const char* name) {
    char cut[16];
    std::snprintf(cut, sizeof cut, "%s", name);
    pthread_setname_np(pthread_self(), cut);
}

} // namespace vt
