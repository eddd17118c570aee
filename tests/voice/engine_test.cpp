// Engines on a device that keeps what it is given, and one on a real sound server.
#include "voice/voice_choose.h"
#include "voice/voice_engine.h"

#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace vt {
namespace {

constexpr uint32_t kRate = 48000;

/// How much of `hz` is in a stretch of samples, as an amplitude.
double levelOf(const std::vector<float>& samples, size_t from, size_t count, size_t step,
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

void writeTone(const std::string& path, double hz, double seconds) {
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
        for (int i = 0; i < 5000 && !engine.ready; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        ASSERT_TRUE(engine.ready);
    }
    /// The device takes that many periods, each as soon as the engine has done its part.
    void periods(int count) {
        for (int i = 0; i < count; ++i) {
            ASSERT_TRUE(settleOffline(audio, 2000));
            stepOffline(audio);
        }
        ASSERT_TRUE(settleOffline(audio, 2000));
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

/// A program of its own that ends with the test.
struct Child {
    pid_t pid = -1;
    explicit Child(std::vector<std::string> words) {
        pid = fork();
        if (pid != 0) return;
        std::vector<char*> arguments;
        for (std::string& word : words)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        if (!freopen("/dev/null", "w", stderr)) _exit(1);
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
    void end() {
        if (pid <= 0) return;
        kill(pid, SIGTERM);
        waitpid(pid, nullptr, 0);
        pid = -1;
    }
    ~Child() { end(); }
};

/// What the server's monitor gave while a pulse and a chime were asked for.
std::vector<float> recordPulseAndChime(VoiceEngine& engine, const std::string& raw) {
    std::filesystem::remove(raw);
    Child recorder({"sh", "-c",
                    "exec parec -d vt_null.monitor --rate=48000 --channels=1 --format=float32le "
                    "--latency-msec=20 > " +
                        raw});
    // By what was recorded, not by the clock: a busy machine records late.
    const auto recordMore = [&](double seconds) {
        std::error_code none;
        const auto size = [&] {
            return std::filesystem::exists(raw) ? std::filesystem::file_size(raw, none) : 0;
        };
        const auto wanted = size() + static_cast<uintmax_t>(seconds * kRate * 4);
        for (int i = 0; i < 8000 && size() < wanted; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    };
    recordMore(0.3);
    voicePulse(engine);
    recordMore(0.6);
    voiceChime(engine, true);
    recordMore(0.6);
    recorder.end();
    std::ifstream file(raw, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), {});
    std::vector<float> heard(bytes.size() / 4);
    std::memcpy(heard.data(), bytes.data(), heard.size() * 4);
    return heard;
}

/// Where sound begins after a tenth of a second of silence.
std::vector<size_t> onsets(const std::vector<float>& heard) {
    std::vector<size_t> starts;
    for (size_t i = 0, quiet = kRate; i < heard.size(); ++i) {
        if (std::abs(heard[i]) < 0.003f) {
            ++quiet;
            continue;
        }
        if (quiet > kRate / 10) starts.push_back(i);
        quiet = 0;
    }
    return starts;
}

TEST_F(Engines, ARealServerHearsIt) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the sound library's own locks are not seen by this sanitizer";
#endif
    if (std::system("command -v pulseaudio parec >/dev/null 2>&1") != 0 ||
        std::system("command -v parec >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "no pulseaudio";
    const std::string socket = folder + "/sound", raw = folder + "/heard.raw";
    std::filesystem::create_directories(folder + "/run");
    setenv("XDG_RUNTIME_DIR", (folder + "/run").c_str(), 1);
    setenv("PULSE_SERVER", ("unix:" + socket).c_str(), 1);
    VoiceEngine engine;
    voiceConfigure(engine, wanted());
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_FALSE(engine.ready) << "no server yet";
    Child server({"pulseaudio", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no", "-n",
                  "-L", "module-native-protocol-unix auth-anonymous=1 socket=" + socket, "-L",
                  "module-null-sink sink_name=vt_null rate=48000"});
    for (int i = 0; i < 8000 && !engine.ready; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    if (!engine.ready) GTEST_SKIP() << "the sound server does not start here";
    const std::vector<AudioDevice> devices = listDevices();
    ASSERT_EQ(devices.size(), 1u);
    EXPECT_EQ(devices[0].id, "vt_null");
    // A machine that is busy loses stretches of sound now and then: three tries.
    std::vector<size_t> starts;
    std::vector<float> heard;
    for (int attempt = 0; attempt < 3 && starts.size() != 2; ++attempt) {
        heard = recordPulseAndChime(engine, raw);
        starts = onsets(heard);
    }
    ASSERT_EQ(starts.size(), 2u) << heard.size();
    EXPECT_GT(levelOf(heard, starts[0] + 480, 4800, 1, 1000), 0.06);
    EXPECT_GT(levelOf(heard, starts[1] + 200, 2400, 1, 880), 0.05);
    EXPECT_GT(levelOf(heard, starts[1] + 2880, 2400, 1, 1174.66), 0.05);
    // The server goes while the engine runs.
    server.end();
    for (int i = 0; i < 3000 && engine.ready; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_FALSE(engine.ready);
    voiceStop(engine);
    unsetenv("PULSE_SERVER");
}

} // namespace
} // namespace vt
