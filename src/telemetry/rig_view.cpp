#include "telemetry/rig_view.h"

namespace vt {

void rigViewSync(RigView& view, bool wanted) {
    if (!wanted)
        view.presence.close();
    else if (!view.presence.isOpen())
        view.presence.open(kRigViewName);
}

} // namespace vt
