#include "voice/voice_engine.h"

#include "base/log.h"
#include "platform/thread_name.h"
#include "voice/voice_choose.h"
#include "voice/voice_mix.h"

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace vt {

struct VoiceThread {
    std::thread thread;
    std::mutex lock; // of the two below; held for a copy or a swap alone
    VoiceSettings wanted;
    AudioSink* sink = nullptr;
    std::condition_variable stirred; // a wait without a device ends
};

namespace {

constexpr int kWaitMs = 2000;
constexpr auto kRetry = std::chrono::seconds(1);
constexpr uint32_t kQuietSeconds =
    2; // of silence that are still written; then the device is left alone

/// The render thread's own.
struct Renderer {
    VoiceEngine& engine;
    VoiceThread& shared;
    const AudioSystem& audio;
    VoicePlayer player{};
    AudioSink* sink = nullptr;
    AudioStreamInfo info{};
    std::vector<uint8_t> buffer{};
    VoiceSettings settings{};
    int32_t handled = -1;
    uint64_t idleFrames = 0;
    std::string lastError{};

    bool stopping() const { return engine.stopFlag != 0; }
    bool reconfigured() const { return engine.configGeneration != handled; }

    void closeDevice() {
        engine.speaking = 0;
        engine.ready = 0;
        player.current = player.second = nullptr;
        if (!sink) return;
        {
            const std::lock_guard guard(shared.lock);
            shared.sink = nullptr;
        }
        audio.close(sink);
        sink = nullptr;
    }

    bool openDevice() {
        std::string error;
        sink = audio.open(audio.user, settings.device, info, error);
        if (!sink) {
            // A machine without sound is told once, not every second.
            if (error != lastError) logStatus("[voice] openDevice: failed: %s\n", error.c_str());
            lastError = error;
            return false;
        }
        lastError.clear();
        const std::lock_guard guard(shared.lock);
        shared.sink = sink;
        logStatus("[voice] openDevice: OK  %u ch @ %u Hz, %u bit %s, buffer %u frames, period %u "
                  "frames\n",
                  info.format.channels, info.format.rate, info.format.bits,
                  info.format.isFloat ? "float" : "int", info.bufferFrames, info.periodFrames);
        return true;
    }

    /// False when there is no device, or something newer is wanted already.
    bool configure() {
        closeDevice();
        const int32_t generation = engine.configGeneration;
        {
            const std::lock_guard guard(shared.lock);
            settings = shared.wanted;
        }
        if (!openDevice()) return false;
        buffer.assign(static_cast<size_t>(info.bufferFrames) * frameBytes(info.format), 0);
        const auto outdated = [&] { return stopping() || engine.configGeneration != generation; };
        engine.loadPercent = 0;
        const VoiceWanted wanted{settings.language, settings.pack, settings.phrases,
                                 settings.alerts, settings.coach};
        const bool any =
            loadPack(wanted, info.format.rate, info.format.channels, player.clips, outdated,
                     [&](float part) { engine.loadPercent = static_cast<uint32_t>(part * 100); });
        if (outdated()) return false;
        engine.loadPercent = 100;
        resetPlayer(player, info.format.rate);
        handled = generation;
        idleFrames = 0;
        engine.ready = any ? 1 : 0;
        return true;
    }

    void waitWithoutDevice() {
        std::unique_lock guard(shared.lock);
        const int32_t generation = engine.configGeneration;
        shared.stirred.wait_for(
            guard, kRetry, [&] { return stopping() || engine.configGeneration != generation; });
    }

    VoiceRequests takeRequests() {
        VoiceRequests taken;
        taken.phrase = engine.phraseWord.exchange(-1);
        taken.alert = engine.alertWord.exchange(-1);
        taken.tip = engine.tipWord.exchange(-1);
        taken.timedTip = engine.timedTipWord.exchange(-1);
        taken.engineer = engine.engineerWord.exchange(-1);
        taken.chime = engine.chimeWord.exchange(-1);
        taken.pulse = engine.pulseFlag.exchange(0) != 0;
        taken.randomTip = engine.randomTipFlag.exchange(0) != 0;
        return taken;
    }

    /// One pass over the device's free room; false when the device is gone.
    bool render() {
        const int64_t room = audio.writable(sink);
        if (room < 0) return false;
        if (room == 0) return true;
        auto frames = static_cast<uint32_t>(std::min<int64_t>(room, info.bufferFrames));
        chooseWhatPlays(player, takeRequests());
        engine.speaking = player.current ? 1 : 0;
        if (!player.current) {
            // One period ahead, so that a new word starts quickly; after a while nothing at all.
            if (idleFrames > static_cast<uint64_t>(info.format.rate) * kQuietSeconds) return true;
            // What a clip left in the buffer drains first.
            const uint32_t ahead = info.bufferFrames - frames;
            if (ahead >= info.periodFrames) return true;
            frames = std::min(frames, info.periodFrames - ahead);
            idleFrames += frames;
            return audio.write(sink, nullptr, frames);
        }
        idleFrames = 0;
        mixClip(*player.current, player.frame, frames, engine.volume, info.format, buffer.data());
        player.frame += frames;
        if (player.frame >= player.current->frames()) {
            player.current = player.second;
            player.second = nullptr;
            player.frame = 0;
            if (!player.current) player.spokenPhrase = false;
        }
        return audio.write(sink, buffer.data(), frames);
    }

    void run() {
        nameThisThread("vt voice");
        while (!stopping()) {
            if ((reconfigured() || !sink) && !configure()) {
                if (!stopping() && !sink) waitWithoutDevice();
                continue;
            }
            const AudioWait ended = audio.wait(sink, kWaitMs);
            if (stopping() || reconfigured()) continue;
            if (ended == AudioWait::timedOut) continue;
            if (ended != AudioWait::lost && render()) continue;
            logStatus("[voice] the device is gone; looked for again every second\n");
            closeDevice();
            waitWithoutDevice();
        }
        closeDevice();
    }
};

void stir(VoiceEngine& engine) {
    if (!engine.thread) return;
    const std::lock_guard guard(engine.thread->lock);
    if (engine.thread->sink) engine.audio->wake(engine.thread->sink);
    engine.thread->stirred.notify_all();
}

bool sameAs(const VoiceEngine& engine, const VoiceSettings& settings) {
    return engine.languageWanted == settings.language && engine.packWanted == settings.pack &&
           engine.deviceWanted == settings.device && engine.wantPhrases == settings.phrases &&
           engine.wantAlerts == settings.alerts && engine.wantCoach == settings.coach;
}

void say(VoiceEngine& engine, std::atomic<int32_t>& word, int32_t value) {
    if (value < 0 || !voiceRunning(engine)) return;
    word = value;
    stir(engine);
}

} // namespace

VoiceEngine::VoiceEngine() : VoiceEngine(machineAudio()) {}
VoiceEngine::VoiceEngine(const AudioSystem& system) : audio(&system) {}
VoiceEngine::~VoiceEngine() {
    voiceStop(*this);
}

void voiceConfigure(VoiceEngine& engine, const VoiceSettings& settings) {
    const double volume =
        std::isfinite(settings.volume) ? static_cast<double>(settings.volume) : 0.5;
    engine.volume = static_cast<uint32_t>(std::clamp(volume, 0.0, 1.0) * 65536 + 0.5);
    const bool changed = !sameAs(engine, settings);
    engine.languageWanted = settings.language;
    engine.packWanted = settings.pack;
    engine.deviceWanted = settings.device;
    engine.wantPhrases = settings.phrases;
    engine.wantAlerts = settings.alerts;
    engine.wantCoach = settings.coach;
    engine.enabled = settings.enabled;
    if (!settings.enabled) return voiceStop(engine);
    const bool running = voiceRunning(engine);
    if (running && !changed) return;
    if (!running) engine.thread = std::make_unique<VoiceThread>();
    {
        const std::lock_guard guard(engine.thread->lock);
        engine.thread->wanted = settings;
        // Raised with the strings in place, so that the thread never loads half of a wish.
        ++engine.configGeneration;
    }
    if (running) return stir(engine);
    engine.stopFlag = 0;
    for (auto* word : {&engine.phraseWord, &engine.alertWord, &engine.tipWord, &engine.timedTipWord,
                       &engine.engineerWord, &engine.chimeWord})
        *word = -1;
    engine.pulseFlag = engine.randomTipFlag = 0;
    engine.thread->thread = std::thread([&engine] {
        Renderer renderer{engine, *engine.thread, *engine.audio};
        renderer.run();
    });
}

void voiceStop(VoiceEngine& engine) {
    if (!engine.thread) return;
    engine.stopFlag = 1;
    stir(engine);
    if (engine.thread->thread.joinable()) engine.thread->thread.join();
    engine.thread.reset();
    engine.speaking = 0;
    engine.ready = 0;
}

bool voiceRunning(const VoiceEngine& engine) {
    return engine.thread != nullptr;
}
bool voiceIsSpeaking(const VoiceEngine& engine) {
    return engine.speaking != 0;
}

void voiceSayPhrase(VoiceEngine& engine, int phrase) {
    if (phrase < kPhrases) say(engine, engine.phraseWord, phrase);
}
void voiceSayAlert(VoiceEngine& engine, int slot) {
    if (slot < kAlertCues) say(engine, engine.alertWord, slot);
}
void voiceSayEngineer(VoiceEngine& engine, int line, int ordinal, int turn) {
    if (engine.wantCoach) say(engine, engine.engineerWord, packEngineer(line, ordinal, turn));
}
void voicePulse(VoiceEngine& engine) {
    if (!voiceRunning(engine)) return;
    engine.pulseFlag = 1;
    stir(engine);
}
void voiceChime(VoiceEngine& engine, bool up) {
    say(engine, engine.chimeWord, up ? 1 : 0);
}
void voiceSayRandomTip(VoiceEngine& engine) {
    if (!voiceRunning(engine)) return;
    engine.randomTipFlag = 1;
    stir(engine);
}

VoiceEngine& coachVoice() {
    static VoiceEngine engine;
    return engine;
}
void coachVoicePlay(int line, int place, bool reminder) {
    VoiceEngine& engine = coachVoice();
    if (engine.wantCoach) say(engine, engine.tipWord, packTip(line, place, reminder));
}
void coachVoicePlayTimed(int line, double seconds) {
    VoiceEngine& engine = coachVoice();
    if (engine.wantCoach) say(engine, engine.timedTipWord, packTimedTip(line, seconds));
}

std::vector<AudioDevice> listDevices() {
    const AudioSystem& audio = machineAudio();
    return audio.devices(audio.user);
}

} // namespace vt
