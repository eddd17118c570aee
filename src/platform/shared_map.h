// Named shared memory that another program writes. A name of the form `Local\X` and the bare `X`
// mean the same object.
//
// A mapping counts as present only while some process holds it open or mapped for writing: the
// object itself can outlive its maker by days.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vt {

/// A read-only view. Move-only; one thread. Nothing is mapped: what is read is copied, so that an
/// object which shrinks meanwhile gives a failed copy and not a fault.
class SharedMap {
public:
    SharedMap() = default;
    ~SharedMap() { close(); }
    SharedMap(SharedMap&& other) noexcept;
    SharedMap& operator=(SharedMap&& other) noexcept;

    /// False when the name does not exist, is empty, or has no living writer.
    bool open(std::string_view name);
    void close();
    bool isOpen() const { return fd_ >= 0; }

    /// Size now, asked of the system: the writer may shrink the object at any time.
    size_t size() const;

    /// Copies `length` bytes from `offset`. False, and nothing believed, when they do not all lie
    /// in the object. Never raises a fault on an object that shrank.
    bool copyOut(size_t offset, void* out, size_t length) const;

    template <class T>
    bool read(size_t offset, T& out) const {
        return copyOut(offset, &out, sizeof(T));
    }

    /// Does any other process still hold it open for writing?
    bool writerAlive() const;

private:
    int fd_ = -1;
};

/// The writer's side: makes the object (or takes over a leftover one), removes it when closed.
class SharedMapWriter {
public:
    SharedMapWriter() = default;
    ~SharedMapWriter() { close(); }
    SharedMapWriter(const SharedMapWriter&) = delete;
    SharedMapWriter& operator=(const SharedMapWriter&) = delete;

    bool create(std::string_view name, size_t size);
    /// Removes the name as well unless `keepName`: what a killed writer leaves behind.
    void close(bool keepName = false);
    uint8_t* data() const { return data_; }
    size_t size() const { return size_; }

private:
    int fd_ = -1;
    uint8_t* data_ = nullptr;
    size_t size_ = 0;
    char name_[128] = "";
};

/// The path component behind a mapping's name; empty for names that cannot be one.
std::string_view sharedObjectName(std::string_view name);

} // namespace vt
