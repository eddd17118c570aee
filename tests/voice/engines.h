// Engines on a device that keeps what it is given, with a pack of tones.
#pragma once
#include "support/eventually.h"
#include "voice/voice_choose.h"
#include "voice/voice_engine.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>
#include <unistd.h>

namespace vt::test {

inline constexpr uint32_t kRate = 48000;

/// How much of `hz` is in a stretch of samples, as an amplitude.
inline double levelOf(const std::vector<float>& samples, size_t from, size_t count, size_t step,
                      double hz) {
    double re = 0, im = 0;
    for (size_t i = 0; i < count; ++i) {
        const double phase = 2 * M_PI * hz * static_cast<double>(i) / kRate;
        const auto value = static_cast<double>(samples[(from + i) * step]);
        re += value * std::cos(phase);
        im += value * std::sin(phase);
    }
    return 2 * std::hypot(re, im) / static_cast<double>(count);
}

inline void writeTone(const std::string& path, double hz, double seconds) {
    const auto frames = static_cast<uint32_t>(seconds * kRate);
    std::string bytes = "RIFF....WAVEfmt ";
    const auto put = [&](uint32_t value, int size) {
        for (int i = 0; i < size; ++i)
            bytes.push_back(static_cast<char>(value >> (8 * i)));
    };
    put(16, 4);
    put(1, 2);
    put(1, 2);
    put(kRate, 4);
    put(kRate * 2, 4);
    put(2, 2);
    put(16, 2);
    bytes += "data";
    put(frames * 2, 4);
    for (uint32_t i = 0; i < frames; ++i)
        put(static_cast<uint16_t>(
                static_cast<int16_t>(16000 * std::sin(2 * M_PI * hz * i / kRate))),
            2);
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

struct Engines : testing::Test {
    std::string folder =
        std::filesystem::temp_directory_path() / ("vt_voice_" + std::to_string(getpid()));
    std::string pack = folder + "/en/Tones/";
    OfflineAudio audio;
    AudioSystem system = offlineAudio(audio);

    void SetUp() override {
        setVoiceRoot(folder);
        writeTone(pack + "car_left.wav", 500, 0.3);
        writeTone(pack + "three_wide.wav", 700, 0.3);
        writeTone(pack + "alerts/blue_flag_1.wav", 900, 0.3);
        writeTone(pack + "coach/brake_later_1.wav", 1100, 0.4);
        writeTone(pack + "coach/eng_running_1.wav", 1300, 0.4);
        writeTone(pack + "coach/ord_3_1.wav", 1500, 0.4);
        writeTone(pack + "coach/turn_2_1.wav", 1700, 0.4);
    }
    void TearDown() override {
        setVoiceRoot("");
        std::filesystem::remove_all(folder);
    }
    VoiceSettings wanted() const { return {true, "en", "Tones", 0.5f, true, true, true, ""}; }
    void waitReady(const VoiceEngine& engine) const {
        ASSERT_TRUE(eventually([&] { return engine.ready != 0; }, 1));
    }
    /// The device takes that many periods, each as soon as the engine has done its part.
    void periods(int count) {
        for (int i = 0; i < count; ++i) {
            ASSERT_TRUE(settleOffline(audio, kPatienceMs));
            stepOffline(audio);
        }
        ASSERT_TRUE(settleOffline(audio, kPatienceMs));
    }
    /// The first frame from `from` on that is not silent, -1 = none.
    int onset(size_t from) {
        const std::lock_guard guard(audio.mutex);
        for (size_t i = from; i < audio.played.size() / 2; ++i)
            if (std::abs(audio.played[i * 2]) > 0.002f) return static_cast<int>(i);
        return -1;
    }
    double level(size_t from, double hz) {
        const std::lock_guard guard(audio.mutex);
        return from + 4800 > audio.played.size() / 2 ? -1
                                                     : levelOf(audio.played, from, 4800, 2, hz);
    }
    size_t frames() {
        const std::lock_guard guard(audio.mutex);
        return audio.played.size() / 2;
    }
};

} // namespace vt::test
