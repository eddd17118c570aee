#include "platform/linux/system/lease.h"
#include "platform/random_file.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vt {

RandomFile::RandomFile(RandomFile&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

RandomFile& RandomFile::operator=(RandomFile&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
}

bool RandomFile::open(const std::string& path) {
    close();
    // A pipe in the place of a file must not hold us up.
    fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat info {};
    if (fd_ >= 0 && fstat(fd_, &info) == 0 && S_ISREG(info.st_mode)) return true;
    close();
    return false;
}

void RandomFile::close() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
}

uint64_t RandomFile::size() const {
    struct stat info {};
    return fd_ >= 0 && fstat(fd_, &info) == 0 && info.st_size > 0
               ? static_cast<uint64_t>(info.st_size)
               : 0;
}

int64_t RandomFile::modifiedNs() const {
    struct stat info {};
    if (fd_ < 0 || fstat(fd_, &info) != 0) return 0;
    return static_cast<int64_t>(info.st_mtim.tv_sec) * 1'000'000'000 + info.st_mtim.tv_nsec;
}

bool RandomFile::readAt(uint64_t offset, void* out, size_t length) const {
    if (fd_ < 0) return false;
    auto* to = static_cast<uint8_t*>(out);
    while (length > 0) {
        const ssize_t n = pread(fd_, to, length, static_cast<off_t>(offset));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        to += n;
        offset += static_cast<uint64_t>(n);
        length -= static_cast<size_t>(n);
    }
    return true;
}

bool RandomFile::beingWritten() const {
    return fd_ >= 0 && heldForWriting(fd_);
}

} // namespace vt
