// The program's fonts as the text code sees them.
#pragma once
#include <pango/pango.h>

#include <string>

namespace vt {

/// The font map over the shipped and the system's fonts; made at first use. Never null.
PangoFontMap* programFontMap();
/// Is "Noto Sans JP" among the shipped fonts?
bool japaneseFontShipped();
/// The family itself, or what stands in for one that nobody has.
const std::string& presentFamily(const std::string& family);

} // namespace vt
