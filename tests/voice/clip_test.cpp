// What users install must sound as recorded, and what is no sound must be refused without harm.
#include "voice/clip.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <numbers>

using namespace vt;
namespace fs = std::filesystem;

namespace {

struct ClipFiles : testing::Test {
    fs::path folder;
    void SetUp() override {
        char name[] = "/tmp/vt_clip_XXXXXX";
        folder = mkdtemp(name);
    }
    void TearDown() override { fs::remove_all(folder); }
    std::string write(const char* name, const std::string& bytes) {
        std::ofstream(folder / name, std::ios::binary) << bytes;
        return (folder / name).string();
    }
};

void put(std::string& out, uint32_t value, int bytes) {
    for (int i = 0; i < bytes; i++)
        out += static_cast<char>(i < 4 ? value >> (8 * i) & 255 : 0);
}

struct WavKind {
    int bits;
    bool isFloat, extensible;
    uint32_t channels, rate;
};

std::string wavHead(const WavKind& kind) {
    std::string out = "RIFF";
    put(out, 0, 4);
    out += "WAVEodd ";
    put(out, 3, 4);
    out += std::string("abc\0", 4);
    out += "fmt ";
    put(out, kind.extensible ? 40 : 16, 4);
    const uint32_t tag = kind.isFloat ? 3 : 1;
    put(out, kind.extensible ? 65534 : tag, 2);
    put(out, kind.channels, 2);
    put(out, kind.rate, 4);
    put(out, 0, 6);
    put(out, static_cast<uint32_t>(kind.bits), 2);
    if (kind.extensible) {
        put(out, 22, 2);
        put(out, 0, 6);
        put(out, tag, 2);
        out += std::string(14, '\0');
    }
    return out + "data";
}

/// Half a second of 1 kHz at 0.5; the right channel is silent.
std::string sineWav(const WavKind& kind) {
    std::string data;
    for (uint32_t i = 0; i < kind.rate / 2; i++)
        for (uint32_t c = 0; c < kind.channels; c++) {
            const double x = c ? 0 : 0.5 * std::sin(2 * std::numbers::pi * 1000 * i / kind.rate);
            const auto sample = static_cast<float>(x);
            uint32_t raw = 0;
            if (kind.isFloat)
                std::memcpy(&raw, &sample, 4);
            else if (kind.bits == 8)
                raw = static_cast<uint32_t>(std::lround(x * 127) + 128);
            else
                raw = static_cast<uint32_t>(std::lround(x * ((1 << (kind.bits - 1)) - 1)));
            put(data, raw, kind.bits / 8);
        }
    std::string out = wavHead(kind);
    put(out, static_cast<uint32_t>(data.size()), 4);
    return out + data;
}

/// Amplitude of one frequency in one channel.
double level(const Clip& clip, uint32_t channel, double frequency, double rate) {
    double re = 0, im = 0;
    for (size_t i = 0; i < clip.frames(); i++) {
        const double at = 2 * std::numbers::pi * frequency * static_cast<double>(i) / rate;
        re += clip.samples[i * clip.channels + channel] * std::cos(at);
        im += clip.samples[i * clip.channels + channel] * std::sin(at);
    }
    return 2 * std::hypot(re, im) / static_cast<double>(clip.frames());
}

TEST_F(ClipFiles, everyKindOfWavKeepsPitchLengthAndLoudness) {
    const WavKind kinds[] = {{8, false, false, 1, 22050}, {16, false, false, 1, 22050},
                             {16, false, true, 2, 44100}, {24, false, false, 2, 96000},
                             {24, false, true, 1, 48000}, {32, true, false, 2, 44100},
                             {32, true, true, 1, 96000}};
    for (const WavKind& kind : kinds) {
        SCOPED_TRACE(testing::Message() << kind.bits << " bit " << kind.channels << " channels "
                                        << kind.rate << " Hz");
        RawClip raw;
        std::string reason;
        ASSERT_TRUE(readWav(write("a.wav", sineWav(kind)), raw, reason)) << reason;
        const Clip clip = convertClip(raw, 48000, 2);
        EXPECT_EQ(clip.channels, kind.channels);
        EXPECT_NEAR(static_cast<double>(clip.frames()), 24000, 1);
        EXPECT_NEAR(level(clip, 0, 1000, 48000), 0.5, 0.01);
        EXPECT_LT(level(clip, 0, 1020, 48000), 0.05);
        if (kind.channels == 2) {
            EXPECT_LT(level(clip, 1, 1000, 48000), 1e-3);
        }
        if (kind.channels == 2) {
            const Clip mean = convertClip(raw, 48000, 6);
            EXPECT_EQ(mean.channels, 1u);
            EXPECT_NEAR(level(mean, 0, 1000, 48000), 0.25, 0.01);
        }
    }
}

TEST_F(ClipFiles, hostileWavsAreRefusedOrTamed) {
    const auto with = [](const WavKind& kind, uint32_t told, const std::string& data) {
        std::string out = wavHead(kind);
        put(out, told, 4);
        return out + data;
    };
    const WavKind plain{16, false, false, 1, 48000};
    const std::string some(400, 'x');
    const std::pair<const char*, std::string> refused[] = {
        {"empty file", ""},
        {"head alone", std::string("RIFF\0\0\0\0WAVE", 12)},
        {"no data", wavHead(plain)},
        {"empty data", with(plain, 0, "")},
        {"less than a frame", with({16, false, false, 8, 48000}, 15, std::string(15, 'x'))},
        {"rate 0", with({16, false, false, 1, 0}, 400, some)},
        {"rate 1", with({16, false, false, 1, 1}, 400, some)},
        {"rate 2^32-1", with({16, false, false, 1, 0xFFFFFFFF}, 400, some)},
        {"no channels", with({16, false, false, 0, 48000}, 400, some)},
        {"9 channels", with({16, false, false, 9, 48000}, 400, some)},
        {"12 bit", with({12, false, false, 1, 48000}, 400, some)},
        {"double", with({64, true, false, 1, 48000}, 400, some)},
        {"too long", with({8, false, false, 1, 48000}, 11'520'001, std::string(11'520'001, 'x'))},
    };
    RawClip raw;
    std::string reason;
    for (const auto& [what, bytes] : refused) {
        EXPECT_FALSE(readWav(write("a.wav", bytes), raw, reason)) << what;
        EXPECT_TRUE(raw.clip.empty() && !reason.empty()) << what;
    }
    ASSERT_TRUE(
        readWav(write("a.wav", with(plain, 0xFFFFFFFF, std::string(401, 'x'))), raw, reason));
    EXPECT_EQ(raw.clip.frames(), 200u) << "a writer to a pipe does not know its length";
    std::string values;
    for (const float x : {std::nanf(""), HUGE_VALF, -1e30f, 1.5f})
        values.append(reinterpret_cast<const char*>(&x), 4);
    ASSERT_TRUE(
        readWav(write("a.wav", with({32, true, false, 1, 48000}, 16, values)), raw, reason));
    EXPECT_EQ(raw.clip.samples, (std::vector<float>{0, 1, -1, 1.5f}));
    raw.rate = 4000;
    raw.clip.samples.assign(kMaxClipSamples, 0.1f);
    EXPECT_TRUE(convertClip(raw, 384'000, 1).empty()) << "four GB";
}

TEST_F(ClipFiles, opusIsPreferredAndMoreThanTwoChannelsFallBack) {
    if (std::system("command -v opusenc >/dev/null") != 0) GTEST_SKIP() << "no opusenc";
    const auto encode = [&](uint32_t channels) {
        write("a.wav", sineWav({16, false, false, channels, 48000}));
        const std::string base = (folder / "a").string();
        return std::system(("opusenc --quiet " + base + ".wav " + base + ".opus").c_str()) == 0;
    };
    const std::string wav = (folder / "a.wav").string();
    RawClip raw;
    std::string reason;
    ASSERT_TRUE(encode(1));
    fs::remove(wav);
    ASSERT_TRUE(readClip(wav, raw, reason)) << reason;
    EXPECT_EQ(raw.rate, 48000u);
    EXPECT_EQ(raw.clip.frames(), 24000u);
    EXPECT_NEAR(level(raw.clip, 0, 1000, 48000), 0.5, 0.03);
    ASSERT_TRUE(encode(4));
    ASSERT_TRUE(readClip(wav, raw, reason));
    EXPECT_EQ(raw.clip.channels, 4u) << "the .wav was taken";
    EXPECT_NE(reason.find("a.opus"), std::string::npos) << "and the log can say why";
    std::ifstream good(folder / "a.opus", std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(good)), {});
    for (size_t cut = 0; cut < bytes.size(); cut += 97)
        readOpus(write("cut.opus", bytes.substr(0, cut)), raw, reason);
}

TEST(Clip, joinsCutIntoTheSilenceOfBothSides) {
    Clip sentence;
    const auto word = [](float x) {
        Clip clip;
        clip.samples.assign(1000, x);
        return clip;
    };
    joinClip(sentence, word(1), 5, 1000);
    ASSERT_EQ(sentence.frames(), 1000u);
    joinClip(sentence, word(2), 0.08, 1000); // 110 frames off either side
    EXPECT_EQ(sentence.frames(), 1780u);
    EXPECT_EQ(sentence.samples[889], 1);
    EXPECT_EQ(sentence.samples[890], 2);
    joinClip(sentence, word(3), 1, 1000);
    EXPECT_EQ(sentence.frames(), 2780u) << "a wide gap cuts nothing";
    Clip stereo;
    stereo.channels = 2;
    stereo.samples.assign(100, 4);
    joinClip(sentence, stereo, 0, 1000); // at most half of a short clip is cut
    EXPECT_EQ(sentence.channels, 2u);
    EXPECT_EQ(sentence.frames(), 2780u - 150 + 25);
}

TEST(Clip, toneHasItsPitchAndEndsSoftly) {
    const Clip tone = makeTone(48000, 1000, 0.14, 0.005, 0.35);
    EXPECT_EQ(tone.frames(), 6720u);
    EXPECT_GT(level(tone, 0, 1000, 48000), 4 * level(tone, 0, 1030, 48000));
    EXPECT_NEAR(*std::max_element(tone.samples.begin(), tone.samples.end()), 0.35, 0.01);
    EXPECT_NEAR(tone.samples.back(), 0, 1e-3);
    EXPECT_TRUE(makeTone(31, 1000, 1, 0.005, 1).empty());
}

} // namespace
