// A test on a real X server: starts one, opens the platform on it and pumps the loop.
#pragma once
#include "platform/clock.h"
#include "platform/desktop.h"
#include "platform/main_loop.h"
#include "platform/window.h"
#include "support/eventually.h"
#include "support/xvfb.h"
#include "x11_client.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace vt::test {

struct SeenEvents {
    std::vector<WindowEvent> events;
    int count(EventKind kind) const {
        return static_cast<int>(std::count_if(
            events.begin(), events.end(), [kind](const WindowEvent& e) { return e.kind == kind; }));
    }
    const WindowEvent* last(EventKind kind) const {
        for (auto e = events.rbegin(); e != events.rend(); ++e)
            if (e->kind == kind) return &*e;
        return nullptr;
    }
};

class X11Test : public testing::Test {
protected:
    void TearDown() override {
        platformStop();
        screen.stop();
    }

    /// False: the test is to be skipped; `why` tells what is missing.
    bool open(bool manager, bool compositor = false, const char* withoutExtension = "") {
        why = Xvfb::missing({"xdotool", "xprop", "xwininfo", "import", "openbox"});
        if (why.empty() && compositor) why = Xvfb::missing({"picom"});
        if (!why.empty()) return false;
        if (!screen.start("1280x800x24", withoutExtension)) why = "Xvfb (it does not start)";
        if (why.empty() && manager && !screen.startWindowManager()) why = "a running openbox";
        if (why.empty() && compositor && !screen.startCompositor()) why = "a running picom";
        if (why.empty() && !platformStart(PlatformKind::x11)) ADD_FAILURE() << "no X11 platform";
        return why.empty();
    }

    WindowId make(WindowKind kind, RectI rect, const char* title, SeenEvents* seen = nullptr,
                  bool clickThrough = false) {
        WindowSpec spec;
        spec.kind = kind;
        spec.rect = rect;
        spec.title = title;
        spec.className = "VTOverlayWindow";
        spec.visible = true;
        spec.clickThrough = clickThrough;
        return createWindow(spec, [seen](const WindowEvent& event) {
            if (seen) seen->events.push_back(event);
            return event.kind != EventKind::close;
        });
    }

    template <typename Condition>
    static bool pumpUntil(Condition condition, int ms = kPatienceMs) {
        const Clock clock;
        const uint64_t end = clockMs(clock) + static_cast<uint64_t>(ms);
        while (!condition() && clockMs(clock) < end)
            loopPump(10);
        return condition();
    }
    static void pumpFor(int ms) {
        pumpUntil([] { return false; }, ms);
    }

    /// Runs a shell command while the loop goes on. What the server did is then told to us, as far
    /// as no window manager has a say in it.
    static std::string run(const std::string& command) {
        loopPump();
        std::string text = shellOutput(command);
        for (int i = 0; i < 3; ++i) {
            shellOutput("xprop -root VT_NOTHING"); // a way to the server and back
            pumpFor(20);
        }
        return text;
    }

    /// Waits until that many events of the kind came, and a moment more for one too many.
    static bool saw(const SeenEvents& seen, EventKind kind, int count) {
        pumpUntil([&] { return seen.count(kind) >= count; });
        pumpFor(20);
        return seen.count(kind) == count;
    }

    /// A plain premultiplied colour, 0xAARRGGBB, all over the surface, then presented.
    static void paintPlain(Surface& surface, uint32_t color) {
        ASSERT_TRUE(pumpUntil([&] { return surfaceBeginFrame(surface); }));
        const BitmapRef bitmap = surfaceBitmap(surface);
        const PixelView view = bitmapPixels(*bitmap);
        uint8_t* pixels = bitmapWritablePixels(*bitmap);
        for (int y = 0; y < view.height; ++y)
            for (int x = 0; x < view.width; ++x)
                std::memcpy(pixels + ptrdiff_t{y} * view.stride + ptrdiff_t{x} * 4, &color, 4);
        bitmapChanged(*bitmap);
        EXPECT_TRUE(presentSurface(surface).ok());
        loopPump();
    }

    /// Colour on the screen as "RRGGBB".
    static std::string screenPixel(int x, int y) {
        return run("import -window root -crop 1x1+" + std::to_string(x) + "+" + std::to_string(y) +
                   " -depth 8 rgb:- | od -An -tx1 | tr -d ' \\n'");
    }

    static bool shows(int x, int y, const std::string& color) {
        return pumpUntil([&] { return screenPixel(x, y) == color; });
    }

    static std::string windowsNamed(const std::string& name) {
        return run("xdotool search --name '" + name + "'");
    }

    Xvfb screen;
    std::string why;
};

#define VT_OPEN(...)                                                                               \
    if (!open(__VA_ARGS__)) GTEST_SKIP() << "needs " << why

} // namespace vt::test
