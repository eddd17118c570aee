// Any bytes as a conversation on ACC's broadcasting port: datagrams of a length byte and so many
// bytes, the clock moving on in between; and as the sim's configuration file.
#include "base/utf8.h"
#include "telemetry/readers/acc_broadcast_state.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

void require(bool held) {
    if (!held) std::abort();
}

void check(const vt::AccSnapshot& snapshot) {
    require(snapshot.carCount >= 0 && snapshot.carCount <= vt::kAccMaxCars);
    require(vt::utf8Valid(snapshot.error) && vt::utf8Valid(snapshot.trackName));
    for (int i = 0; i < snapshot.carCount; ++i) {
        const vt::AccCar& car = snapshot.cars[i];
        require(vt::utf8Valid(car.firstName) && vt::utf8Valid(car.surname));
        require(vt::utf8Valid(car.shortName) && std::isfinite(car.splinePosition));
        require(car.bestLapMs >= -1 && car.lastLapMs >= -1 && car.bestLapMs != vt::kAccNoLapMs);
        for (int k = 0; k < i; ++k)
            require(snapshot.cars[k].carIndex != car.carIndex);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace vt;
    const std::string_view text{reinterpret_cast<const char*>(data), size};
    const AccBroadcastConfig config = accParseBroadcastConfig(text);
    require(config.port >= 1 && config.port <= 65535);
    require(config.connectionPassword.size() <= 63 && config.commandPassword.size() <= 63);

    AccBroadcastState state;
    state.config = config;
    const AccBroadcastOut out{[](const AccMessage& m) { require(m.size >= 5 && m.size <= 512); },
                              [](const AccSnapshot& s) { check(s); }};
    uint64_t now = 1000;
    ByteView rest{data, size};
    while (!rest.empty()) {
        accBroadcastDue(state, now, out);
        const size_t length = std::min<size_t>(rest[0], rest.size() - 1);
        accBroadcastReceive(state, rest.subspan(1, length), now, out);
        now += length * 7;
        rest = rest.subspan(1 + length);
    }
    check(state.working);
    return 0;
}
