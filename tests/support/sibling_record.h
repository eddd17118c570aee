// The sibling's record, written by a test: at leisure, or as fast as it goes.
#pragma once
#include "platform/shared_map.h"
#include "telemetry/sibling_state.h"

#include <atomic>
#include <cstring>
#include <string>
#include <utility>

namespace vt::test {

class SiblingRecord {
public:
    explicit SiblingRecord(std::string name) : name_(std::move(name)) {}

    const char* name() const { return name_.c_str(); }
    void put(int32_t gameId, uint32_t serving) {
        if (!writer_.data() && !writer_.create(name_, sizeof(SiblingState))) return;
        std::memcpy(state_.magic, "VTST", 4);
        state_.version = 5;
        state_.sequence += 2;
        state_.serving = serving;
        state_.gameId = gameId;
        std::memcpy(writer_.data(), &state_, sizeof state_);
    }
    void remove() { writer_.close(); }
    SiblingState& state() { return state_; }
    uint8_t* data() { return writer_.data(); }

private:
    std::string name_;
    SharedMapWriter writer_;
    SiblingState state_{};
};

/// Writes records whose words behind the head all hold one number, so that a copy that mixes two of
/// them shows.
class SharedRecordWriter {
public:
    explicit SharedRecordWriter(const std::string& name) {
        if (!writer_.create(name, sizeof(SiblingState))) return;
        std::memcpy(writer_.data(), "VTST", 4);
        words_ = reinterpret_cast<std::atomic<uint32_t>*>(writer_.data());
        words_[1].store(5);
    }
    void write(uint32_t n) {
        if (!words_) return;
        // An exchange that acquires keeps the stores behind it where a fence would, and the thread
        // sanitizer knows it.
        const uint32_t sequence = words_[2].load(std::memory_order_relaxed);
        words_[2].exchange(sequence + 1, std::memory_order_acq_rel);
        for (size_t i = 3; i < kWords; ++i)
            words_[i].store(n, std::memory_order_relaxed);
        words_[2].store(sequence + 2, std::memory_order_release);
    }
    /// Up to some microseconds: between two records there must be room for a whole copy now and
    /// then.
    static void rest(uint32_t n) {
        for (uint32_t i = n * 2654435761u >> 20; i > 0; --i)
            std::atomic_signal_fence(std::memory_order_seq_cst);
    }
    static bool whole(const SiblingState& state) {
        uint32_t words[kWords];
        std::memcpy(words, &state, sizeof words);
        for (size_t i = 4; i < kWords; ++i)
            if (words[i] != words[3]) return false;
        return true;
    }

private:
    static constexpr size_t kWords = sizeof(SiblingState) / 4;
    SharedMapWriter writer_;
    std::atomic<uint32_t>* words_ = nullptr;
};

} // namespace vt::test
