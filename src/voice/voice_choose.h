// What an engine says next: requests in, a clip out. No thread, no device; the render thread's own.
#pragma once
#include "voice/voice_pack.h"

#include <array>
#include <cstdint>
#include <vector>

namespace vt {

/// The words of one wake-up; those that are not chosen are lost. -1 = none.
struct VoiceRequests {
    int phrase = -1, alert = -1, chime = -1;
    int32_t tip = -1, timedTip = -1, engineer = -1; // packed, see below
    bool pulse = false, randomTip = false;
};

/// Bits 0-7 the line, 8-15 place + 1 (0 = none), 16 the reminder's form.
int32_t packTip(int line, int place, bool reminder);
/// Bits 0-7 the line, above it hundredths of a second.
int32_t packTimedTip(int line, double seconds);
/// Bits 0-7 the line, 8-15 the position word 1..40 (0 = none), 16-23 turn + 1 (0 = none).
int32_t packEngineer(int line, int ordinal, int turn);

struct VoicePlayer {
    VoiceClips clips{};
    Clip composed{}, pulse{}, chimeUp{}, chimeDown{};
    uint32_t rate = 48000;
    std::array<int, kPhrases> lastPhraseTake{};
    std::array<int, kAlertCues> lastAlertTake{};
    std::array<int, kCoachLines> lastLineTake{};
    uint32_t rng = 0;              // 0 = not seeded
    const Clip* current = nullptr; // into the clips above
    size_t frame = 0;              // of `current`, the next to be heard
    const Clip* second = nullptr;  // follows on the next pass
    bool spokenPhrase = false;     // `current` is the spotter's
    bool chimeTold = false;        // in the log, once a device
};

/// New clips are in place: nothing plays, no take was the last one; builds the tones.
void resetPlayer(VoicePlayer& player, uint32_t rate);

/// One branch runs: phrase, alert, engineer, tip, timed tip, pulse, chime.
void chooseWhatPlays(VoicePlayer& player, const VoiceRequests& requests);

/// Indexes of number clips that say `hundredths` of a second; empty when it cannot be said.
std::vector<int> timeInNumbers(int hundredths);

} // namespace vt
