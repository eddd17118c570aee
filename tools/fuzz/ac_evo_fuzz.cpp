// AC EVO's pages, graphics, physics and static one after the other as the corpus keeps them. What
// follows are looks at the same pages with 64 bytes of them, from an offset in front, replaced.
#include "base/bytes.h"
#include "base/utf8.h"
#include "telemetry/readers/ac_evo_frame.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

constexpr size_t kPatch = 64;

void require(bool holds) {
    if (!holds) std::abort();
}

void check(const vt::SimFrame& f) {
    require(f.lapDistPct >= 0 && f.lapDistPct <= 1);
    require(!f.cars.empty() && f.cars.size() <= vt::kAcMaxCars);
    require(f.sectorStarts.size() <= 16);
    require(f.sectorStarts.empty() ||
            (f.currentSector >= 0 && f.currentSector < static_cast<int>(f.sectorStarts.size())));
    require(vt::utf8Valid(f.trackName) && vt::utf8Valid(f.carModel));
    require(vt::utf8Valid(f.sessionName) && vt::utf8Valid(f.cars.front().driverName));
    for (const float value : {f.speed, f.latAccel, f.longAccel, f.fuelLevel, f.fuelCapacity,
                              f.worldX, f.worldY, f.forwardX, f.yawRate, f.slipAngle, f.slipRate,
                              f.steerAngle, f.trackLength, f.pitLimitSpeed, f.balance})
        require(std::isfinite(value));
    for (const vt::CarRow& row : f.cars)
        require(row.lapDistPct >= 0 && row.lapDistPct <= 1 && std::isfinite(row.pathLateral));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    vt::AcEvoPages pages;
    const vt::ByteView bytes(data, size);
    pages.graphics = vt::readAt<vt::AcEvoGraphics>(bytes, 0);
    pages.physics = vt::readAt<vt::AcPhysics>(bytes, sizeof pages.graphics);
    size_t at = sizeof pages.graphics + sizeof pages.physics;
    pages.haveStatic = size >= at + sizeof pages.statics;
    pages.statics = vt::readAt<vt::AcEvoStatic>(bytes, at);
    at += sizeof pages.statics;

    static vt::SimFrame frame;
    const auto memory = std::make_unique<vt::AcEvoMemory>();
    double now = 5;
    for (int i = 0; i < 20; ++i) { // enough to settle what is learned
        now += 0.03;
        vt::fillAcEvoFrame(frame, pages, now, now, *memory);
        check(frame);
    }
    for (; at + 2 + kPatch <= size; at += 2 + kPatch) {
        const size_t where = vt::readAt<uint16_t>(bytes, at);
        const auto patch = [&](auto& page, size_t begin) {
            if (where < begin || where + kPatch > begin + sizeof page) return;
            std::memcpy(reinterpret_cast<uint8_t*>(&page) + where - begin, data + at + 2, kPatch);
        };
        patch(pages.graphics, 0);
        patch(pages.physics, sizeof pages.graphics);
        patch(pages.statics, sizeof pages.graphics + sizeof pages.physics);
        now += 0.03;
        vt::fillAcEvoFrame(frame, pages, now, now, *memory);
        check(frame);
    }
    return 0;
}
