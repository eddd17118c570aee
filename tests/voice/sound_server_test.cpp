// Engines on a real sound server with outputs that nobody hears: what its monitor recorded.
// VT_ONSETS=SECONDS measures how long a request takes to be sound there, that long after the last.
#include "engines.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <sys/wait.h>

namespace vt::test {
namespace {

constexpr float kHeard = 0.003f; // above the coding of the monitor

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

bool run(const std::string& command) {
    return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
}

struct Sound {
    size_t from = 0, frames = 0;
    double seconds() const { return static_cast<double>(frames) / kRate; }
};

/// The stretches of sound between silences of at least `gap` s.
std::vector<Sound> soundsIn(const std::vector<float>& heard, double gap) {
    std::vector<Sound> out;
    const auto enough = static_cast<size_t>(gap * kRate);
    size_t quiet = enough + 1;
    for (size_t i = 0; i < heard.size(); ++i) {
        if (std::abs(heard[i]) < kHeard) {
            ++quiet;
            continue;
        }
        if (quiet > enough) out.push_back({i, 0});
        out.back().frames = i + 1 - out.back().from;
        quiet = 0;
    }
    return out;
}

/// Hz, by the upward crossings of zero.
double pitchOf(const std::vector<float>& heard, size_t from, size_t frames) {
    double first = -1, last = -1;
    int periods = -1;
    for (size_t i = from + 1; i < std::min(from + frames, heard.size()); ++i) {
        if (!(heard[i - 1] < 0 && heard[i] >= 0)) continue;
        last = static_cast<double>(i) - static_cast<double>(heard[i] / (heard[i] - heard[i - 1]));
        if (periods++ < 0) first = last;
    }
    return periods > 0 ? periods * kRate / (last - first) : 0;
}

/// What the monitor of an output gives, from its making on.
struct Recording {
    std::string path;
    Child recorder;

    Recording(const std::string& output, const std::string& file)
        : path(file), recorder({"sh", "-c",
                                "exec parec -d " + output +
                                    ".monitor --rate=48000 --channels=1 --format=float32le "
                                    "--latency-msec=10 > " +
                                    file}) {}
    /// Waits by what was recorded, not by the clock: a busy machine records late.
    void more(double seconds) const {
        std::error_code none;
        const auto size = [&] {
            return std::filesystem::exists(path) ? std::filesystem::file_size(path, none) : 0;
        };
        const auto wanted = size() + static_cast<uintmax_t>(seconds * kRate * 4);
        eventually([&] { return size() >= wanted; });
    }
    std::vector<float> end() {
        recorder.end();
        std::ifstream file(path, std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(file)), {});
        std::vector<float> heard(bytes.size() / 4);
        std::memcpy(heard.data(), bytes.data(), heard.size() * 4);
        std::filesystem::remove(path);
        return heard;
    }
};

struct SoundServer : Engines {
    std::unique_ptr<Child> server;

    /// False where there is none.
    static bool installed() {
        return run("command -v pulseaudio") && run("command -v parec") && run("command -v pactl");
    }
    void SetUp() override {
#ifdef __SANITIZE_THREAD__
        GTEST_SKIP() << "the sound library's own locks are not seen by this sanitizer";
#endif
        if (!installed()) GTEST_SKIP() << "no pulseaudio";
        Engines::SetUp();
        std::filesystem::create_directories(folder + "/run");
        setenv("XDG_RUNTIME_DIR", (folder + "/run").c_str(), 1);
        setenv("PULSE_SERVER", ("unix:" + folder + "/sound").c_str(), 1);
    }
    void TearDown() override {
        server.reset();
        unsetenv("PULSE_SERVER");
        Engines::TearDown();
    }
    void startServer() {
        server = std::make_unique<Child>(std::vector<std::string>{
            "pulseaudio", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no", "-n", "-L",
            "module-native-protocol-unix auth-anonymous=1 socket=" + folder + "/sound"});
        if (!eventually([] { return run("pactl info"); }))
            GTEST_SKIP() << "the sound server does not start here";
    }
    static void plug(const std::string& output, const std::string& more = "rate=48000") {
        EXPECT_TRUE(run("pactl load-module module-null-sink sink_name=" + output + " " + more));
    }
    static void unplug(const std::string& output) {
        EXPECT_TRUE(run("pactl unload-module $(pactl list short modules | grep sink_name=" +
                        output + " | cut -f1)"));
    }
    /// True when a phrase is heard at that output; many tries, a busy machine loses sound.
    bool heardAt(const std::string& output, VoiceEngine& engine, int waitMs = 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(waitMs));
        for (int attempt = 0; attempt < 20; ++attempt) {
            Recording recording(output, folder + "/heard.raw");
            recording.more(0.1);
            voiceSayPhrase(engine, 0);
            recording.more(0.45);
            for (const Sound& sound : soundsIn(recording.end(), 0.1))
                if (sound.seconds() > 0.2) return true;
        }
        return false;
    }
};

/// A stretch of sound, and the pitch at moments within it.
struct Wanted {
    struct Pitch {
        double at, hz; // s from its beginning
    };
    double seconds;
    std::vector<Pitch> pitches;
};

std::string faultsOf(const std::vector<float>& heard, const Wanted& wanted) {
    const std::vector<Sound> sounds = soundsIn(heard, 0.1);
    if (sounds.size() != 1) return std::to_string(sounds.size()) + " sounds";
    std::string faults;
    if (std::abs(sounds[0].seconds() - wanted.seconds) > 0.008)
        faults = std::to_string(sounds[0].seconds()) + " s of " + std::to_string(wanted.seconds);
    for (const Wanted::Pitch& pitch : wanted.pitches) {
        const size_t from = sounds[0].from + static_cast<size_t>(pitch.at * kRate);
        const double hz = pitchOf(heard, from, 1900);
        if (std::abs(hz - pitch.hz) > pitch.hz * 0.005)
            faults += " " + std::to_string(hz) + " Hz instead of " + std::to_string(pitch.hz);
    }
    return faults;
}

/// What was wrong with the best of many tries: a busy machine loses sound.
std::string faultsOfBest(const std::string& file, const Wanted& wanted,
                         const std::function<void()>& play, int tries) {
    std::string faults = "not tried";
    for (int i = 0; i < tries && !faults.empty(); ++i) {
        Recording recording("vt_null", file);
        recording.more(0.15);
        play();
        recording.more(wanted.seconds + 0.3);
        faults = faultsOf(recording.end(), wanted);
    }
    return faults;
}

TEST_F(SoundServer, HearsEverySoundAsLongAndAsHighAsItIs) {
    startServer();
    if (IsSkipped()) return;
    plug("vt_null");
    VoiceEngine engine;
    voiceConfigure(engine, wanted());
    waitReady(engine);
    struct Case {
        const char* what;
        Wanted wanted;
        std::function<void()> say;
    };
    // The tones' ends are so soft that some milliseconds are below what counts as heard. A joint
    // takes 0.05 s from each side.
    const Case cases[] = {
        {"phrase", {0.3, {{0.01, 500}}}, [&] { voiceSayPhrase(engine, 0); }},
        {"alert", {0.3, {{0.01, 900}}}, [&] { voiceSayAlert(engine, 5); }},
        {"turn, line and position",
         {1.0, {{0.01, 1700}, {0.5, 1300}, {0.85, 1500}}},
         [&] { voiceSayEngineer(engine, 111, 3, 2); }},
        {"place and line",
         {0.8, {{0.01, 1700}, {0.6, 1100}}},
         [&] { engine.tipWord = packTip(0, 2, false), voicePulse(engine); }},
        {"pulse", {0.128, {{0.01, 1000}}}, [&] { voicePulse(engine); }},
        {"chime up", {0.115, {{0.01, 880}, {0.07, 1174.66}}}, [&] { voiceChime(engine, true); }},
        {"chime down", {0.108, {{0.01, 440}}}, [&] { voiceChime(engine, false); }},
    };
    const std::string file = folder + "/heard.raw", tone = folder + "/tone.wav";
    writeTone(tone, 700, 0.3);
    for (const Case& c : cases) {
        const std::string faults = faultsOfBest(file, c.wanted, c.say, 15);
        if (faults.empty()) continue;
        // Does anybody's sound come through here?
        const auto play = [&] { run("paplay -d vt_null --latency-msec=20 " + tone); };
        const std::string others = faultsOfBest(file, {0.3, {{0.01, 700}}}, play, 3);
        if (!others.empty()) GTEST_SKIP() << "too busy a machine for sound: " << others;
        ADD_FAILURE() << c.what << ": " << faults;
    }
}

TEST_F(SoundServer, OutputsThatGoChangeAndComeBackAreUsed) {
    VoiceEngine engine;
    voiceConfigure(engine, wanted());
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_FALSE(engine.ready) << "no server yet";
    startServer();
    if (IsSkipped()) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    EXPECT_FALSE(engine.ready) << "a server without an output";
    plug("vt_one", "rate=44100 channels=1 format=s16le");
    ASSERT_TRUE(eventually([&] { return engine.ready != 0; }));
    ASSERT_EQ(listDevices().size(), 1u);
    EXPECT_EQ(listDevices()[0].id, "vt_one");
    EXPECT_TRUE(heardAt("vt_one", engine));
    // Who asked for the default output gets the new one.
    plug("vt_two", "rate=96000 channels=6 format=s32le");
    EXPECT_TRUE(run("pactl set-default-sink vt_two"));
    EXPECT_TRUE(heardAt("vt_two", engine));
    // Gone: the one that is left.
    unplug("vt_two");
    EXPECT_TRUE(eventually([&] { return engine.ready != 0; }));
    EXPECT_TRUE(heardAt("vt_one", engine));
    // Gone, and nothing left; then it is back.
    unplug("vt_one");
    EXPECT_TRUE(eventually([&] { return engine.ready == 0; }));
    plug("vt_one");
    ASSERT_TRUE(eventually([&] { return engine.ready != 0; }));
    EXPECT_TRUE(heardAt("vt_one", engine));
    // An output by its name, three engines more at once. The default follows the server's, they do
    // not.
    plug("vt_two", "rate=22050 format=s24le");
    std::vector<std::unique_ptr<VoiceEngine>> engines;
    VoiceSettings settings = wanted();
    settings.device = "vt_two";
    for (int i = 0; i < 3; ++i) {
        engines.push_back(std::make_unique<VoiceEngine>());
        voiceConfigure(*engines.back(), settings);
    }
    for (const auto& each : engines)
        waitReady(*each);
    EXPECT_TRUE(run("pactl set-default-sink vt_one"));
    for (const auto& each : engines)
        EXPECT_TRUE(heardAt("vt_two", *each));
    EXPECT_TRUE(heardAt("vt_one", engine));
    // Theirs goes: the default serves. It is back: so are they.
    unplug("vt_two");
    EXPECT_TRUE(heardAt("vt_one", *engines[0], 1500));
    plug("vt_two");
    EXPECT_TRUE(heardAt("vt_two", *engines[0], 1500));
    // The server goes while all run.
    server.reset();
    EXPECT_TRUE(eventually([&] { return engine.ready == 0; }));
    for (const auto& each : engines)
        EXPECT_TRUE(eventually([&] { return each->ready == 0; }));
}

/// ms from the request until the server's monitor gave the first sample, once per request.
std::vector<double> onsetsOf(VoiceEngine& engine, int requests, double pauseSeconds) {
    std::vector<double> out;
    std::FILE* in = popen("exec parec -d vt_null.monitor --rate=48000 --channels=1 "
                          "--format=float32le --latency-msec=5",
                          "r");
    if (!in) return out;
    using Clock = std::chrono::steady_clock;
    std::vector<float> block(240);
    const auto begun = Clock::now();
    auto asked = begun;
    double nextAt = 0.5;
    bool waiting = false;
    while (static_cast<int>(out.size()) < requests &&
           fread(block.data(), sizeof(float), block.size(), in) == block.size()) {
        const auto now = Clock::now();
        const double at = std::chrono::duration<double>(now - begun).count();
        const bool loud =
            std::any_of(block.begin(), block.end(), [](float x) { return std::abs(x) > kHeard; });
        if (waiting && loud) {
            out.push_back(std::chrono::duration<double, std::milli>(now - asked).count());
            waiting = false;
            nextAt =
                at + std::max(pauseSeconds, 0.6) + 0.0037 * static_cast<double>(out.size() % 10);
        } else if (!waiting && at > nextAt) {
            asked = Clock::now();
            voiceSayPhrase(engine, 0);
            waiting = true;
        }
    }
    pclose(in);
    std::sort(out.begin(), out.end());
    return out;
}

TEST_F(SoundServer, OnsetIsMeasured) {
    const char* pauses = std::getenv("VT_ONSETS");
    if (!pauses) GTEST_SKIP() << "VT_ONSETS=0.6 measures";
    startServer();
    if (IsSkipped()) return;
    plug("vt_null");
    VoiceEngine engine;
    voiceConfigure(engine, wanted());
    waitReady(engine);
    const std::vector<double> times = onsetsOf(engine, 40, std::atof(pauses));
    ASSERT_EQ(times.size(), 40u);
    std::printf("from the request to the recorded sound: median %.1f ms, p90 %.1f, worst %.1f\n",
                times[20], times[36], times[39]);
    EXPECT_LT(times[20], 100);
}

} // namespace
} // namespace vt::test
