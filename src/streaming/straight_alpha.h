// The form of pixels that a browser's canvas takes.
#pragma once
#include <cstddef>
#include <cstdint>

namespace vt {

/// `width` x `height` pixels of premultiplied BGRA, rows `stride` bytes apart, to straight RGBA
/// at `out`, rows `outStride` bytes apart. Each channel becomes min(255, (c * 255 + a / 2) / a);
/// alpha 0 gives 0, 0, 0, 0. No alignment is asked for; what lies between rows is left alone.
void straightRgba(const uint8_t* bgra, int width, int height, int stride, uint8_t* out,
                  int outStride);

} // namespace vt
