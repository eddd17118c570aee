#include "ac_pages_player.h"
#include "support/ac_model.h"

namespace player {

int playAcRally(const Options& options) {
    AcPagesWriter pages;
    if (!pages.create(options, vt::kAcRallySizes)) return 1;
    vt::AcPhysics physics;
    vt::AccGraphics graphics;
    vt::AcStatic statics;
    return playModel(options, "AC Rally", [&](const model::Race& race) {
        vt::test::fillModelPhysics(race, false, physics);
        vt::test::fillModelGraphics(race, vt::test::kAcNoLapMs, graphics);
        vt::test::fillModelStatic(race, statics);
        pages.publish(options, physics, &graphics, sizeof graphics, statics);
        return true;
    });
}

} // namespace player
