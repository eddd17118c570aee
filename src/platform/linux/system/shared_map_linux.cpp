#include "base/bytes.h"
#include "base/utf8.h"
#include "platform/linux/system/lease.h"
#include "platform/shared_map.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>
#include <utility>

namespace vt {

namespace {

std::string objectPath(std::string_view name) {
    const std::string_view bare = sharedObjectName(name);
    return bare.empty() ? std::string() : "/" + std::string(bare);
}

size_t fileSize(int fd) {
    struct stat info {};
    return fstat(fd, &info) == 0 && info.st_size > 0 ? static_cast<size_t>(info.st_size) : 0;
}

} // namespace

std::string_view sharedObjectName(std::string_view name) {
    constexpr std::string_view local = "Local\\";
    if (startsWithNoCase(name, local)) name.remove_prefix(local.size());
    if (name.empty() || name.size() > 120 || name.find('/') != name.npos || name == "." ||
        name == "..")
        return {};
    return name;
}

SharedMap::SharedMap(SharedMap&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

SharedMap& SharedMap::operator=(SharedMap&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
}

bool SharedMap::open(std::string_view name) {
    close();
    const std::string path = objectPath(name);
    if (path.empty()) return false;
    fd_ = shm_open(path.c_str(), O_RDONLY | O_CLOEXEC, 0);
    if (fd_ < 0) return false;
    if (fileSize(fd_) == 0 || !heldForWriting(fd_)) {
        close();
        return false;
    }
    return true;
}

void SharedMap::close() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
}

size_t SharedMap::size() const {
    return fd_ < 0 ? 0 : fileSize(fd_);
}

// pread instead of a mapping: a read behind the end of an object that shrank is a short count here
// and a SIGBUS there, and no check before the copy can rule that out. It costs one call and no more
// copying than a memcpy.
bool SharedMap::copyOut(size_t offset, void* out, size_t length) const {
    if (fd_ < 0) return false;
    auto* to = static_cast<uint8_t*>(out);
    while (length > 0) {
        const ssize_t n = pread(fd_, to, length, static_cast<off_t>(offset));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        to += n;
        offset += static_cast<size_t>(n);
        length -= static_cast<size_t>(n);
    }
    return true;
}

bool SharedMap::writerAlive() const {
    return fd_ >= 0 && heldForWriting(fd_);
}

bool SharedMapWriter::create(std::string_view name, size_t size) {
    close();
    const std::string path = objectPath(name);
    if (path.empty() || size == 0) return false;
    copyText(name_, path);
    fd_ = shm_open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd_ < 0 || ftruncate(fd_, static_cast<off_t>(size)) != 0) {
        close();
        return false;
    }
    void* view = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd_, 0);
    if (view == MAP_FAILED) {
        close();
        return false;
    }
    data_ = static_cast<uint8_t*>(view);
    size_ = size;
    std::memset(data_, 0, size);
    return true;
}

void SharedMapWriter::close(bool keepName) {
    if (data_) munmap(data_, size_);
    if (fd_ >= 0) {
        if (!keepName) shm_unlink(name_);
        ::close(fd_);
    }
    fd_ = -1;
    data_ = nullptr;
    size_ = 0;
}

} // namespace vt
