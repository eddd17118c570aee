// iRacing's shared memory and its event, as its writer sees them.
#pragma once
#include "platform/named_event.h"
#include "platform/shared_map.h"
#include "player.h"
#include "telemetry/readers/iracing_layout.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <iterator>
#include <random>

namespace player {

struct IrPublisher {
    vt::SharedMapWriter map;
    vt::NamedEvent event;
    vt::IrHeader header; // as it should be
    int32_t tick = 0;
    std::mt19937 random;

    /// Writes what lies inside the object, which may have been made too short.
    void write(size_t offset, const void* from, size_t length) {
        if (offset >= map.size()) return;
        std::memcpy(map.data() + offset, from, std::min(length, map.size() - offset));
    }
    void writeHeader() { write(0, &header, sizeof header); }

    /// Makes both objects, `size` bytes long unless the options make them short.
    bool create(size_t size, const Options& options) {
        random.seed(options.hostileSeed);
        return event.create(vt::kIrEventName + options.suffix) &&
               map.create(vt::kIrMapName + options.suffix,
                          options.shortTo > 0 ? options.shortTo : size);
    }

    /// Only a whole image with moving cars says that it is connected.
    void connect(const std::vector<uint8_t>& sample) {
        for (int32_t i = 0; i < header.numBuf; ++i)
            write(static_cast<size_t>(header.varBuf[i].bufOffset), sample.data(), sample.size());
        header.status |= vt::kIrStatusConnected;
        writeHeader();
    }

    void disconnect() {
        header.status &= ~vt::kIrStatusConnected;
        writeHeader();
    }

    /// The tick count comes last: until then the buffer is an old one.
    void writeTick(int32_t buffer, int32_t value) {
        std::atomic_thread_fence(std::memory_order_seq_cst);
        header.varBuf[buffer].tickCount = value;
        const size_t at = offsetof(vt::IrHeader, varBuf) + static_cast<size_t>(buffer) * 16;
        write(at, &value, sizeof value);
        std::atomic_thread_fence(std::memory_order_seq_cst);
    }

    void publish(const std::vector<uint8_t>& sample) {
        tick += 1;
        const int32_t buffer = tick % header.numBuf;
        writeTick(buffer, 0);
        write(static_cast<size_t>(header.varBuf[buffer].bufOffset), sample.data(), sample.size());
        writeTick(buffer, tick);
        event.signal();
    }

    /// Spoils the newest sample under the eyes of whoever copies it, and mends it again under the
    /// next tick count.
    void tear(const std::vector<uint8_t>& sample) {
        const int32_t buffer = tick % header.numBuf;
        const auto at = static_cast<size_t>(header.varBuf[buffer].bufOffset);
        const std::vector<uint8_t> rubbish(sample.size(), 0x5A);
        writeTick(buffer, 0);
        write(at, rubbish.data(), rubbish.size());
        write(at, sample.data(), sample.size());
        tick += header.numBuf; // the same buffer again
        writeTick(buffer, tick);
        event.signal();
    }

    /// A sample, with the bad transport that the options ask for.
    void publish(const std::vector<uint8_t>& sample, const Options& options) {
        publish(sample);
        for (int i = 0; options.tear && i < 20; ++i)
            tear(sample);
        if (options.hostile) spoilHeader();
    }

    /// Numbers that no header should hold, in some of the words behind the status.
    void spoilHeader() {
        constexpr uint32_t nasty[] = {0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 100001, 4096};
        vt::IrHeader spoilt = header;
        for (uint32_t n = static_cast<uint32_t>(random()) % 5; n > 0; --n) {
            const size_t word = 2 + random() % (sizeof spoilt / 4 - 2);
            const auto value =
                static_cast<uint32_t>(random() % 2 ? nasty[random() % std::size(nasty)] : random());
            std::memcpy(reinterpret_cast<uint8_t*>(&spoilt) + word * 4, &value, sizeof value);
        }
        write(0, &spoilt, sizeof spoilt);
    }
};

} // namespace player
