#include "voice/voice_choose.h"

#include "base/log.h"
#include "telemetry/coach_log.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace vt {

namespace {

constexpr int kOh = 27, kPoint = 28, kTurn = 29; // number clips
constexpr int kPlacesSaid = 100;                 // turns up to 99 can be said
constexpr int kThreeWide = 2, kThreeWideLeft = 9, kThreeWideRight = 10; // phrases
constexpr double kTight = 0.08, kPair = 0.015, kApart = 0.2;            // s between joined clips

uint32_t nextRandom(VoicePlayer& player) {
    if (player.rng == 0) {
        const auto ms = static_cast<uint32_t>(std::chrono::steady_clock::now().time_since_epoch() /
                                              std::chrono::milliseconds(1));
        player.rng = ms ^ static_cast<uint32_t>(reinterpret_cast<uintptr_t>(&player));
        if (player.rng == 0) player.rng = 0x9E3779B9;
    }
    uint32_t x = player.rng;
    x ^= x << 13;
    x ^= x >> 17;
    x ^= x << 5;
    return player.rng = x;
}

using Takes = std::array<PackClip, kTakes>;

/// Not the last one, unless there is no other. `last` is kept.
const Clip* pickTake(VoicePlayer& player, Takes& takes, int& last) {
    for (;;) { // a take that turns out to be damaged is absent from then on
        std::array<int, kTakes> others{};
        size_t count = 0;
        for (int i = 0; i < kTakes; ++i)
            if (!takes[static_cast<size_t>(i)].absent() && i != last) others[count++] = i;
        if (count == 0) break;
        const int take = others[nextRandom(player) % count];
        if (const Clip* clip = hear(player.clips, takes[static_cast<size_t>(take)])) {
            last = take;
            return clip;
        }
        takes[static_cast<size_t>(take)] = {};
    }
    return last < 0 ? nullptr : hear(player.clips, takes[static_cast<size_t>(last)]);
}

void play(VoicePlayer& player, const Clip* clip, bool phrase = false) {
    player.current = clip;
    player.frame = 0;
    player.second = nullptr;
    player.spokenPhrase = phrase;
}

const Clip* pickPhrase(VoicePlayer& player, int phrase) {
    const auto at = static_cast<size_t>(phrase);
    const Clip* clip = pickTake(player, player.clips.phrases[at], player.lastPhraseTake[at]);
    if (!clip && (phrase == kThreeWideLeft || phrase == kThreeWideRight))
        return pickPhrase(player, kThreeWide);
    return clip;
}

const Clip* pickLine(VoicePlayer& player, int line) {
    const auto at = static_cast<size_t>(line);
    return pickTake(player, player.clips.coachLines[at], player.lastLineTake[at]);
}

/// Appends the words of 1..99.
void addNumber(int value, std::vector<int>& out) {
    if (value < 20) {
        out.push_back(value - 1);
        return;
    }
    out.push_back(19 + value / 10 - 2);
    if (value % 10) out.push_back(value % 10 - 1);
}

/// "turn 47" from numbers; false when a word is missing.
bool composeTurn(VoicePlayer& player, int turn) {
    std::vector<int> words{kTurn};
    addNumber(turn, words);
    player.composed = {};
    for (const int word : words) {
        const Clip* clip = hear(player.clips, player.clips.numbers[static_cast<size_t>(word)]);
        if (!clip) return false;
        joinClip(player.composed, *clip, kTight, player.rate);
    }
    return true;
}

/// The place in front of a sentence, -1 = none; a composed one lies in `composed`.
const Clip* placeClip(VoicePlayer& player, int place) {
    if (place < 0 || place >= kPlacesSaid) return nullptr;
    if (place < kPlaces) return hear(player.clips, player.clips.places[static_cast<size_t>(place)]);
    return composeTurn(player, place) ? &player.composed : nullptr;
}

void sayEngineer(VoicePlayer& player, int32_t word) {
    const int line = word & 0xFF, ordinal = (word >> 8) & 0xFF, turn = ((word >> 16) & 0xFF) - 1;
    if (line >= kCoachLines) return;
    if (player.current) {
        coachLog("engineer NOT HEARD: voice line %d dropped by the voice, something else was still "
                 "speaking",
                 line);
        return;
    }
    const Clip* clip = pickLine(player, line);
    if (!clip) {
        coachLog("engineer NOT HEARD: voice line %d has no recording in this voice pack", line);
        return;
    }
    const Clip* position = nullptr;
    if (ordinal >= 1 && ordinal <= kOrdinals) {
        position = hear(player.clips, player.clips.ordinals[static_cast<size_t>(ordinal - 1)]);
        if (!position) {
            coachLog("engineer NOT HEARD: voice line %d needs the position word %d, which this "
                     "voice pack lacks",
                     line, ordinal);
            return;
        }
    }
    const Clip* place = placeClip(player, turn);
    Clip sentence;
    if (place) joinClip(sentence, *place, kTight, player.rate);
    joinClip(sentence, *clip, kApart, player.rate);
    if (position) joinClip(sentence, *position, kApart, player.rate);
    player.composed = std::move(sentence);
    play(player, &player.composed);
}

void sayTip(VoicePlayer& player, int32_t word) {
    const int line = word & 0xFF, place = ((word >> 8) & 0xFF) - 1;
    if (player.current || line >= kCoachLines) return;
    const Clip* reminder =
        word >> 16 & 1 ? hear(player.clips, player.clips.reminders[static_cast<size_t>(line)])
                       : nullptr;
    const Clip* clip = reminder ? reminder : pickLine(player, line);
    if (!clip) return;
    const Clip* first = placeClip(player, place);
    play(player, first ? first : clip);
    if (first) player.second = clip;
    logStatus("[voice] play tip %d (take %d)%s place %d: %zu frames%s\n", line,
              player.lastLineTake[static_cast<size_t>(line)], first ? " (place first)" : "", place,
              clip->frames(), reminder ? " (reminder)" : "");
}

bool isPairSecond(const std::vector<int>& words, size_t at) {
    if (at == 0) return false;
    const bool tens = words[at - 1] >= 19 && words[at - 1] <= 26, oh = words[at - 1] == kOh;
    return (tens && words[at] < 9) || (oh && (words[at] < 9 || words[at] == kOh));
}

void sayTimedTip(VoicePlayer& player, int32_t word) {
    const int line = word & 0xFF;
    if (player.current || line >= kCoachLines) return;
    const Clip* clip = pickLine(player, line);
    if (!clip) return;
    const std::vector<int> words = timeInNumbers(word >> 8);
    std::vector<const Clip*> spoken;
    for (const int at : words)
        spoken.push_back(hear(player.clips, player.clips.numbers[static_cast<size_t>(at)]));
    const bool complete = std::find(spoken.begin(), spoken.end(), nullptr) == spoken.end();
    Clip sentence;
    joinClip(sentence, *clip, kTight, player.rate);
    for (size_t i = 0; complete && i < spoken.size(); ++i)
        joinClip(sentence, *spoken[i],
                 i == 0                   ? kApart
                 : isPairSecond(words, i) ? kPair
                                          : kTight,
                 player.rate);
    player.composed = std::move(sentence);
    play(player, &player.composed);
}

bool takesRandomPlace(int line) {
    return line <= 12 || (line >= 16 && line <= 18) || (line >= 20 && line <= 26) || line == 29 ||
           (line >= 133 && line <= 137);
}

int32_t randomTip(VoicePlayer& player) {
    std::array<int, kCoachLines> lines{};
    size_t count = 0;
    for (int line = 0; line < kCoachLines; ++line) {
        if (line == 19 || line == 110 || line == 111 || line == 119 || line == 131) continue;
        const Takes& takes = player.clips.coachLines[static_cast<size_t>(line)];
        if (std::any_of(takes.begin(), takes.end(), [](const PackClip& c) { return !c.absent(); }))
            lines[count++] = line;
    }
    if (count == 0) return -1;
    const int line = lines[nextRandom(player) % count];
    const int place = takesRandomPlace(line) ? static_cast<int>(2 + nextRandom(player) % 99) : -1;
    return packTip(line, place, false);
}

void playChime(VoicePlayer& player, bool up) {
    const Clip& chime = up ? player.chimeUp : player.chimeDown;
    if (player.current || chime.empty()) return;
    play(player, &chime);
    if (player.chimeTold) return;
    player.chimeTold = true;
    logStatus("[voice] play result chime (%s): %zu frames (logged once per device open)\n",
              up ? "up" : "down", chime.frames());
}

} // namespace

int32_t packTip(int line, int place, bool reminder) {
    if (line < 0 || line >= kCoachLines) return -1;
    const int at = place >= 0 && place < kPlacesSaid ? place + 1 : 0;
    return line | at << 8 | (reminder ? 1 << 16 : 0);
}

int32_t packTimedTip(int line, double seconds) {
    if (line < 0 || line >= kCoachLines) return -1;
    const double hundredths = std::floor(seconds * 100 + 0.5);
    const bool fits = hundredths >= 0 && hundredths <= 0x7FFFFF;
    return line | (fits ? static_cast<int32_t>(hundredths) << 8 : 0);
}

int32_t packEngineer(int line, int ordinal, int turn) {
    if (line < 0 || line >= kCoachLines || ordinal > kOrdinals) return -1;
    const int at = turn >= 0 && turn < kPlacesSaid ? turn + 1 : 0;
    return line | std::max(ordinal, 0) << 8 | at << 16;
}

void resetPlayer(VoicePlayer& player, uint32_t rate) {
    player.rate = rate;
    player.lastPhraseTake.fill(-1);
    player.lastAlertTake.fill(-1);
    player.lastLineTake.fill(-1);
    player.composed = {};
    play(player, nullptr);
    player.chimeTold = false;
    player.pulse = makeTone(rate, 1000, 0.14, 0.005, 0.35);
    player.chimeUp = makeTone(rate, 880, 0.06, 0.005, 0.32);
    const Clip higher = makeTone(rate, 1174.66, 0.06, 0.005, 0.32);
    player.chimeUp.samples.insert(player.chimeUp.samples.end(), higher.samples.begin(),
                                  higher.samples.end());
    player.chimeDown = makeTone(rate, 440, 0.12, 0.005, 0.25);
}

void chooseWhatPlays(VoicePlayer& player, const VoiceRequests& requests) {
    if (requests.phrase >= 0 && requests.phrase < kPhrases) {
        if (const Clip* clip = pickPhrase(player, requests.phrase)) play(player, clip, true);
    } else if (requests.alert >= 0 && requests.alert < kAlertCues) {
        if (player.current && player.spokenPhrase) return;
        const auto at = static_cast<size_t>(requests.alert);
        if (const Clip* clip = pickTake(player, player.clips.alerts[at], player.lastAlertTake[at]))
            play(player, clip);
    } else if (requests.engineer >= 0) {
        sayEngineer(player, requests.engineer);
    } else if (requests.tip >= 0 || requests.randomTip) {
        const int32_t tip = requests.tip >= 0 ? requests.tip : randomTip(player);
        if (tip >= 0) sayTip(player, tip);
    } else if (requests.timedTip >= 0) {
        sayTimedTip(player, requests.timedTip);
    } else if (requests.pulse) {
        if (!player.current && !player.pulse.empty()) play(player, &player.pulse);
    } else if (requests.chime >= 0) {
        playChime(player, requests.chime == 1);
    }
}

std::vector<int> timeInNumbers(int hundredths) {
    std::vector<int> words;
    const int minutes = hundredths / 6000, seconds = hundredths / 100 - minutes * 60;
    const int rest = hundredths % 100;
    if (hundredths <= 0 || minutes > 99) return words;
    if (minutes > 0) addNumber(minutes, words);
    if (minutes > 0 && seconds < 10) {
        words.push_back(kOh);
        words.push_back(seconds == 0 ? kOh : seconds - 1);
    } else if (seconds > 0) {
        addNumber(seconds, words);
    }
    if (rest == 0) return words;
    words.push_back(kPoint);
    if (rest < 10) words.push_back(kOh);
    addNumber(rest, words);
    return words;
}

} // namespace vt
