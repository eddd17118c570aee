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

/// One recording. All but the spotter's are kept as their files hold them until first wanted: a
/// quarter of an hour of speech would take seconds and 150 MB to decode, of which a race uses
/// little.
struct PackClip {
    Clip clip;          // empty while packed, and where there is none
    std::string packed; // the bytes of the file; empty once decoded
    std::string file;   // its path, ending in ".wav"; empty where there is none
    bool absent() const { return clip.empty() && packed.empty(); }
};

/// The clips of one pack; sets that are not wanted stay absent.
struct VoiceClips {
    uint32_t rate = 48000, channels = 2; // of the device
    size_t samples = 0;                  // decoded so far
    bool full = false;                   // of decoded sound; what is left stays unheard
    std::array<std::array<PackClip, kTakes>, kPhrases> phrases{};
    std::array<std::array<PackClip, kTakes>, kAlertCues> alerts{};
    std::array<std::array<PackClip, kTakes>, kCoachLines> coachLines{};
    std::array<PackClip, kPlaces> places{}; // 0 = "here", N = "turn N"
    std::array<PackClip, kCoachLines> reminders{};
    std::array<PackClip, kNumbers> numbers{};
    std::array<PackClip, kOrdinals> ordinals{};
};

/// The clip in the device's rate, decoded now when it is not yet (a hundredth of its length or
/// less). Null where there is none; one that is damaged is told in the status log and gone.
const Clip* hear(VoiceClips& clips, PackClip& clip);

struct VoiceWanted {
    std::string language, pack;
    bool phrases = false, alerts = false, coach = false;
};

/// Fills `out` anew: the spotter's phrases decoded, since they must not wait, the others packed. A
/// clip that cannot be read stays absent with one line in the status log. `stop`
/// is asked between files; `progress` gets 0..1. True when any wanted clip was loaded.
bool loadPack(const VoiceWanted& wanted, uint32_t deviceRate, uint32_t deviceChannels,
              VoiceClips& out, const std::function<bool()>& stop,
              const std::function<void(float)>& progress);

} // namespace vt
