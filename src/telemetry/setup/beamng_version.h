// The version of BeamNG.drive on this machine: its mods must be accepted anew after each update.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace vt {

inline constexpr uint32_t kBeamNgAppId = 284160;

/// What the game wrote into the registry, else the first line of its version file without blanks
/// around it. Empty when neither is there.
std::string beamNgVersionFrom(std::string_view registryText, std::string_view versionFile);

/// The same from the machine, looked up anew at most every 30 s: the game does not change while it
/// runs, and its registry is a large file under a compatibility layer. Main thread.
class BeamNgVersion {
public:
    const std::string& get(uint64_t nowMs);

private:
    std::string version_;
    uint64_t nextMs_ = 0;
};

} // namespace vt
