#include "overlay/drawing/drawing.h"
#include "overlay/drawing/panel_look.h"
#include "panel/row_parts.h"
#include "platform/main_loop.h"

#include <gtest/gtest.h>

namespace {

class HeadlessDesktop : public ::testing::Environment {
    void SetUp() override {
        ASSERT_TRUE(vt::platformStart(vt::PlatformKind::headless));
        vt::drawingInit(VT_SOURCE_DIR "/fonts");
    }
    void TearDown() override {
        vt::releaseRowFormats();
        vt::releasePanelFormats();
        vt::releasePanelBrushes();
        vt::drawingShutdown();
        vt::platformStop();
    }
};

const ::testing::Environment* const desktop =
    ::testing::AddGlobalTestEnvironment(new HeadlessDesktop);

} // namespace
