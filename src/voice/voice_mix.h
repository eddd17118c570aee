// From a clip to the bytes that a device takes. The render thread's own; allocates nothing.
#pragma once
#include "platform/audio_sink.h"
#include "voice/clip.h"

#include <cstdint>

namespace vt {

uint32_t frameBytes(const AudioFormat& format);

/// `frames` frames from `from` on into `out`, silence past the clip's end; a mono clip goes to
/// every channel. `volume` is 16.16.
void mixClip(const Clip& clip, size_t from, uint32_t frames, uint32_t volume,
             const AudioFormat& format, uint8_t* out);

} // namespace vt
