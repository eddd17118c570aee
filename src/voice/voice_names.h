// The words a voice pack holds, by index: file names without ".wav". Tables only.
#pragma once
#include <array>
#include <cstddef>
#include <string_view>

namespace vt {

inline constexpr int kPhrases = 11, kAlertCues = 16, kCoachLines = 151, kTakes = 5;
inline constexpr int kPlaces = 41, kNumbers = 30, kOrdinals = 40;

extern const std::array<std::string_view, kPhrases> kPhraseNames;       // car_left ...
extern const std::array<std::string_view, kAlertCues> kAlertNames;      // empty = no such cue
extern const std::array<std::string_view, kCoachLines> kCoachLineNames; // brake_later ...
extern const std::array<std::string_view, kNumbers> kNumberNames;       // num_1 ... num_turn

} // namespace vt
