#include "base/utf8.h"
#include "platform/linux/system/lease.h"
#include "platform/shared_map.h"
#include "platform/shared_words.h"

#include <string>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vt {

namespace {

static_assert(sizeof(std::atomic<uint32_t>) == 4 && std::atomic<uint32_t>::is_always_lock_free);

constexpr size_t kMaxWords = 1024; // one page: an object that shrinks within it raises no fault
constexpr int kDoorTries = 100;

size_t sizeOf(int fd) {
    struct stat info {};
    return fstat(fd, &info) == 0 && info.st_size > 0 ? static_cast<size_t>(info.st_size) : 0;
}

bool sameObject(int a, int b) {
    struct stat first {
    }, second{};
    return fstat(a, &first) == 0 && fstat(b, &second) == 0 && first.st_ino == second.st_ino &&
           first.st_dev == second.st_dev;
}

/// Between "nobody holds it" and what follows from that, to empty or to remove the object, no other
/// program may open it, or the two end up with an object each. Opening and closing take turns by a
/// file lock on a read-only descriptor, which the kernel drops with its owner. A program that is
/// stopped within those microseconds is not waited for.
class Door {
public:
    explicit Door(int readOnlyDescriptor) : fd_(readOnlyDescriptor) {
        for (int i = 0; i < kDoorTries && flock(fd_, LOCK_EX | LOCK_NB) != 0; ++i)
            usleep(500);
    }
    ~Door() { ::close(fd_); }
    Door(const Door&) = delete;
    Door& operator=(const Door&) = delete;

private:
    int fd_;
};

} // namespace

bool SharedWords::openOrCreate(std::string_view name, size_t count) {
    close();
    const std::string_view bare = sharedObjectName(name);
    if (bare.empty() || count == 0 || count > kMaxWords) return false;
    copyText(name_, "/" + std::string(bare));
    const size_t bytes = count * 4;
    for (int i = 0; i < kDoorTries && fd_ < 0; ++i) {
        const int look = shm_open(name_, O_RDONLY | O_CREAT | O_CLOEXEC, 0600);
        if (look < 0) return false;
        const Door door(look);
        const bool held = heldForWriting(look);
        fd_ = shm_open(name_, O_RDWR | O_CLOEXEC, 0600);
        if (fd_ < 0) continue; // removed while this one waited at the door
        if (!sameObject(look, fd_)) {
            ::close(fd_);
            fd_ = -1;
            continue;
        }
        const bool sized =
            sizeOf(fd_) >= bytes || (!held && ftruncate(fd_, static_cast<off_t>(bytes)) == 0);
        void* view =
            sized ? mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd_, 0) : MAP_FAILED;
        if (view == MAP_FAILED) {
            ::close(fd_);
            fd_ = -1;
            if (!held) shm_unlink(name_);
            return false;
        }
        words_ = static_cast<std::atomic<uint32_t>*>(view);
        count_ = count;
        for (size_t w = 0; !held && w < count; ++w)
            words_[w].store(0);
    }
    return words_ != nullptr;
}

void SharedWords::close() {
    if (!words_) return;
    const int look = shm_open(name_, O_RDONLY | O_CLOEXEC, 0);
    const bool named = look >= 0 && sameObject(look, fd_);
    munmap(words_, count_ * 4);
    words_ = nullptr;
    count_ = 0;
    if (look >= 0) {
        const Door door(look);
        ::close(fd_);
        if (named && !heldForWriting(look)) shm_unlink(name_);
    } else {
        ::close(fd_);
    }
    fd_ = -1;
}

bool SharedWords::whole() const {
    return words_ && sizeOf(fd_) >= count_ * 4;
}

} // namespace vt
