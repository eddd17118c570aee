#include "telemetry/readers/ac_pages.h"

#include "base/utf8.h"

#include <algorithm>
#include <cstring>

namespace vt {

namespace {

constexpr int kCopyTries = 4;

} // namespace

bool acCopyPage(const SharedMap& map, size_t size, void* page, size_t room) {
    const size_t length = std::min({size, room, map.size()});
    if (length == 0 || !map.copyOut(0, page, length)) return false;
    std::memset(static_cast<uint8_t*>(page) + length, 0, room - length);
    return true;
}

bool acCopySteady(const SharedMap& map, size_t size, void* page, size_t room) {
    for (int i = 0; i < kCopyTries; ++i) {
        int32_t before = 0, after = 0;
        if (!acCopyPage(map, size, page, room)) return false;
        if (!map.read(0, after)) return true; // too short for an id
        std::memcpy(&before, page, sizeof before);
        if (after == before) break;
    }
    return true;
}

void acText(char* out, size_t capacity, const void* units) {
    copyText(out, capacity, utf16ToUtf8(units, kAcTextLength));
}

} // namespace vt
