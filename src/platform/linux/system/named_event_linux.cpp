#include "base/utf8.h"
#include "platform/named_event.h"
#include "platform/shared_map.h"

#include <climits>
#include <ctime>
#include <fcntl.h>
#include <linux/futex.h>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vt {

namespace {

static_assert(sizeof(std::atomic<uint32_t>) == 4 && std::atomic<uint32_t>::is_always_lock_free);

long futex(std::atomic<uint32_t>* word, int operation, uint32_t value, const timespec* timeout) {
    return syscall(SYS_futex, reinterpret_cast<uint32_t*>(word), operation, value, timeout, nullptr,
                   0);
}

// The word must be mapped for writing to be slept on, so a waiter opens the object as a writer
// would. That is why an event never tells whether a sim lives; its mapping does.
std::atomic<uint32_t>* mapWord(const std::string& path, int flags) {
    const int fd = shm_open(path.c_str(), flags | O_CLOEXEC, 0600);
    if (fd < 0) return nullptr;
    struct stat info {};
    const bool sized =
        (flags & O_CREAT) ? ftruncate(fd, 4) == 0 : fstat(fd, &info) == 0 && info.st_size >= 4;
    void* view = sized ? mmap(nullptr, 4, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0) : MAP_FAILED;
    ::close(fd);
    return view == MAP_FAILED ? nullptr : static_cast<std::atomic<uint32_t>*>(view);
}

} // namespace

bool NamedEvent::open(std::string_view name) {
    close();
    const std::string_view bare = sharedObjectName(name);
    if (bare.empty()) return false;
    word_ = mapWord("/" + std::string(bare), O_RDWR);
    if (word_) seen_ = word_->load();
    return word_ != nullptr;
}

bool NamedEvent::create(std::string_view name) {
    close();
    const std::string_view bare = sharedObjectName(name);
    if (bare.empty()) return false;
    const std::string path = "/" + std::string(bare);
    word_ = mapWord(path, O_RDWR | O_CREAT);
    owner_ = word_ != nullptr;
    copyText(name_, path);
    if (word_) seen_ = word_->load();
    return owner_;
}

void NamedEvent::close() {
    if (word_) munmap(word_, 4);
    if (owner_) shm_unlink(name_);
    word_ = nullptr;
    owner_ = false;
}

void NamedEvent::signal() {
    if (!word_) return;
    word_->fetch_add(1);
    futex(word_, FUTEX_WAKE, INT_MAX, nullptr);
}

bool NamedEvent::wait(int milliseconds) {
    if (!word_) return false;
    timespec start{};
    clock_gettime(CLOCK_MONOTONIC, &start);
    for (;;) {
        const uint32_t now = word_->load();
        if (now != seen_) {
            seen_ = now;
            return true;
        }
        timespec at{};
        clock_gettime(CLOCK_MONOTONIC, &at);
        const int64_t gone =
            (at.tv_sec - start.tv_sec) * 1'000'000'000LL + at.tv_nsec - start.tv_nsec;
        const int64_t left = milliseconds * 1'000'000LL - gone;
        if (left <= 0) return false;
        const timespec timeout{static_cast<time_t>(left / 1'000'000'000),
                               static_cast<long>(left % 1'000'000'000)};
        futex(word_, FUTEX_WAIT, seen_, &timeout);
    }
}

} // namespace vt
