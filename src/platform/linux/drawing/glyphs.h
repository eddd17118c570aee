// Coverage of single glyphs, kept, so that a text with new digits costs no new outlines.
#pragma once
#include <cairo.h>
#include <pango/pango.h>

namespace vt {

inline constexpr int kGlyphPhases = 4; // steps between two pixels at which glyphs are drawn

/// Adds the line's glyphs to an A8 picture, `originX` quarter pixels from its left edge, the
/// baseline `baseline` pixels from its top. False, and nothing done, when the line has glyphs that
/// cannot be kept (large ones, or those that no font has).
bool addLineGlyphs(cairo_surface_t* mask, PangoLayoutLine* line, int originX, int baseline,
                   double scaleX, double scaleY);
void dropGlyphs();

} // namespace vt
