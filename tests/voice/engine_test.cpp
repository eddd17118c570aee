// Engines on a device that keeps what it is given.
#include "engines.h"
#include "race/spotter_calls.h"
#include "telemetry/sim_registry.h"

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

/// A call from the frame that shows the car until its first sample: held for 50 ms, then in the
/// device's next period. Ticks and periods of 10 ms, each beginning with the tick.
TEST_F(Engines, ACallIsSoundFiftyMillisecondsAndAPeriodAfterTheFrame) {
    VoiceEngine engine(system);
    voiceConfigure(engine, wanted());
    waitReady(engine);
    SimFrame frame;
    frame.connected = 1;
    frame.simKind = kSimLmu;
    frame.trackLength = 5000;
    frame.speed = 50;
    frame.playerCarIdx = 0;
    frame.cars.resize(2);
    frame.cars[0] = {.carIdx = 0, .lapDistPct = 0, .pathLateral = 1};
    frame.cars[1] = {.carIdx = 1, .lapDistPct = 0.5f, .pathLateral = -2};
    SpotterCalls calls;
    const SpotterRules rules{.repeatMs = 0};
    uint64_t now = 1000;
    size_t shown = 0;
    for (int tick = 0; tick < 40; ++tick, now += 10) {
        if (tick == 20) {
            shown = frames();
            frame.cars[1].lapDistPct = 0;
        }
        const int phrase = spotterCallsTick(calls, rules, &frame, engine.ready != 0, now);
        if (phrase >= 0) voiceSayPhrase(engine, phrase);
        periods(1);
    }
    const int start = onset(shown);
    ASSERT_GE(start, 0);
    const int late = start - static_cast<int>(shown); // samples; a tone begins with silence
    EXPECT_GE(late, 2400);
    EXPECT_LE(late, 2400 + 480 + 8);
}

TEST(VoiceChoice, OneWishAPassInTheOrderOfTheirWeight) {
    enum Sound { kNone, kPhrase, kThreeWide, kAlert, kTip, kReminder, kPlace, kLine, kSentence };
    constexpr size_t kFrames[] = {0, 101, 103, 105, 200, 250, 302, 211};
    VoicePlayer player;
    const auto put = [&](PackClip& clip, Sound sound) {
        clip.clip.samples.assign(kFrames[sound], 0.1f);
    };
    put(player.clips.phrases[0][0], kPhrase);
    put(player.clips.phrases[2][0], kThreeWide);
    put(player.clips.alerts[5][0], kAlert);
    put(player.clips.coachLines[0][0], kTip);
    put(player.clips.reminders[0], kReminder);
    put(player.clips.places[2], kPlace);
    put(player.clips.coachLines[111][0], kLine);
    resetPlayer(player, 48000);
    const int32_t tip = packTip(0, -1, false), engineer = packEngineer(111, 0, -1);
    const VoiceRequests phrase{.phrase = 0}, alert{.alert = 5}, tips{.tip = tip};
    const VoiceRequests lines{.engineer = engineer}, pulse{.pulse = true}, chime{.chime = 0};
    const VoiceRequests timed{.timedTip = packTimedTip(0, 0)};
    const size_t pulseFrames = player.pulse.frames(), chimeFrames = player.chimeDown.frames();
    struct Case {
        const char* what;
        VoiceRequests playing, asked;
        size_t heard, then = 0; // frames of the clip, and of the one behind it
    };
    const VoiceRequests nothing;
    const Case cases[] = {
        {"fallback", nothing, {.phrase = 9}, kFrames[kThreeWide]},
        {"and the other", nothing, {.phrase = 10}, kFrames[kThreeWide]},
        {"no clip", nothing, {.phrase = 5}, 0},
        {"no cue", nothing, {.alert = 6}, 0},
        {"reminder", nothing, {.tip = packTip(0, -1, true)}, kFrames[kReminder]},
        {"place", nothing, {.tip = packTip(0, 2, false)}, kFrames[kPlace], kFrames[kTip]},
        {"place without clip", nothing, {.tip = packTip(0, 3, false)}, kFrames[kTip]},
        {"line", nothing, lines, kFrames[kLine]},
        {"no position word", nothing, {.engineer = packEngineer(111, 4, -1)}, 0},
        {"time without numbers", nothing, {.timedTip = packTimedTip(0, 83.45)}, kFrames[kTip]},
        {"phrase over phrase", phrase, {.phrase = 2}, kFrames[kThreeWide]},
        {"no clip leaves it", phrase, {.phrase = 5}, kFrames[kPhrase]},
        {"alert under phrase", phrase, alert, kFrames[kPhrase]},
        {"engineer under phrase", phrase, lines, kFrames[kPhrase]},
        {"phrase over alert", alert, phrase, kFrames[kPhrase]},
        {"tip under alert", alert, tips, kFrames[kAlert]},
        {"alert over tip", tips, alert, kFrames[kAlert]},
        {"phrase over both halves", {.tip = packTip(0, 2, false)}, phrase, kFrames[kPhrase]},
        {"engineer under tip", tips, lines, kFrames[kTip]},
        {"tip under engineer", lines, tips, kFrames[kLine]},
        {"time under tip", lines, timed, kFrames[kLine]},
        {"pulse under tip", tips, pulse, kFrames[kTip]},
        {"chime under pulse", pulse, chime, pulseFrames},
        {"chime", nothing, chime, chimeFrames},
        {"all", nothing, {0, 5, 0, tip, tip, engineer, true, true}, kFrames[kPhrase]},
        {"all but", nothing, {-1, 5, 0, tip, tip, engineer, true, true}, kFrames[kAlert]},
        {"but", nothing, {-1, -1, 0, tip, tip, engineer, true, true}, kFrames[kLine]},
        {"tips", nothing, {-1, -1, 0, tip, timed.timedTip, -1, true, false}, kFrames[kTip]},
        {"tones", nothing, {-1, -1, 0, -1, -1, -1, true, false}, pulseFrames},
        // A wish that counts but has no sound takes the others with it.
        {"lost", nothing, {5, 5, 0, tip, tip, engineer, true, true}, 0},
    };
    for (const Case& c : cases) {
        resetPlayer(player, 48000);
        chooseWhatPlays(player, c.playing);
        chooseWhatPlays(player, c.asked);
        EXPECT_EQ(player.current ? player.current->frames() : 0, c.heard) << c.what;
        EXPECT_EQ(player.second ? player.second->frames() : 0, c.then) << c.what;
    }
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
    EXPECT_TRUE(eventually([&] { return !engine.ready; }, 1));
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
    EXPECT_TRUE(eventually([&] {
        const std::lock_guard guard(audio.mutex);
        return audio.opened.back() == "elsewhere";
    }));
    audio.available = false;
    EXPECT_TRUE(eventually([&] {
        voiceConfigure(engine, other);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        const auto before = std::chrono::steady_clock::now();
        voiceStop(engine);
        return std::chrono::steady_clock::now() - before < std::chrono::milliseconds(500);
    })) << "the end waits out the second between two looks for a device";
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
            ASSERT_TRUE(settleOffline(devices[i], kPatienceMs));
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
