#include "overlay/drawing/drawing.h"
#include "platform/main_loop.h"
#include "platform/paths.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class HeadlessDesktop : public ::testing::Environment {
    void SetUp() override {
        ASSERT_TRUE(vt::platformStart(vt::PlatformKind::headless));
        const std::string fonts = vt::shippedFolder("fonts");
        vt::drawingInit(fonts.empty() ? std::string(VT_SOURCE_DIR) + "/fonts" : fonts);
    }
    void TearDown() override {
        vt::drawingShutdown();
        vt::platformStop();
    }
};

const ::testing::Environment* const desktop =
    ::testing::AddGlobalTestEnvironment(new HeadlessDesktop);

} // namespace
