// Sheets that show everything the drawing layer can do, to be looked at.
#pragma once
#include "platform/canvas.h"

#include <string>

namespace vt::test {

/// Folder of the shipped fonts; empty when they were not fetched.
std::string fontsFolder();

BitmapRef shapesSheet(float dpi);
BitmapRef layersSheet(float dpi);
BitmapRef fontsSheet(float dpi);
BitmapRef textSheet(float dpi);
BitmapRef tableSheet(float dpi);

} // namespace vt::test
