// A file read here and there, while another program may still change it. Nothing is mapped: a file
// that is cut short meanwhile gives a failed read and not a fault.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

namespace vt {

/// Move-only; one thread.
class RandomFile {
public:
    RandomFile() = default;
    ~RandomFile() { close(); }
    RandomFile(RandomFile&& other) noexcept;
    RandomFile& operator=(RandomFile&& other) noexcept;

    /// Regular files only.
    bool open(const std::string& path);
    void close();
    bool isOpen() const { return fd_ >= 0; }

    uint64_t size() const; // now
    /// Last change of its bytes, nanoseconds since 1970.
    int64_t modifiedNs() const;
    /// All `length` bytes or false.
    bool readAt(uint64_t offset, void* out, size_t length) const;
    /// Another program holds it open for writing.
    bool beingWritten() const;

private:
    int fd_ = -1;
};

} // namespace vt
