// Session and car records of Le Mans Ultimate and rFactor 2 as bytes, by the sims' own offsets.
#pragma once
#include "support/page_image.h"

#include <initializer_list>
#include <string_view>

namespace vt::test {

/// A record somewhere in an image.
struct RecordImage {
    PageImage& image;
    size_t base = 0;

    template <class T>
    RecordImage& put(size_t offset, T value) {
        image.put(base + offset, value);
        return *this;
    }
    RecordImage& d(size_t offset, double value) { return put(offset, value); }
    RecordImage& i(size_t offset, int32_t value) { return put(offset, value); }
    RecordImage& u8(size_t offset, int value) { return put(offset, static_cast<uint8_t>(value)); }
    RecordImage& text(size_t offset, std::string_view value) {
        image.text(base + offset, value);
        return *this;
    }
};

/// What makes a session of a race that runs on 4 km, with `cars` cars.
inline void putRaceInfo(RecordImage info, int cars) {
    info.text(0, "Sebring").i(64, 10).d(68, 100).i(84, 0x7FFFFFFF).d(88, 4000).i(104, cars);
    info.u8(108, 5);
}

/// A car on its lap 3, `metres` from the line.
inline void putScored(RecordImage car, int id, double metres, int place, const char* kind) {
    car.i(0, id).text(4, "Driver").text(36, "Falcon GT3 #12").put(100, int16_t{3}).u8(102, 1);
    car.d(104, metres).u8(199, place).text(200, kind).u8(506, 2);
}

} // namespace vt::test
