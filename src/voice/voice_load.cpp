#include "base/log.h"
#include "platform/file.h"
#include "voice/voice_pack.h"

namespace vt {
namespace {

constexpr size_t kMaxPackSamples = 128'000'000;     // half a GB: no pack of speech is near
constexpr size_t kMaxPackBytes = size_t{256} << 20; // of files kept packed

/// The file of a clip into memory, unread but for its first word. False leaves it to `readClip`,
/// which tells why.
bool keepPacked(PackClip& clip) {
    const std::string opus = clip.file.substr(0, clip.file.size() - 4) + ".opus";
    if (readFile(opus, clip.packed) && clip.packed.starts_with("OggS")) return true;
    if (readFile(clip.file, clip.packed) && clip.packed.starts_with("RIFF")) return true;
    clip.packed.clear();
    return false;
}

/// From the bytes, or with them damaged from what else the pack has under that name.
bool decode(PackClip& clip, RawClip& raw, std::string& reason) {
    const std::string bytes = std::move(clip.packed);
    clip.packed = {};
    if (bytes.starts_with("OggS") && decodeOpus(bytes, raw, reason)) return true;
    if (bytes.starts_with("RIFF") && decodeWav(bytes, raw, reason)) return true;
    return readClip(clip.file, raw, reason);
}

/// `needed`: a missing file is told too.
const Clip* unpack(VoiceClips& clips, PackClip& clip, bool needed) {
    RawClip raw;
    std::string reason;
    if (!decode(clip, raw, reason)) {
        if (!reason.empty()) {
            logStatus("[voice] loadPack: FAILED %s\n", reason.c_str());
        } else if (needed) {
            logStatus("[voice] loadPack: FAILED %s\n", clip.file.c_str());
        }
        return nullptr;
    }
    if (!reason.empty()) logStatus("[voice] loadPack: passed over %s\n", reason.c_str());
    Clip converted = convertClip(raw, clips.rate, clips.channels);
    clips.samples += converted.samples.size();
    if (clips.samples > kMaxPackSamples) {
        logStatus("[voice] loadPack: too much sound, the rest is left out from %s on\n",
                  clip.file.c_str());
        clips.full = true;
        return nullptr;
    }
    if (converted.empty())
        logStatus("[voice] loadPack: FAILED %s: too long at %u Hz\n", clip.file.c_str(),
                  clips.rate);
    clip.clip = std::move(converted);
    return clip.clip.empty() ? nullptr : &clip.clip;
}

struct Loader {
    std::string path; // of the pack, with a slash
    VoiceClips& clips;
    const std::function<bool()>& stop;
    const std::function<void(float)>& progress;
    int files = 0, filesDone = 0;
    size_t packedBytes = 0;
    bool stopped = false;

    bool next(const std::string& name, PackClip& out) {
        out = {};
        stopped = stopped || (stop && stop());
        if (stopped || clips.full) return false;
        if (progress && files) progress(static_cast<float>(filesDone) / static_cast<float>(files));
        filesDone++;
        out.file = path + name;
        return true;
    }

    /// A clip that is heard without any delay.
    bool read(const std::string& name, PackClip& out, bool needed = false) {
        return next(name, out) && unpack(clips, out, needed) != nullptr;
    }

    /// A clip that is decoded when it is first wanted.
    bool keep(const std::string& name, PackClip& out) {
        if (!next(name, out)) return false;
        if (!keepPacked(out)) return unpack(clips, out, false) != nullptr;
        packedBytes += out.packed.size();
        if (packedBytes <= kMaxPackBytes) return true;
        logStatus("[voice] loadPack: too much sound, the rest is left out from %s on\n",
                  out.file.c_str());
        clips.full = true;
        out = {};
        return false;
    }
};

/// A wanted name comes from a settings file: one line of it in the log.
std::string printable(std::string name) {
    for (char& c : name)
        if (static_cast<unsigned char>(c) < 0x20) c = '?';
    return name.substr(0, 80);
}

std::string numbered(std::string_view stem, int number) {
    return std::string(stem) + "_" + std::to_string(number) + ".wav";
}

using Takes = std::array<PackClip, kTakes>;

int keepTakes(Loader& loader, const std::string& stem, Takes& takes) {
    int kept = 0;
    for (int take = 0; take < kTakes; take++)
        kept += loader.keep(numbered(stem, take + 1), takes[static_cast<size_t>(take)]);
    return kept;
}

int loadPhrases(Loader& loader, const std::string& requested, const std::string& used,
                VoiceClips& out) {
    int loaded = 0, extra = 0;
    for (size_t i = 0; i < kPhraseNames.size(); i++) {
        const std::string name(kPhraseNames[i]);
        loaded += loader.read(name + ".wav", out.phrases[i][0], true);
        for (int take = 1; take < kTakes; take++)
            extra +=
                loader.read(numbered(name, take + 1), out.phrases[i][static_cast<size_t>(take)]);
    }
    logStatus("[voice] loadPack: requested \"%s\" -> using \"%s\", %d/%d phrases loaded, %d extra "
              "take(s)\n",
              requested.c_str(), used.c_str(), loaded, kPhrases, extra);
    return loaded + extra;
}

int loadAlerts(Loader& loader, const std::string& used, VoiceClips& out) {
    int cues = 0, clips = 0;
    for (size_t i = 0; i < kAlertNames.size(); i++) {
        if (kAlertNames[i].empty()) continue;
        const std::string name(kAlertNames[i]);
        const int loaded = keepTakes(loader, "alerts/" + name, out.alerts[i]);
        cues += loaded > 0;
        clips += loaded;
        if (loaded == 0 && !loader.stopped)
            logStatus("[voice] loadPack: no alert clips for \"%s\" in pack \"%s\"\n", name.c_str(),
                      used.c_str());
    }
    logStatus("[voice] loadPack: alerts, %d cues / %d clips loaded from \"%s\"\n", cues, clips,
              used.c_str());
    return clips;
}

int loadCoach(Loader& loader, const std::string& used, VoiceClips& out) {
    int lines = 0, clips = 0, places = 0, reminders = 0, numbers = 0, ordinals = 0;
    for (size_t i = 0; i < kCoachLineNames.size(); i++) {
        const int loaded =
            keepTakes(loader, "coach/" + std::string(kCoachLineNames[i]), out.coachLines[i]);
        lines += loaded > 0;
        clips += loaded;
    }
    for (int place = 0; place < kPlaces; place++)
        places += loader.keep(place ? "coach/turn_" + numbered(std::to_string(place), 1)
                                    : "coach/here_1.wav",
                              out.places[static_cast<size_t>(place)]);
    for (size_t i = 0; i < kCoachLineNames.size(); i++)
        reminders += loader.keep("coach/rem_" + numbered(kCoachLineNames[i], 1), out.reminders[i]);
    for (size_t i = 0; i < kNumberNames.size(); i++)
        numbers += loader.keep("coach/" + numbered(kNumberNames[i], 1), out.numbers[i]);
    for (int i = 0; i < kOrdinals; i++)
        ordinals += loader.keep("coach/ord_" + numbered(std::to_string(i + 1), 1),
                                out.ordinals[static_cast<size_t>(i)]);
    logStatus("[voice] loadPack: coach, %d/%d lines (%d clips) + %d/%d places + %d reminders + %d "
              "number clips + %d ordinals loaded from \"%s\"\n",
              lines, kCoachLines, clips, places, kPlaces, reminders, numbers, ordinals,
              used.c_str());
    return clips + places + reminders + numbers + ordinals;
}

} // namespace

const Clip* hear(VoiceClips& clips, PackClip& clip) {
    if (!clip.clip.empty()) return &clip.clip;
    return clip.packed.empty() || clips.full ? nullptr : unpack(clips, clip, false);
}

bool loadPack(const VoiceWanted& wanted, uint32_t deviceRate, uint32_t deviceChannels,
              VoiceClips& out, const std::function<bool()>& stop,
              const std::function<void(float)>& progress) {
    out = {};
    out.rate = deviceRate;
    out.channels = deviceChannels;
    std::string language = wanted.language, pack = wanted.pack;
    if (packPath(language, pack).empty()) {
        if (!pack.empty())
            logStatus("[voice] loadPack: no pack of the wanted name, the default is taken\n");
        pack = defaultPack(language);
        if (pack.empty()) {
            language.clear();
            pack = defaultPack(language);
        }
    }
    const std::string path = packPath(language, pack);
    if (path.empty()) return false;
    Loader loader{path, out, stop, progress};
    loader.files = (wanted.phrases ? kPhrases * kTakes : 0) + (wanted.alerts ? 11 * kTakes : 0) +
                   (wanted.coach ? kCoachLines * (kTakes + 1) + kPlaces + kNumbers + kOrdinals : 0);
    int loaded = 0;
    if (wanted.phrases) loaded += loadPhrases(loader, printable(wanted.pack), pack, out);
    if (wanted.alerts) loaded += loadAlerts(loader, pack, out);
    if (wanted.coach) loaded += loadCoach(loader, pack, out);
    if (loader.stopped) return false;
    if (progress) progress(1);
    return loaded > 0;
}

} // namespace vt
