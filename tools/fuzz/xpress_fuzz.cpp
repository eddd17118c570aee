// Foreign streams must not leave their buffers; our own must come back as they were.
#include "perf/xpress_huffman.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

using namespace vt;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const ByteView bytes(data, size);
    if (size >= 4) {
        std::vector<uint8_t> out(readAt<uint32_t>(bytes, 0) % 200000);
        size_t used = 0;
        xpressDecompress(bytes.subspan(4), out, used);
        if (used > size - 4) abort();
        out.resize(out.size() % 65537);
        xpressDecompressChunk(bytes.subspan(4), out);
    }
    std::string packed;
    xpressCompress(bytes, packed);
    if (packed.size() < xpressLeastBytes(size)) abort();
    std::vector<uint8_t> back(size);
    size_t used = 0;
    const ByteView stream(reinterpret_cast<const uint8_t*>(packed.data()), packed.size());
    if (!xpressDecompress(stream, back, used) || used != packed.size() ||
        !std::equal(back.begin(), back.end(), data))
        abort();
    return 0;
}
