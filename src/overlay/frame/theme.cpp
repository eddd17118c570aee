#include "overlay/frame/theme.h"

#include "telemetry/sim_registry.h"

#include <iterator>

namespace vt {

namespace {

constexpr OverlayTheme kThemes[kThemeCount] = {
    {.name = "Apex Red",
     .cornerRadius = 0,
     .accent = {1, 0.176f, 0.102f, 1},
     .onAccent = {1, 1, 1, 1},
     .accentBright = {1, 0.176f, 0.102f, 1},
     .accentDark = {0.769f, 0.059f, 0, 1},
     .accentPale = {1, 0.769f, 0.741f, 1},
     .accentFill = {1, 0.176f, 0.102f, 0.22f},
     .accentWash = {1, 0.176f, 0.102f, 0.04f},
     .accentTint = {1, 0.176f, 0.102f, 0.16f},
     .panelTop = {0.102f, 0.129f, 0.188f, 1},
     .panelBottom = {0.078f, 0.098f, 0.149f, 1},
     .panelLine = {0.29f, 0.329f, 0.408f, 1},
     .stripFill = {0.078f, 0.098f, 0.149f, 1},
     .cellFill = {0.141f, 0.18f, 0.259f, 1},
     .text = {0.765f, 0.792f, 0.839f, 1},
     .textDim = {0.561f, 0.592f, 0.651f, 1},
     .accentText = {1, 0.42f, 0.357f, 1}},
    {.name = "Carbon",
     .cornerRadius = 0,
     .accent = {1, 0.176f, 0.102f, 1},
     .onAccent = {1, 1, 1, 1},
     .accentBright = {1, 0.176f, 0.102f, 1},
     .accentDark = {0.769f, 0.059f, 0, 1},
     .accentPale = {1, 0.769f, 0.741f, 1},
     .accentFill = {1, 0.176f, 0.102f, 0.22f},
     .accentWash = {1, 0.176f, 0.102f, 0.04f},
     .accentTint = {1, 0.176f, 0.102f, 0.16f},
     .panelTop = {0.09f, 0.098f, 0.11f, 1},
     .panelBottom = {0.063f, 0.071f, 0.078f, 1},
     .panelLine = {0.192f, 0.208f, 0.227f, 1},
     .stripFill = {0.055f, 0.063f, 0.075f, 1},
     .cellFill = {0.118f, 0.129f, 0.149f, 1},
     .text = {0.776f, 0.792f, 0.808f, 1},
     .textDim = {0.541f, 0.561f, 0.584f, 1},
     .accentText = {1, 0.42f, 0.357f, 1}},
    {.name = "Graphite",
     .cornerRadius = 10,
     .accent = {0.227f, 0.875f, 0.486f, 1},
     .onAccent = {0.024f, 0.141f, 0.071f, 1},
     .accentBright = {0.278f, 0.922f, 0.541f, 1},
     .accentDark = {0.173f, 0.612f, 0.337f, 1},
     .accentPale = {0.722f, 0.961f, 0.812f, 1},
     .accentFill = {0.227f, 0.875f, 0.486f, 0.16f},
     .accentWash = {0.227f, 0.875f, 0.486f, 0.03f},
     .accentTint = {0.227f, 0.875f, 0.486f, 0.12f},
     .panelTop = {0.078f, 0.09f, 0.082f, 1},
     .panelBottom = {0.051f, 0.059f, 0.055f, 1},
     .panelLine = {0.173f, 0.196f, 0.176f, 1},
     .stripFill = {0.043f, 0.051f, 0.047f, 1},
     .cellFill = {0.137f, 0.157f, 0.137f, 1},
     .text = {0.761f, 0.792f, 0.769f, 1},
     .textDim = {0.545f, 0.58f, 0.557f, 1},
     .accentText = {0.482f, 0.949f, 0.675f, 1}},
    {.name = "Smoked Glass",
     .cornerRadius = 14,
     .accent = {0.302f, 0.608f, 1, 1},
     .onAccent = {1, 1, 1, 1},
     .accentBright = {0.435f, 0.69f, 1, 1},
     .accentDark = {0.184f, 0.435f, 0.839f, 1},
     .accentPale = {0.812f, 0.894f, 1, 1},
     .accentFill = {0.302f, 0.608f, 1, 0.24f},
     .accentWash = {0.302f, 0.608f, 1, 0.04f},
     .accentTint = {0.302f, 0.608f, 1, 0.14f},
     .panelTop = {0.094f, 0.133f, 0.204f, 0.66f},
     .panelBottom = {0.039f, 0.063f, 0.11f, 0.58f},
     .panelLine = {0.624f, 0.78f, 1, 0.18f},
     .stripFill = {0.031f, 0.047f, 0.078f, 0.5f},
     .cellFill = {1, 1, 1, 0.07f},
     .text = {0.749f, 0.808f, 0.886f, 1},
     .textDim = {0.561f, 0.627f, 0.722f, 1},
     .accentText = {0.549f, 0.761f, 1, 1}},
};

constexpr Color kAccents[] = {
    {1.0f, 0.29f, 0.29f, 1},  {0.769f, 0.353f, 0.62f, 1}, {1.0f, 0.784f, 0, 1},
    {0.29f, 0.612f, 1.0f, 1}, {0.184f, 0.82f, 0.415f, 1}, {0.91f, 0.929f, 0.953f, 1},
};

constexpr int colorRef(int r, int g, int b) {
    return r | g << 8 | b << 16;
}

// As 0xBBGGRR, in the order of `SimKind`.
constexpr int kSimChips[kSimCount] = {
    4886745, 14242639, 6076508,  14715452, 0xC060C0, 3978152, 14263361,
    9075929, 5224665,  14696538, 13072957, 4161497,  7311272, 6269023,
};
constexpr int kUnknownSimChip = colorRef(143, 151, 166);

int themeInUse = 0;

int knownTheme(int index) {
    return index >= 0 && index < kThemeCount ? index : 0;
}

float channel(int packed, int shift) {
    return static_cast<float>(packed >> shift & 0xFF) / 255.0f;
}

} // namespace

const OverlayTheme& overlayTheme(int index) {
    return kThemes[knownTheme(index)];
}

void setDrawTheme(int index) {
    themeInUse = knownTheme(index);
}

int drawTheme() {
    return themeInUse;
}

const OverlayTheme& themePalette() {
    return kThemes[themeInUse];
}

float themeCornerRadius() {
    return kThemes[themeInUse].cornerRadius;
}

int effectiveTheme(const AppConfig& config, int slot) {
    const int own = slot >= 0 && slot < kSlotCount
                        ? config.overlayThemeOverride[static_cast<size_t>(slot)]
                        : -1;
    return knownTheme(own >= 0 ? own : config.overlayThemeV2);
}

Color accentColour(int index) {
    return kAccents[index >= 0 && index < static_cast<int>(std::size(kAccents)) ? index : 0];
}

float alertPulse(int severity, bool flash, uint64_t ms) {
    if (!flash || severity != 2) return 1;
    const float t = static_cast<float>(ms % 1000) / 1000.0f;
    const float wave = t < 0.5f ? 2 * t : 2 - 2 * t;
    return 0.55f + 0.45f * wave;
}

Color colourFromRgb(int rgb) {
    return {channel(rgb, 16), channel(rgb, 8), channel(rgb, 0), 1};
}

Color simChipColour(int sim) {
    const int chip = sim >= 0 && sim < kSimCount ? kSimChips[sim] : kUnknownSimChip;
    return {channel(chip, 0), channel(chip, 8), channel(chip, 16), 1};
}

} // namespace vt
