// DiRT Rally 2.0 sends telemetry when one line of its hardware settings says so; there is a second
// settings file for driving in a headset. Looks at both and puts the line in. Main thread.
#pragma once
#include "telemetry/process_scan.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace vt {

inline constexpr uint32_t kDirtRally2AppId = 690790;
/// Below a documents folder.
inline constexpr const char* kDirtRally2GameFolder = "My Games/DiRT Rally 2.0";

enum class Dr2FileState {
    missing,
    noLine,
    off,
    wrongLevelOrPort,
    wrongAddress,
    ready,
    unreadable,
};

struct Dr2View {
    std::string documents; // empty = not known
    Dr2FileState normal = Dr2FileState::missing;
    Dr2FileState vr = Dr2FileState::missing;
    bool hasVr() const { return vr != Dr2FileState::missing; }
};
enum Dr2File { kDr2Normal = 0, kDr2Vr = 1 };

/// What the user reads about a file in that state.
const char* dr2StateText(Dr2FileState state);
/// The line that counts.
std::string dr2Line();

/// From the text of a settings file.
Dr2FileState dr2StateOf(std::string_view xml);
/// The text with the line in its place; everything outside the element stays to the byte. False,
/// with the reason for the user, when there is no place for it.
bool dr2WithLine(std::string_view xml, std::string& out, std::string& reason);

/// Reads both files below `view.documents`.
void dr2Scan(Dr2View& view);

/// Puts the line into one file, behind a backup; `message` is for the user, either way. Refused
/// while the game runs. Scans again.
bool dr2Fix(Dr2View& view, Dr2File file, ProcessLister lister, std::string& message);

/// The documents folder is known, and the game would not send with a file that it uses.
bool dr2NeedsAttention(const std::string& documents);

} // namespace vt
