// A few words of named memory that two programs both write: the lock that a sim shares with its
// readers. The only foreign memory that is mapped and not copied.
#pragma once
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vt {

/// One thread; the words themselves are atomic.
class SharedWords {
public:
    SharedWords() = default;
    ~SharedWords() { close(); }
    SharedWords(const SharedWords&) = delete;
    SharedWords& operator=(const SharedWords&) = delete;

    /// Opens the object, or makes it with zeroes. The words of one that no living program holds are
    /// set to 0 first: a killed holder must not keep its lock for ever. False when it cannot be
    /// had, or when others hold it and it is too short. At most 1024 words.
    bool openOrCreate(std::string_view name, size_t count);
    /// Removes the object when nobody else holds it.
    void close();
    bool isOpen() const { return words_ != nullptr; }

    /// False once the object has become shorter than what is mapped; its words must not be touched
    /// then.
    bool whole() const;

    std::atomic<uint32_t>& operator[](size_t i) { return words_[i]; }

private:
    std::atomic<uint32_t>* words_ = nullptr;
    size_t count_ = 0;
    int fd_ = -1;
    char name_[128] = "";
};

} // namespace vt
