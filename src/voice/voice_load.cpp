#include "base/log.h"
#include "voice/voice_pack.h"

namespace vt {
namespace {

constexpr size_t kMaxPackSamples = 128'000'000; // half a GB: no pack of speech is near

struct Loader {
    std::string path; // of the pack, with a slash
    uint32_t rate, channels;
    const std::function<bool()>& stop;
    const std::function<void(float)>& progress;
    int files = 0, filesDone = 0;
    size_t samples = 0;
    bool stopped = false, full = false;

    /// `needed`: a missing file is told too.
    bool read(const std::string& name, Clip& out, bool needed = false) {
        out = {};
        stopped = stopped || (stop && stop());
        if (stopped || full) return false;
        if (progress && files) progress(static_cast<float>(filesDone) / static_cast<float>(files));
        filesDone++;
        RawClip raw;
        std::string reason;
        const std::string file = path + name;
        const bool good = readClip(file, raw, reason);
        if (!good) {
            if (!reason.empty()) {
                logStatus("[voice] loadPack: FAILED %s\n", reason.c_str());
            } else if (needed) {
                logStatus("[voice] loadPack: FAILED %s\n", file.c_str());
            }
            return false;
        }
        if (!reason.empty()) logStatus("[voice] loadPack: passed over %s\n", reason.c_str());
        out = convertClip(raw, rate, channels);
        samples += out.samples.size();
        if (samples > kMaxPackSamples) {
            logStatus("[voice] loadPack: too much sound in \"%s\", the rest is left out\n",
                      path.c_str());
            full = true;
            out = {};
        } else if (out.empty()) {
            logStatus("[voice] loadPack: FAILED %s: too long at %u Hz\n", file.c_str(), rate);
        }
        return !out.empty();
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

int loadTakes(Loader& loader, const std::string& stem, std::array<Clip, kTakes>& takes) {
    int loaded = 0;
    for (int take = 0; take < kTakes; take++)
        loaded += loader.read(numbered(stem, take + 1), takes[static_cast<size_t>(take)]);
    return loaded;
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
        const int loaded = loadTakes(loader, "alerts/" + name, out.alerts[i]);
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
            loadTakes(loader, "coach/" + std::string(kCoachLineNames[i]), out.coachLines[i]);
        lines += loaded > 0;
        clips += loaded;
    }
    for (int place = 0; place < kPlaces; place++)
        places += loader.read(place ? "coach/turn_" + numbered(std::to_string(place), 1)
                                    : "coach/here_1.wav",
                              out.places[static_cast<size_t>(place)]);
    for (size_t i = 0; i < kCoachLineNames.size(); i++)
        reminders += loader.read("coach/rem_" + numbered(kCoachLineNames[i], 1), out.reminders[i]);
    for (size_t i = 0; i < kNumberNames.size(); i++)
        numbers += loader.read("coach/" + numbered(kNumberNames[i], 1), out.numbers[i]);
    for (int i = 0; i < kOrdinals; i++)
        ordinals += loader.read("coach/ord_" + numbered(std::to_string(i + 1), 1),
                                out.ordinals[static_cast<size_t>(i)]);
    logStatus("[voice] loadPack: coach, %d/%d lines (%d clips) + %d/%d places + %d reminders + %d "
              "number clips + %d ordinals loaded from \"%s\"\n",
              lines, kCoachLines, clips, places, kPlaces, reminders, numbers, ordinals,
              used.c_str());
    return clips + places + reminders + numbers + ordinals;
}

} // namespace

bool loadPack(const VoiceWanted& wanted, uint32_t deviceRate, uint32_t deviceChannels,
              VoiceClips& out, const std::function<bool()>& stop,
              const std::function<void(float)>& progress) {
    out = {};
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
    Loader loader{path, deviceRate, deviceChannels, stop, progress};
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
