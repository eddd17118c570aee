// The road of a picture inside the program: copied by the capture, converted and handed out by the
// sender.
#include "streaming/frame_hub.h"
#include "streaming/straight_alpha.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <thread>

using namespace vt;

namespace {

constexpr int kSlot = kSlotFuel;

/// A picture of one value, in rows that are longer than they need to be.
struct Picture {
    Picture(int width, int height, uint8_t value)
        : stride(width * 4 + 12), bytes(static_cast<size_t>(stride) * height, 0xEE) {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width * 4; ++x)
                bytes[static_cast<size_t>(y) * stride + x] = x % 4 == 3 ? 255 : value;
        view = {bytes.data(), width, height, stride};
    }
    int stride;
    std::vector<uint8_t> bytes;
    PixelView view;
};

/// A viewer that keeps what it is told: "3x2" for a size, the first channel for pixels.
struct FakeViewer {
    FakeViewer(FrameHub& frames, bool ackMode) : hub(frames) {
        id = hubSubscribe(hub, kSlot, {ackMode, false}, [this](StreamMessage message) {
            if (!message.pixels) {
                int w = 0, h = 0;
                sscanf(message.text.c_str(), R"({"type":"size","w":%d,"h":%d})", &w, &h);
                got.push_back(std::to_string(w) + "x" + std::to_string(h));
            } else {
                got.push_back(std::to_string(message.pixels->at(0)) + "/" +
                              std::to_string(message.pixels->size()));
            }
        });
    }
    ~FakeViewer() { hubUnsubscribe(hub, id); }
    FakeViewer(const FakeViewer&) = delete;
    FakeViewer& operator=(const FakeViewer&) = delete;
    std::string last() const { return got.empty() ? "" : got.back(); }

    FrameHub& hub;
    uint64_t id = 0;
    std::vector<std::string> got;
};

struct Hub : testing::Test {
    Hub() { hub.running = true; }
    void capture(int width, int height, uint8_t value) {
        ASSERT_TRUE(hubCapture(hub, kSlot, Picture(width, height, value).view));
    }
    void round() { wait = hubRound(hub); }
    FrameHub hub;
    int wait = 0;
};

} // namespace

TEST(StraightAlpha, IsThePlainFormulaForEveryChannelAndAlphaAnywhereInARow) {
    // Rows of each alpha: mixed, of one colour (in runs), and shorter than any block.
    for (int width : {256, 5}) {
        for (int a = 0; a < 256; ++a) {
            std::vector<uint8_t> in, out(static_cast<size_t>(width) * 4 * 2);
            for (int row = 0; row < 2; ++row) {
                for (int x = 0; x < width; ++x) {
                    const int c = row == 0 ? x : a / 2;
                    in.insert(in.end(), {static_cast<uint8_t>(c), static_cast<uint8_t>(255 - c),
                                         static_cast<uint8_t>(c * 7), static_cast<uint8_t>(a)});
                }
                in.insert(in.end(), 8, 0x55); // behind the row
            }
            straightRgba(in.data(), width, 2, width * 4 + 8, out.data(), width * 4);
            for (int i = 0; i < width * 2; ++i) {
                const uint8_t* bgra =
                    &in[static_cast<size_t>(i / width * (width * 4 + 8) + i % width * 4)];
                for (int channel = 0; channel < 3; ++channel) {
                    const int c = bgra[2 - channel];
                    const int want = a == 0 ? 0 : std::min(255, (c * 255 + a / 2) / a);
                    ASSERT_EQ(out[static_cast<size_t>(i) * 4 + channel], want) << c << " of " << a;
                }
                ASSERT_EQ(out[static_cast<size_t>(i) * 4 + 3], a);
            }
        }
    }
}

TEST_F(Hub, ViewersGetTheSizeThenTheNewestPictureEachAtItsOwnPace) {
    FakeViewer quick(hub, true), slow(hub, true), plain(hub, false);
    EXPECT_TRUE(hub.captureWanted.exchange(false));
    round();
    EXPECT_TRUE(quick.got.empty()); // nothing was drawn yet
    EXPECT_EQ(wait, 8);
    capture(3, 2, 1);
    round();
    EXPECT_EQ(wait, 4);
    for (const FakeViewer* viewer : {&quick, &slow, &plain})
        EXPECT_EQ(viewer->got, std::vector<std::string>{"3x2"});
    round();
    EXPECT_EQ(plain.got.size(), 1u) << "while a message is on its way there is no second one";

    for (const FakeViewer* viewer : {&quick, &slow, &plain})
        hubWritten(hub, viewer->id);
    round();
    EXPECT_EQ(plain.last(), "1/24"); // it does not answer, and needs not
    EXPECT_EQ(quick.last(), "3x2");
    hubAcknowledge(hub, quick.id);
    round();
    EXPECT_EQ(quick.last(), "1/24");

    // Pictures go by while the slow one is silent; then it gets the newest one alone.
    for (const int value : {2, 3, 4}) {
        capture(3, 2, static_cast<uint8_t>(value));
        hubWritten(hub, quick.id);
        hubAcknowledge(hub, quick.id);
        round();
        EXPECT_EQ(quick.last(), std::to_string(value) + "/24");
    }
    EXPECT_EQ(slow.got.size(), 1u);
    hubAcknowledge(hub, slow.id);
    round();
    round();
    EXPECT_EQ(slow.got, (std::vector<std::string>{"3x2", "4/24"}));

    // A resize is told first; its pixels follow the answer.
    capture(2, 5, 9);
    hubWritten(hub, slow.id);
    hubAcknowledge(hub, slow.id);
    round();
    EXPECT_EQ(slow.last(), "2x5");
    hubWritten(hub, slow.id);
    round();
    EXPECT_EQ(slow.last(), "2x5");
    hubAcknowledge(hub, slow.id);
    round();
    EXPECT_EQ(slow.last(), "9/40");
}

TEST_F(Hub, LaterViewersGetThePictureThatStandsAndTheLastOneTakesTheMemoryAlong) {
    auto first = std::make_unique<FakeViewer>(hub, true);
    capture(4, 4, 7);
    round();
    hub.captureWanted = false;
    FakeViewer second(hub, false);
    EXPECT_FALSE(hub.captureWanted) << "the picture at hand serves it";
    round();
    hubWritten(hub, second.id);
    round();
    EXPECT_EQ(second.last(), "7/64");

    first.reset();
    round();
    EXPECT_EQ(hub.pictures[kSlot].straight.size(), 64u);
    hubUnsubscribe(hub, second.id);
    hubUnsubscribe(hub, second.id);
    EXPECT_EQ(hub.subscriberCount[kSlot], 0);
    round();
    EXPECT_EQ(wait, 250);
    EXPECT_EQ(hub.pictures[kSlot].straight.capacity(), 0u);
    for (const FramePixels& frame : hub.exchanges[kSlot].frames.frames)
        EXPECT_EQ(frame.bytes.capacity(), 0u);
    EXPECT_FALSE(hubCapture(hub, kSlot, Picture(4, 4, 7).view)) << "nobody looks";

    FakeViewer third(hub, true);
    EXPECT_TRUE(hub.captureWanted);
    round();
    EXPECT_TRUE(third.got.empty()) << "nothing of what was freed";
}

/// A viewer that keeps the picture as a page does: parts are put where they belong.
struct PartsViewer {
    explicit PartsViewer(FrameHub& frames) : hub(frames) {
        id = hubSubscribe(hub, kSlot, {true, true}, [this](StreamMessage message) {
            ++messages;
            if (message.pixels)
                put(*message.pixels);
            else
                resize(message.text);
        });
    }
    ~PartsViewer() { hubUnsubscribe(hub, id); }
    PartsViewer(const PartsViewer&) = delete;
    PartsViewer& operator=(const PartsViewer&) = delete;

    void resize(const std::string& text) {
        ASSERT_EQ(
            sscanf(text.c_str(), R"({"type":"size","w":%d,"h":%d,"parts":true})", &width, &height),
            2);
        EXPECT_TRUE(text.ends_with(R"(,"parts":true})"));
        picture.assign(static_cast<size_t>(width) * height * 4, 0xEE);
    }
    void put(const FrameBytes& bytes) {
        ASSERT_EQ(bytes.size() % 4, 0u);
        std::vector<uint32_t> words(bytes.size() / 4);
        std::memcpy(words.data(), bytes.data(), bytes.size());
        const size_t count = words.at(0);
        ASSERT_GT(count, 0u);
        size_t at = 1 + count * 2;
        for (size_t i = 0; i < count; ++i) {
            const uint32_t place = words.at(1 + i * 2), size = words.at(2 + i * 2);
            const int x = place & 0xFFFF, y = place >> 16, w = size & 0xFFFF, h = size >> 16;
            ASSERT_TRUE(x + w <= width && y + h <= height);
            for (int done = 0; done < w * h;) {
                const uint32_t token = words.at(at++);
                const int n = static_cast<int>(token & ~kRunOfOne);
                ASSERT_TRUE(n > 0 && done % w + n <= w) << "within its row";
                for (int k = 0; k < n; ++k, ++done) {
                    const uint32_t pixel = words.at(token & kRunOfOne ? at : at + k);
                    std::memcpy(
                        &picture.at((static_cast<size_t>(y + done / w) * width + x + done % w) * 4),
                        &pixel, 4);
                }
                at += token & kRunOfOne ? 1 : n;
            }
        }
        EXPECT_EQ(at, words.size());
        received = bytes.size();
    }
    void answer() {
        hubWritten(hub, id);
        hubAcknowledge(hub, id);
    }

    FrameHub& hub;
    uint64_t id = 0;
    int width = 0, height = 0, messages = 0;
    size_t received = 0;
    FrameBytes picture;
};

// Viewers of every pace end with the picture that a viewer of whole pictures is sent.
TEST_F(Hub, PartsMakeUpTheWholePictureAtAnyPace) {
    PartsViewer quick(hub), slow(hub);
    FrameBytes whole;
    const uint64_t plain = hubSubscribe(hub, kSlot, {false, false}, [&](StreamMessage message) {
        if (message.pixels) whole = *message.pixels;
    });
    std::mt19937 random(5);
    const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    for (const auto& [width, height] : {std::pair{131, 67}, std::pair{32, 16}, std::pair{5, 90}}) {
        Picture picture(width, height, 40);
        for (int frame = 0; frame < 120; ++frame) {
            // A few spots of a few pixels, as numbers change.
            for (int spot = below(4); spot > 0; --spot) {
                const int x = below(width), y = below(height);
                for (int dx = 0; dx < 1 + below(40) && x + dx < width; ++dx)
                    picture.bytes[static_cast<size_t>(y) * picture.stride + (x + dx) * 4 + 1] =
                        static_cast<uint8_t>(below(256));
            }
            ASSERT_TRUE(hubCapture(hub, kSlot, picture.view));
            for (int message = 0; message < 2; ++message) {
                round();
                hubWritten(hub, plain);
                quick.answer();
                if (frame % 7 == 6) slow.answer();
            }
            round();
            ASSERT_EQ(quick.picture, whole) << width << " frame " << frame;
            if (frame % 7 == 6 && frame > 7) {
                ASSERT_EQ(slow.picture, whole) << "frame " << frame;
            }
            hubWritten(hub, plain);
            quick.answer();
        }
    }
    EXPECT_LT(slow.messages * 2, quick.messages);
    hubUnsubscribe(hub, plain);
}

TEST_F(Hub, AViewerOfPartsIsSentWhatChangedAndNothingElse) {
    PartsViewer viewer(hub);
    Picture picture(400, 480, 40);
    const auto shown = [&] {
        EXPECT_TRUE(hubCapture(hub, kSlot, picture.view));
        const int before = viewer.messages;
        round();
        viewer.answer();
        return viewer.messages - before;
    };
    EXPECT_EQ(shown(), 1); // the size
    EXPECT_EQ(shown(), 1);
    EXPECT_EQ(viewer.received, 4u + 8u + 480u * 8) << "a row of one colour is a run";
    EXPECT_EQ(shown(), 0) << "painted again, the same picture";
    picture.bytes[static_cast<size_t>(100) * picture.stride + 70 * 4] ^= 1;
    EXPECT_EQ(shown(), 1);
    // One tile; the row with the spot is a stretch of 6, the spot with it, and a run of 25.
    EXPECT_EQ(viewer.received, 4u + 8u + 15u * 8 + (8u + 4u + 4u + 8u));
}

// Two captures, the sender, and viewers that come and go: whole pictures only, never an older one
// after a newer one. Also what the thread sanitizer is for.
TEST_F(Hub, PicturesStayWholeWhileViewersComeAndGo) {
    std::thread sender([this] { hubSend(hub); });
    std::atomic<bool> done{false};
    std::atomic<int> torn{0}, received{0};
    std::vector<std::thread> others;
    for (const int slot : {0, 1}) {
        others.emplace_back([&, slot] {
            for (int value = 0; !done; value = (value + 1) % 250)
                hubCapture(hub, slot,
                           Picture(16 + value % 2 * 16, 20, static_cast<uint8_t>(value)).view);
        });
        others.emplace_back([&, slot] {
            while (!done) {
                std::atomic<bool> arrived{false};
                const uint64_t id =
                    hubSubscribe(hub, slot, {true, false}, [&](StreamMessage message) {
                        if (message.pixels) {
                            const FrameBytes& bytes = *message.pixels;
                            for (size_t i = 0; i < bytes.size(); ++i)
                                if (i % 4 != 3 && bytes[i] != bytes[0]) ++torn;
                            ++received;
                        }
                        arrived = true;
                    });
                for (int message = 0; message < 4 && !done; ++message) {
                    while (!arrived.exchange(false) && !done)
                        std::this_thread::yield();
                    hubWritten(hub, id);
                    hubAcknowledge(hub, id);
                }
                hubUnsubscribe(hub, id);
            }
        });
    }
    for (int i = 0; i < 15'000 && received < 100; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    done = true;
    for (std::thread& each : others)
        each.join();
    hub.running = false;
    hub.wake.wake();
    sender.join();
    hubClear(hub);
    EXPECT_EQ(torn, 0);
    EXPECT_GE(received, 100);
}
