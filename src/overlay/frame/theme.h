// Colours: the four themes of the Apex styles, the accents of the classic ones, flags.
#pragma once
#include "base/geometry.h"
#include "overlay/settings/app_config.h"

namespace vt {

struct OverlayTheme {
    const char* name = "";
    float cornerRadius = 0;
    Color accent, onAccent, accentBright, accentDark, accentPale, accentFill, accentWash,
        accentTint;
    Color panelTop, panelBottom, panelLine, stripFill, cellFill, text, textDim, accentText;
};
inline constexpr int kThemeCount = 4;

/// Outside 0..3 the first.
const OverlayTheme& overlayTheme(int index);

/// The theme of the draw in progress: set by the tick before a draw, put back after it. Above 3
/// counts as 0. Main thread.
void setDrawTheme(int index);
int drawTheme();
const OverlayTheme& themePalette();
float themeCornerRadius();

/// The theme that applies to a slot: its own, else the program's.
int effectiveTheme(const AppConfig& config, int slot);

/// Accent of the classic looks and of the edit outline; outside 0..5 the first.
Color accentColour(int index);

inline constexpr Color kTextColour{0.95f, 0.96f, 0.97f, 1};
inline constexpr Color kApexPositive{0.176f, 0.816f, 0.431f, 1};
inline constexpr Color kApexNegative{1.0f, 0.42f, 0.357f, 1};

/// Alpha of an alarming element: with `flash` and severity 2 a triangle wave of 1000 ms between
/// 0.55 and 1, else 1.
float alertPulse(int severity, bool flash, uint64_t ms);

/// 0xRRGGBB.
Color colourFromRgb(int rgb);
/// Chip colour of a sim.
Color simChipColour(int sim);

} // namespace vt
