// Where voice packs lie and what they hold. A pack is a folder of clips below
// `<root>/<two letters>/<pack>/` (or `<root>/<pack>/` without a language). Names come from settings
// and folders that users fill: a name with a separator or ".." is no pack.
#pragma once
#include "voice/clip.h"
#include "voice/voice_names.h"

#include <array>
#include <functional>
#include <string>
#include <vector>

namespace vt {

/// `data/spotter/` beside the program, with a slash at the end.
std::string voiceRoot();
void setVoiceRoot(const std::string& folder); // tests and tools; before any engine runs

std::vector<std::string> listLanguages();                        // two-letter folders with a pack
std::vector<std::string> listPacks(const std::string& language); // sorted
std::string resolveLanguage(const std::string& setting, const std::string& appLanguage);
std::string defaultPack(const std::string& language);
std::string packPath(const std::string& language,
                     const std::string& pack); // with a slash; "" = no pack
bool packHasCoach(const std::string& language, const std::string& pack);
std::string languageLabel(const std::string& code);

/// The clips of one pack in the device's rate; sets that are not wanted stay empty.
struct VoiceClips {
    std::array<std::array<Clip, kTakes>, kPhrases> phrases{};
    std::array<std::array<Clip, kTakes>, kAlertCues> alerts{};
    std::array<std::array<Clip, kTakes>, kCoachLines> coachLines{};
    std::array<Clip, kPlaces> places{}; // 0 = "here", N = "turn N"
    std::array<Clip, kCoachLines> reminders{};
    std::array<Clip, kNumbers> numbers{};
    std::array<Clip, kOrdinals> ordinals{};
};

struct VoiceWanted {
    std::string language, pack;
    bool phrases = false, alerts = false, coach = false;
};

/// Fills `out` anew. A clip that cannot be read stays empty with one line in the status log. `stop`
/// is asked between files; `progress` gets 0..1. True when any wanted clip was loaded.
bool loadPack(const VoiceWanted& wanted, uint32_t deviceRate, uint32_t deviceChannels,
              VoiceClips& out, const std::function<bool()>& stop,
              const std::function<void(float)>& progress);

} // namespace vt
