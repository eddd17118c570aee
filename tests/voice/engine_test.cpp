// Engines on a device that keeps what it is given.
#include "engines.h"
#include "race/spotter_calls.h"

namespace vt::test {
namespace {

TEST_F(Engines, APhraseStartsWithinAPeriodAndTakesOver) {
    VoiceEngine engine(system);
    voiceConfigure(engine, wanted());
    waitReady(engine);
    periods(4);
    const size_t asked = frames();
    voiceSayPhrase(engine, 0);
    periods(50);
    const int start = onset(asked);
    ASSERT_GE(start, 0);
    EXPECT_LE(start - static_cast<int>(asked), 480 + 8) << "one period";
    const auto at = static_cast<size_t>(start);
    EXPECT_NEAR(level(at + 2000, 500), 0.244, 0.01) << "half of 16000 in 32768";
    EXPECT_FALSE(voiceIsSpeaking(engine));
    const int end = onset(at + 14400 + 10);
    EXPECT_EQ(end, -1) << "0.3 s and no more";

    // A phrase in the midst of an alert is heard at once, the alert is not heard again.
    voiceSayAlert(engine, 5);
    periods(12);
    EXPECT_TRUE(voiceIsSpeaking(engine));
    const size_t cut = frames();
    voiceSayPhrase(engine, 9); // no clip of its own: three wide
    periods(20);
    EXPECT_LT(level(cut + 2400, 900), 0.01);
    EXPECT_GT(level(cut + 2400, 700), 0.2);
    // An alert in the midst of a phrase is dropped; of two wishes the later counts.
    voiceSayAlert(engine, 5);
    periods(60);
    EXPECT_EQ(onset(frames() - 480 * 20), -1);
    voiceSayPhrase(engine, 0);
    voiceSayPhrase(engine, 2);
    periods(20);
    EXPECT_GT(level(frames() - 6000, 700), 0.2);
    // A phrase that has no clip leaves what plays alone.
    voiceSayPhrase(engine, 5);
    periods(4);
    EXPECT_TRUE(voiceIsSpeaking(engine));
}

TEST_F(Engines, SentencesAreJoined) {
    VoiceEngine engine(system);
    voiceConfigure(engine, wanted());
    waitReady(engine);
    periods(4);
    const size_t asked = frames();
    const int line = 111; // eng_running
    ASSERT_EQ(kCoachLineNames[static_cast<size_t>(line)], "eng_running");
    voiceSayEngineer(engine, line, 3, 2);
    periods(120);
    const auto at = static_cast<size_t>(onset(asked));
    // Turn, then line and position: each joint takes 0.05 s from both sides.
    EXPECT_GT(level(at + 4800, 1700), 0.2);
    EXPECT_GT(level(at + 16800 + 4800, 1300), 0.2);
    EXPECT_GT(level(at + 16800 + 14400 + 4800, 1500), 0.2);
    const size_t whole = 3 * 19200 - 2 * 2 * 2400;
    EXPECT_NE(onset(at + whole - 300), -1);
    EXPECT_EQ(onset(at + whole + 8), -1);
    // A word that is missing: nothing rather than half a sentence.
    voiceSayEngineer(engine, line, 4, -1);
    periods(6);
    EXPECT_FALSE(voiceIsSpeaking(engine));
    voicePulse(engine);
    periods(20);
    EXPECT_GT(level(frames() - 480 * 20 + 960, 1000), 0.1);
}

TEST_F(Engines, ADeviceThatGoesComesBack) {
    audio.available = false;
    VoiceEngine engine(system);
    voiceConfigure(engine, wanted());
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_FALSE(engine.ready);
    audio.available = true;
    waitReady(engine);
    periods(2);
    audio.available = false;
    {
        const std::lock_guard guard(audio.mutex);
        ASSERT_NE(audio.sink, nullptr);
    }
    voiceSayPhrase(engine, 0); // wakes it: it finds the device gone
    for (int i = 0; i < 2000 && engine.ready; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_FALSE(engine.ready);
    audio.available = true;
    waitReady(engine);
    periods(4);
    const size_t asked = frames();
    voiceSayPhrase(engine, 0);
    periods(8);
    EXPECT_NE(onset(asked), -1);
    // Another device, and stopping, take no second.
    VoiceSettings other = wanted();
    other.device = "elsewhere";
    voiceConfigure(engine, other);
    for (int i = 0; i < 3000; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const std::lock_guard guard(audio.mutex);
        if (audio.opened.back() == "elsewhere") break;
    }
    EXPECT_EQ(audio.opened.back(), "elsewhere");
    audio.available = false;
    const auto before = std::chrono::steady_clock::now();
    voiceStop(engine);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(500));
    EXPECT_FALSE(voiceRunning(engine));
}

TEST_F(Engines, FourSpeakAtOnce) {
    OfflineAudio devices[4];
    std::vector<AudioSystem> systems;
    for (OfflineAudio& device : devices)
        systems.push_back(offlineAudio(device));
    devices[1].info.format = {6, kRate, 16, false};
    devices[2].info.format = {1, kRate, 24, false};
    devices[3].info.format = {2, kRate, 32, false};
    std::vector<std::unique_ptr<VoiceEngine>> engines;
    for (const AudioSystem& each : systems) {
        engines.push_back(std::make_unique<VoiceEngine>(each));
        voiceConfigure(*engines.back(), wanted());
    }
    for (size_t i = 0; i < 4; ++i) {
        waitReady(*engines[i]);
        voiceSayPhrase(*engines[i], 0);
        for (int period = 0; period < 20; ++period) {
            ASSERT_TRUE(settleOffline(devices[i], 2000));
            stepOffline(devices[i]);
        }
        const size_t channels = devices[i].info.format.channels;
        const std::lock_guard guard(devices[i].mutex);
        const size_t total = devices[i].played.size() / channels;
        EXPECT_NEAR(levelOf(devices[i].played, total - 5000, 4800, channels, 500), 0.244, 0.01)
            << i;
    }
}

TEST(VoiceTime, InNumbers) {
    const auto words = [](int hundredths) {
        std::string text;
        for (const int word : timeInNumbers(hundredths))
            text += std::string(kNumberNames[static_cast<size_t>(word)]) + " ";
        return text;
    };
    EXPECT_EQ(words(8345), "num_1 num_20 num_3 num_point num_40 num_5 ");
    EXPECT_EQ(words(6105), "num_1 num_oh num_1 num_point num_oh num_5 ");
    EXPECT_EQ(words(6000), "num_1 num_oh num_oh ");
    EXPECT_EQ(words(12), "num_point num_12 ");
    EXPECT_EQ(words(2000), "num_20 ");
    EXPECT_EQ(words(0), "");
    EXPECT_EQ(words(600000), "");
}

} // namespace
} // namespace vt::test
