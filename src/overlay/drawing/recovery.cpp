#include "base/log.h"
#include "overlay/drawing/drawing.h"

#include <array>

namespace vt {

namespace {

constexpr size_t kFailurePlaces = 24;
constexpr uint64_t kRepeatMs = 5000;
constexpr unsigned kMaxRebuilds = 5;
constexpr uint64_t kRebuildWindowMs = 10'000;
constexpr uint64_t kRebuildHoldMs = 10'000;

struct FailurePlace {
    const char* where = nullptr;
    uint32_t code = 0;
    uint64_t reportedMs = 0;
    unsigned suppressed = 0;
};
std::array<FailurePlace, kFailurePlaces> places;

struct RebuildLimit {
    unsigned rebuilds = 0;
    uint64_t windowStartMs = 0;
    bool windowOpen = false;
    uint64_t holdUntilMs = 0; // 0 = none
};
RebuildLimit limit;

std::vector<DeviceClient> clients;

bool mayRebuild(uint64_t nowMs) {
    const auto openWindow = [nowMs] {
        limit.windowOpen = true;
        limit.windowStartMs = nowMs;
        limit.rebuilds = 0;
    };
    if (limit.holdUntilMs != 0) {
        if (nowMs < limit.holdUntilMs) return false;
        limit.holdUntilMs = 0;
        openWindow();
    } else if (!limit.windowOpen || nowMs - limit.windowStartMs > kRebuildWindowMs) {
        openWindow();
    }
    if (limit.rebuilds >= kMaxRebuilds) {
        limit.holdUntilMs = nowMs + kRebuildHoldMs;
        logStatus("[panel] %u device rebuilds in %llus, backing off %llus\n", limit.rebuilds,
                  static_cast<unsigned long long>(kRebuildWindowMs / 1000),
                  static_cast<unsigned long long>(kRebuildHoldMs / 1000));
        return false;
    }
    ++limit.rebuilds;
    return true;
}

void rebuild() {
    const std::vector<DeviceClient> present = clients; // a client may leave meanwhile
    for (const DeviceClient& client : present)
        if (client.release) client.release(client.user);
    if (!remakeDevice()) {
        raiseDeviceLost();
        return;
    }
    for (const DeviceClient& client : present) {
        if (!client.remake || client.remake(client.user)) continue;
        logStatus("[drawing] %s could not be made anew\n", client.name);
        raiseDeviceLost();
        return;
    }
}

} // namespace

void reportDrawFailure(const char* where, uint32_t code, uint64_t nowMs) {
    for (FailurePlace& place : places) {
        const bool known = place.where == where;
        if (!known && place.where) continue;
        if (known && place.code == code && nowMs - place.reportedMs < kRepeatMs) {
            ++place.suppressed;
            return;
        }
        if (place.suppressed > 0)
            logStatus("[d2d] %s draw failed hr=0x%08lX, frame dropped (%u more suppressed)\n",
                      where, static_cast<unsigned long>(code), place.suppressed);
        else
            logStatus("[d2d] %s draw failed hr=0x%08lX, frame dropped\n", where,
                      static_cast<unsigned long>(code));
        place = {where, code, nowMs, 0};
        return;
    }
}

void addDeviceClient(const DeviceClient& client) {
    clients.push_back(client);
}

void removeDeviceClient(void* user) {
    std::erase_if(clients, [user](const DeviceClient& client) { return client.user == user; });
}

void recoverDevice(uint64_t nowMs) {
    if (deviceLost() && mayRebuild(nowMs)) rebuild();
}

} // namespace vt
