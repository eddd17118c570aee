#include "ac_pages_player.h"
#include "support/ac_model.h"

namespace player {

int playAc(const Options& options) {
    AcPagesWriter pages;
    if (!pages.create(options, vt::kAcSizes)) return 1;
    vt::AcPhysics physics;
    vt::AcGraphics graphics;
    vt::AcStatic statics;
    return playModel(options, "Assetto Corsa", [&](const model::Race& race) {
        vt::test::fillModelPhysics(race, false, physics);
        vt::test::fillModelGraphics(race, graphics);
        vt::test::fillModelStatic(race, statics);
        pages.publish(options, physics, &graphics, sizeof graphics, statics);
        return true;
    });
}

} // namespace player
