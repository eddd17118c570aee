// Speaks: one render thread, clips of one pack, atomic words that hold the newest wish. Callers
// never wait and nothing is queued; the thread decides at its next wake-up what plays. Four
// instances exist (spotter, alerts, coach, test of the panel); all functions below are for the main
// thread.
#pragma once
#include "platform/audio_sink.h"
#include "platform/clock.h"
#include "voice/voice_pack.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace vt {

struct VoiceThread; // the render thread's own: clips, device, what plays

struct VoiceEngine {
    VoiceEngine();
    explicit VoiceEngine(const AudioSystem& audio); // tests: another system of sound
    ~VoiceEngine();                                 // stops
    VoiceEngine(const VoiceEngine&) = delete;
    VoiceEngine& operator=(const VoiceEngine&) = delete;

    // main thread only
    bool enabled = false;
    std::string languageWanted, deviceWanted, packWanted;
    bool wantPhrases = false, wantAlerts = false, wantCoach = false;

    // written by the main thread, taken by the render thread
    std::atomic<int32_t> configGeneration{0};
    std::atomic<uint32_t> volume{32768}; // 16.16
    std::atomic<int32_t> phraseWord{-1}, alertWord{-1}, tipWord{-1}, timedTipWord{-1};
    std::atomic<int32_t> engineerWord{-1}, chimeWord{-1};
    std::atomic<uint32_t> pulseFlag{0}, randomTipFlag{0}, stopFlag{0};

    // written by the render thread
    std::atomic<uint32_t> speaking{0};
    std::atomic<uint32_t> ready{0};       // a device is open and at least one clip is loaded
    std::atomic<uint32_t> loadPercent{0}; // of the pack being loaded, 100 = done

    const AudioSystem* audio = nullptr;
    std::unique_ptr<VoiceThread> thread; // null: not running
};

struct VoiceSettings {
    bool enabled = false;
    std::string language, pack; // language: a folder's two letters or ""
    float volume = 0.5f;        // 0..1
    bool phrases = false, alerts = false, coach = false;
    std::string device; // "" = the system's default
};
/// Starts, changes or stops. A change of pack, language, device or sets reloads on the render
/// thread.
void voiceConfigure(VoiceEngine& engine, const VoiceSettings& settings);
void voiceStop(VoiceEngine& engine); // waits for the thread; it looks up at least every 50 ms
bool voiceRunning(const VoiceEngine& engine);
bool voiceIsSpeaking(const VoiceEngine& engine);

void voiceSayPhrase(VoiceEngine& engine, int phrase);
void voiceSayAlert(VoiceEngine& engine, int slot);
void voiceSayEngineer(VoiceEngine& engine, int line, int ordinal, int turn);
void voicePulse(VoiceEngine& engine);
void voiceChime(VoiceEngine& engine, bool up);
void voiceSayRandomTip(VoiceEngine& engine);

/// The coach's engine, made at first use; the one place that the whole program shares.
VoiceEngine& coachVoice();
void coachVoicePlay(int line, int place, bool reminder);
void coachVoicePlayTimed(int line, double seconds);

/// Devices of the machine for the pages.
std::vector<AudioDevice> listDevices();

} // namespace vt
