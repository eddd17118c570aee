// EA Sports WRC sends telemetry to whoever stands in its config.json, in the form of a packet file
// beside it. Looks whether both are in order, and puts them in order. Main thread.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace vt {

inline constexpr uint32_t kEaWrcAppId = 1849250;
/// Below a documents folder.
inline constexpr const char* kEaWrcGameFolder = "My Games/WRC";
inline constexpr const char* kEaWrcPacketFile = "vantorel2.json";

/// The packet file, to the byte: the channels of `EaWrcPacket` in its order, the first of them in
/// the header.
extern const char* const kEaWrcPacketText;

/// What stands in the folder below `documents`. Each line counts only when those above are true.
struct EaWrcStatus {
    bool folderExists = false;
    bool packetFileExists = false;
    bool packetFileMatches = false;
    bool configRead = false;
    bool configParses = false;
    bool receiversAreList = false;
    bool entryExists = false;
    bool entryCorrect = false; // the only one of ours, and as it must be
    int otherReceivers = 0;    // of other tools
};

/// Changes nothing. False when the documents folder is not known (empty) or has no telemetry folder
/// of the game.
bool eaWrcCheck(const std::string& documents, EaWrcStatus& status);
bool eaWrcReady(const EaWrcStatus& status);

/// Writes the packet file, and our entry into config.json behind a backup. `report` gets the lines
/// for the user, of failures too. False leaves config.json as it was.
bool eaWrcAutoSetup(const std::string& documents, std::vector<std::string>& report);

} // namespace vt
