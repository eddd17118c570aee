// A desktop in memory for all tests of a program: included by one source file of it.
#pragma once
#include "overlay/drawing/drawing.h"
#include "platform/main_loop.h"

#include <gtest/gtest.h>

namespace {

class HeadlessDesktop : public ::testing::Environment {
    void SetUp() override {
        ASSERT_TRUE(vt::platformStart(vt::PlatformKind::headless));
        vt::drawingInit("");
    }
    void TearDown() override {
        vt::drawingShutdown();
        vt::platformStop();
    }
};

const ::testing::Environment* const desktop =
    ::testing::AddGlobalTestEnvironment(new HeadlessDesktop);

} // namespace
