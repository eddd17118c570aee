// What the setup windows say, in the user's language.
#pragma once
#include "telemetry/setup/setup_sims.h"

#include <string>

namespace vt {

/// The first line when a sim runs and nothing arrives; empty for BeamNG.
const char* setupWarning(SetupSim sim, bool twoFiles);

const char* f1Text();
const char* beamNgText();
const char* dr2Heading(bool twoFiles);
const char* dr2NoVr();
std::string wrcText();
/// By hand. `packetTemplate` is where the program's own packet file lies; empty = not shipped.
std::string wrcSteps(const std::string& documents, const std::string& packetTemplate);

} // namespace vt
