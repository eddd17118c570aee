// A lock between programs on one folder. The system drops it when its holder dies.
#pragma once
#include <string>

namespace vt {

/// One thread at a time.
class FileLock {
public:
    FileLock() = default;
    ~FileLock() { unlock(); }
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    /// Makes the file when it is missing and waits until nobody else holds it. False when the file
    /// cannot be opened, or the file system knows no locks.
    bool lock(const std::string& path);
    void unlock();
    bool held() const { return fd_ >= 0; }

private:
    int fd_ = -1;
};

} // namespace vt
