// Euro Truck Simulator 2: the mapping of the telemetry plug-in as it lies on the wire, up to the
// last field that is read; little-endian. The plug-in makes it longer.
#pragma once
#include <cstddef>
#include <cstdint>

namespace vt {

inline constexpr char kEts2MapName[] = "Local\\SCSTelemetry";
inline constexpr int32_t kEts2Version = 12;

#pragma pack(push, 1)

struct Ets2Page {
    uint8_t active = 0; // the plug-in is loaded and the game told it to run
    uint8_t unread1[3] = {};
    uint8_t paused = 0;
    uint8_t unread2[11] = {};
    uint64_t simulatedTime = 0; // stands still while the game is paused
    uint8_t unread3[16] = {};
    int32_t version = 0;
    uint8_t unread4[460] = {};
    int32_t gear = 0; // negative: reverse
    uint8_t unread5[196] = {};
    float fuelCapacity = 0; // litres
    uint8_t unread6[32] = {};
    float maxRpm = 0;
    uint8_t unread7[204] = {};
    float speed = 0; // m/s, negative backwards
    float rpm = 0;
    uint8_t unread8[4] = {};
    float throttle = 0;
    float brake = 0;
    float clutch = 0;
    float steering = 0; // -1..1
    uint8_t unread9[24] = {};
    float fuel = 0; // litres
    uint8_t unread10[12] = {};
    float oilPressure = 0; // psi
    float oilTemp = 0;     // °C
    float waterTemp = 0;
    float batteryVolts = 0;
    uint8_t unread11[860] = {};
    float localAccelX = 0; // m/s²
    float localAccelY = 0;
    float localAccelZ = 0; // to the rear
    uint8_t unread12[396] = {};
    char brandId[64] = {}; // as "mercedes"
    char brand[64] = {};
    char truckName[64] = {}; // as "vehicle.mercedes.actros2014"
    char modelId[64] = {};   // as "New Actros"
};

#pragma pack(pop)

static_assert(sizeof(Ets2Page) == 2556);
static_assert(offsetof(Ets2Page, paused) == 4);
static_assert(offsetof(Ets2Page, simulatedTime) == 16);
static_assert(offsetof(Ets2Page, version) == 40);
static_assert(offsetof(Ets2Page, gear) == 504);
static_assert(offsetof(Ets2Page, fuelCapacity) == 704);
static_assert(offsetof(Ets2Page, maxRpm) == 740);
static_assert(offsetof(Ets2Page, speed) == 948);
static_assert(offsetof(Ets2Page, rpm) == 952);
static_assert(offsetof(Ets2Page, throttle) == 960);
static_assert(offsetof(Ets2Page, brake) == 964);
static_assert(offsetof(Ets2Page, clutch) == 968);
static_assert(offsetof(Ets2Page, steering) == 972);
static_assert(offsetof(Ets2Page, fuel) == 1000);
static_assert(offsetof(Ets2Page, oilPressure) == 1016);
static_assert(offsetof(Ets2Page, oilTemp) == 1020);
static_assert(offsetof(Ets2Page, waterTemp) == 1024);
static_assert(offsetof(Ets2Page, batteryVolts) == 1028);
static_assert(offsetof(Ets2Page, localAccelX) == 1892);
static_assert(offsetof(Ets2Page, localAccelZ) == 1900);
static_assert(offsetof(Ets2Page, brandId) == 2300);
static_assert(offsetof(Ets2Page, truckName) == 2428);
static_assert(offsetof(Ets2Page, modelId) == 2492);

} // namespace vt
