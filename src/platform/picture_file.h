// PNG and JPEG.
#pragma once
#include "platform/canvas.h"

#include <string>

namespace vt {

/// Straight alpha, written through a temporary file. False when it cannot be written.
bool savePng(const Bitmap& bitmap, const std::string& path);

/// PNG or JPEG, told by content. Null when the file is missing, damaged, or larger than `maxSide`
/// on a side.
BitmapRef loadPicture(const std::string& path, int maxSide = 8192);

} // namespace vt
