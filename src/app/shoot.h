// Pictures of everything, without a sim and without a user: `--shoot`.
#pragma once
#include "app/command_line.h"
#include "overlay/window/overlay_window.h"

#include <functional>
#include <string>

namespace vt {

/// Steps what overlays read besides the frame (fuel, plans); called before they are drawn.
using ShootModels = std::function<void(const SimFrame&)>;

/// One PNG per overlay and look with the demo race at 13 s: every style, every theme of the Apex
/// styles, the strips, edit mode. Returns how many could not be written.
int shootLooks(OverlayHost& host, const CommandLine& line, const ShootModels& models);

/// Runs the demo race from 0 at its own pace and takes a picture of every visible overlay at each
/// of `line.at`. Returns how many could not be written.
int shootRace(OverlayHost& host, const CommandLine& line, const ShootModels& models);

/// "<folder>/<tag>-<name><suffix>.png".
std::string shootFile(const CommandLine& line, const std::string& name, const std::string& suffix);
/// "-t%03d" of the time rounded to whole seconds.
std::string shootSuffix(double seconds);

} // namespace vt
