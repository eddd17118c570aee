#include "platform/file_lock.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace vt {

bool FileLock::lock(const std::string& path) {
    if (held()) return true;
    const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) return false;
    while (flock(fd, LOCK_EX) != 0) {
        if (errno == EINTR) continue;
        close(fd);
        return false;
    }
    fd_ = fd;
    return true;
}

void FileLock::unlock() {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
}

} // namespace vt
