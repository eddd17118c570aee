// The bytes of a `.vttr` file. Little-endian: header, lap table, payload, event block.
//
//   offset size  header (its length: 20 in version 1, 36 in 2 and 3, 40 in 4, 44 in 5, 60 in 6)
//        0    4  "VTTR"
//        4    2  version
//        6    2  flags: bit 0 payload compressed, bit 1 laps carry the lateral channel
//        8    4  bytes of the payload, uncompressed; lapCount x bytes per lap
//       12    2  binCount
//       14    2  channel mask, fixed for each version
//       16    2  lapCount
//       18    2  0
//       20  8+8  origin, latitude and longitude, f64
//       36    4  lateralCalVersion
//       40    4  bytes of the event block
//       44    2  dynamicsMask
//       46    1  latVelocitySource
//       47    1  0
//       48 4x3   airTempAvg, trackTempAvg, wetnessMax, f32, NaN = not known
//
//   lap table entry, 20 bytes (12 before version 6): u32 offset into the payload, f32 lap time,
//   u16 flags (valid, lateral, and from version 5 invalidSim, invalidIncident), u16 0,
//   f32 brakeBias, f32 fuelStart.
//
//   payload: lap after lap, channel after channel of the mask (kTraceChannels), then `have` as
//   bits, lowest first. Compressed as a whole by xpress_huffman.h.
//
//   event block: u16 1, u16 0, u32 binCount, u16 counts (kerbL, kerbR, offEnter, offExit, furl),
//   u16 0, i32 x 4 marks, then the lists: {u16 bin, u16 count}, for offEnter and offExit
//   {u16 bin, u16 count, u16 n of lateral, i16 mean lateral x 100}.
#pragma once
#include "perf/trace_file.h"

#include <string>

namespace vt {

/// The bytes of a version-6 file; empty when the trace cannot be written (see traceWrite).
std::string traceEncode(const TraceFile& trace, bool compress);

/// False, and `out` empty, unless everything but the event block is whole. Memory grows with the
/// size of `bytes`, at most some 700 times, and never beyond 500 MB.
bool traceDecode(ByteView bytes, TraceFile& out);

/// Overwrites the time fields of the lap table in place. False, and nothing changed, unless the
/// file has exactly `times.size()` laps and their table is whole.
bool tracePatchTimes(std::string& bytes, const std::vector<float>& times);

/// Layout of a version; 0 for one that is not known.
uint32_t traceHeaderBytes(int version);
uint32_t traceLapEntryBytes(int version);
uint32_t traceChannelMask(int version);
/// Payload of one lap.
uint32_t traceLapBytes(uint32_t channelMask, uint32_t binCount);

} // namespace vt
