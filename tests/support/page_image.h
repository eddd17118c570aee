// A sim's page as bytes, filled by the offsets of the sim's own description and not by our structs,
// and what readers under test need around them.
#pragma once
#include "platform/shared_map.h"
#include "telemetry/reader_context.h"
#include "telemetry/sim_frame.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace vt::test {

struct PageImage {
    std::vector<uint8_t> bytes;

    explicit PageImage(size_t size) : bytes(size) {}
    template <class T>
    PageImage& put(size_t offset, T value) {
        std::memcpy(bytes.data() + offset, &value, sizeof value);
        return *this;
    }
    PageImage& f(size_t offset, double value) { return put(offset, static_cast<float>(value)); }
    PageImage& i(size_t offset, int32_t value) { return put(offset, value); }
    PageImage& text(size_t offset, std::string_view value) {
        std::copy(value.begin(), value.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset));
        return *this;
    }
    template <class Page>
    Page as() const {
        Page page;
        std::memcpy(&page, bytes.data(), std::min(sizeof page, bytes.size()));
        return page;
    }
};

/// A name that no other test process uses.
inline std::string ownName(const char* what) {
    return std::string("vt_test_") + what + "_" + std::to_string(getpid());
}

/// A clock that is turned by hand and the words that readers share.
struct ReaderDesk {
    Clock clock = manualClock();
    ProcessScan scan;
    SteerWords steer;
    ReaderContext context{clock, scan, nullptr, steer, {0}, nullptr, {}};
    SimFrame frame;
};

/// A sim in this process. A reader sees it as it would see another process.
struct SimObject {
    SharedMapWriter writer;

    bool show(const std::string& name, const std::vector<uint8_t>& bytes) {
        writer.close(true);
        if (!writer.create(name, bytes.size())) return false;
        std::copy(bytes.begin(), bytes.end(), writer.data());
        return true;
    }
    template <class T>
    void put(size_t offset, T value) {
        std::memcpy(writer.data() + offset, &value, sizeof value);
    }
};

} // namespace vt::test
