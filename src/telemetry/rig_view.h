// A word to the sibling program: as long as this name exists it fills the shaker fields of its
// record.
#pragma once
#include "platform/named_presence.h"

namespace vt {

inline constexpr const char* kRigViewName = "Local\\VantorelRigViewWanted";

/// Held by whoever shows the rig. One thread.
struct RigView {
    NamedPresence presence;
};

/// Lets the name exist while `wanted`; cheap when nothing changed. It also vanishes with the
/// program.
void rigViewSync(RigView& view, bool wanted);

} // namespace vt
