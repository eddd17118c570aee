#include "base/utf8.h"
#include "platform/linux/system/lease.h"
#include "platform/shared_map.h"
#include "platform/shared_words.h"

#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vt {

namespace {

static_assert(sizeof(std::atomic<uint32_t>) == 4 && std::atomic<uint32_t>::is_always_lock_free);

/// False also when there is no such object.
bool heldByOthers(const char* path) {
    const int fd = shm_open(path, O_RDONLY | O_CLOEXEC, 0);
    if (fd < 0) return false;
    const bool held = heldForWriting(fd);
    ::close(fd);
    return held;
}

size_t sizeOf(int fd) {
    struct stat info {};
    return fstat(fd, &info) == 0 && info.st_size > 0 ? static_cast<size_t>(info.st_size) : 0;
}

} // namespace

bool SharedWords::openOrCreate(std::string_view name, size_t count) {
    close();
    const std::string_view bare = sharedObjectName(name);
    if (bare.empty() || count == 0) return false;
    copyText(name_, "/" + std::string(bare));
    const bool shared = heldByOthers(name_);
    fd_ = shm_open(name_, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd_ < 0) return false;
    const size_t bytes = count * 4;
    const bool emptied = shared || ftruncate(fd_, 0) == 0;
    const bool sized =
        sizeOf(fd_) >= bytes || (!shared && ftruncate(fd_, static_cast<off_t>(bytes)) == 0);
    void* view = emptied && sized ? mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd_, 0)
                                  : MAP_FAILED;
    if (view == MAP_FAILED) {
        close();
        return false;
    }
    words_ = static_cast<std::atomic<uint32_t>*>(view);
    count_ = count;
    return true;
}

void SharedWords::close() {
    if (words_) munmap(words_, count_ * 4);
    words_ = nullptr;
    count_ = 0;
    if (fd_ < 0) return;
    ::close(fd_);
    fd_ = -1;
    if (!heldByOthers(name_)) shm_unlink(name_);
}

bool SharedWords::whole() const {
    return words_ && sizeOf(fd_) >= count_ * 4;
}

} // namespace vt
