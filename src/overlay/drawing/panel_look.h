// The look of the program's own windows and dialogs: text formats and colours by what they are for.
// Sizes are pixels at 96 dpi times the system's scale. Made at the first paint, dropped with the
// device. Main thread.
#pragma once
#include "platform/canvas.h"
#include "platform/text.h"

#include <array>

namespace vt {

/// Several roles look the same today; each is its own so that one can change without the others.
enum PanelFormat : int {
    kFormatHeading,    // Inter Tight 700, 13
    kFormatCaption,    // JetBrains Mono, 9.5
    kFormatTiny,       // JetBrains Mono, 9
    kFormatValue,      // JetBrains Mono, 12
    kFormatRow,        // Inter Tight 600, 14
    kFormatHint,       // JetBrains Mono, 9.5
    kFormatBadge,      // Inter Tight 600, 10
    kFormatTitle,      // Inter Tight 700 italic, 17
    kFormatUnit,       // JetBrains Mono, 9
    kFormatButton,     // Inter Tight 600, 13
    kFormatStatus,     // JetBrains Mono, 10
    kFormatBody,       // Inter Tight 400, 11
    kFormatAxis,       // JetBrains Mono, 9
    kFormatLargeValue, // JetBrains Mono, 13
    kFormatFootnote,   // JetBrains Mono, 9
    kPanelFormatCount
};

enum PanelBrush : int {
    kBrushBackground,
    kBrushSurface1,
    kBrushSurface2,
    kBrushSurface3,
    kBrushSurface4,
    kBrushTint1, // white at 0.04, 0.07, 0.14, 0.22
    kBrushTint2,
    kBrushTint3,
    kBrushTint4,
    kBrushText, // at 1, 0.78, 0.55, 0.38, 0.22
    kBrushTextSoft,
    kBrushTextDim,
    kBrushTextFaint,
    kBrushTextGhost,
    kBrushGood,
    kBrushPlaceholder,
    kBrushBad,
    kBrushShadow,
    kBrushAccent, // the accent at its four alphas
    kBrushAccentSoft,
    kBrushAccentWash,
    kBrushAccentEdge,
    kPanelBrushCount
};

/// Formats for the present interface language; again after it or the unit changed. `unit` is what
/// one design unit measures on the canvas: dpi / 96, or 1 where the canvas is scaled itself.
void createPanelFormats(float unit);
void releasePanelFormats();
/// Null before `createPanelFormats`.
const TextFormat* panelFormat(PanelFormat role);

/// Accents 0..5, anything else counts as 0. The neutral brushes are made once, the accent's anew
/// whenever another one is asked for.
void createPanelBrushes(int accentIndex);
void releasePanelBrushes();
const Brush* panelBrush(PanelBrush role);

enum class PanelGradient { surface, raised, accent, accentSoft };
/// Vertical, from `top` to `bottom` (client coordinates).
BrushRef panelGradient(PanelGradient kind, float top, float bottom);

} // namespace vt
