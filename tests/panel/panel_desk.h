// A headless desktop on which a modal window is driven by a script that runs inside its loop.
#pragma once
#include "overlay/drawing/dialog.h"
#include "panel/row_layout.h"
#include "platform/file.h"
#include "platform/headless/headless.h"
#include "platform/main_loop.h"
#include "platform/picture_file.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>

namespace vt::test {

class PanelDesk : public ::testing::Test {
protected:
    Clock clock = manualClock();
    WindowId owner = 0;

    void SetUp() override {
        headlessUseClock(&clock);
        screenOf(96);
        WindowSpec spec;
        spec.kind = WindowKind::panel;
        spec.rect = {600, 300, 1000, 800};
        spec.visible = true;
        owner = createWindow(spec, [](const WindowEvent&) { return true; });
    }
    void TearDown() override {
        destroyWindow(owner);
        headlessUseClock(nullptr);
        screenOf(96);
    }
    static void screenOf(float dpi, int width = 1920, int height = 1080) {
        headlessSetMonitors({{{0, 0, width, height}, {0, 0, width, height - 40}, dpi, true}});
    }

    /// Runs `open`, a modal window, and inside its loop `script`. The window must be closed by the
    /// script; one that is not is closed, and that is a failure.
    void drive(const std::function<void()>& open, std::function<void()> script) {
        script_ = std::move(script);
        loopPost(
            [](void* user) {
                auto* self = static_cast<PanelDesk*>(user);
                loopPump();
                self->script_();
                loopPump();
                loopPost([](void* desk) { static_cast<PanelDesk*>(desk)->closeLeftOver(); }, self);
            },
            this);
        open();
        EXPECT_EQ(currentDialog(), 0u);
        loopPump();
    }

    void turn(double seconds) {
        advance(clock, seconds);
        loopPump();
    }
    static void key(uint32_t code, bool shift = false) {
        if (shift) headlessKey(0x10, true);
        headlessKey(code, true);
        headlessKey(code, false);
        if (shift) headlessKey(0x10, false);
        loopPump();
    }
    static void type(const std::string& text) {
        for (const char c : text)
            headlessCharacter(static_cast<uint32_t>(c));
        loopPump();
    }
    static void button(PointI at, bool down) {
        headlessMouseMove(at);
        headlessMouseButton(0, down);
        loopPump();
    }
    static void click(PointI at) {
        button(at, true);
        button(at, false);
    }
    /// The middle of a control of the page that the innermost window shows unscrolled.
    static PointI middleOf(const RowPage& page, int id) {
        const RectI rect = windowRect(currentDialog());
        const float scale = static_cast<float>(systemDpi()) / 96;
        const RowPlan plan = planRows(page, static_cast<float>(rect.width()) / scale,
                                      static_cast<float>(rect.height()) / scale);
        for (const RowPlace& place : plan.places)
            if (place.item->id == id)
                return {rect.left + static_cast<int>(place.rect.centerX() * scale),
                        rect.top + static_cast<int>(place.rect.centerY() * scale)};
        ADD_FAILURE() << "no control " << id;
        return {};
    }
    /// Keeps the innermost window's picture where VT_PICTURES says, for people to look at.
    static void picture(const std::string& name) {
        loopPump();
        const BitmapRef shown = headlessPicture(currentDialog());
        ASSERT_TRUE(shown);
        if (const char* folder = std::getenv("VT_PICTURES")) {
            makeFolders(folder);
            EXPECT_TRUE(savePng(*shown, std::string(folder) + "/" + name + ".png"));
        }
    }

private:
    void closeLeftOver() {
        if (currentDialog() == 0) return;
        ADD_FAILURE() << "the window is still open";
        endDialog(0);
    }
    std::function<void()> script_;
};

} // namespace vt::test
