// What was learned of a car on a track: burn, lap time, what a stop costs. One list for the whole
// program, kept in `car_track.json`. Main thread only.
#pragma once
#include <string>
#include <string_view>
#include <vector>

namespace vt {

struct CarTrackEntry {
    int simId = -1;        // SimKind
    std::string carId;     // the frame's carModel, at most 63 bytes
    std::string trackName; // the frame's trackName, at most 63 bytes
    float fuelPerLap = 0;  // litres, learned
    float avgLapTime = 0;  // s, learned
    int cleanLaps = 0;     // behind the two
    float pitLossSec = 0;  // measured cost of a stop; 0 = none
};

struct CarTrackStore {
    std::vector<CarTrackEntry> entries;
    bool dirty = false; // differs from the file
};

/// Null where there is none. Linear scan; strings are compared as they are stored (63 bytes).
CarTrackEntry* findCarTrack(CarTrackStore& store, int sim, std::string_view car,
                            std::string_view track);
/// Appends a zeroed entry where there is none. The pointer holds until the next append.
CarTrackEntry* findOrAddCarTrack(CarTrackStore& store, int sim, std::string_view car,
                                 std::string_view track);

/// A missing file gives an empty store; one that cannot be read as well, and it is kept aside as
/// `<path>.corrupt`. Entries without car or track, or with a negative sim, are left out.
CarTrackStore loadCarTrack(const std::string& path);
/// Writes only a dirty store; clears the mark when the file was replaced. False when it could not.
bool saveCarTrack(CarTrackStore& store, const std::string& path);

} // namespace vt
