#include "telemetry/ibt/ibt_file.h"

#include "base/utf8.h"

#include <algorithm>
#include <cstring>

namespace vt {

namespace {

constexpr size_t kLapCountOffset = 136; // in the disk header behind the common one
constexpr size_t kBothHeaders = 144;
constexpr int32_t kMaxText = 16 << 20; // a session text of a full grid has 60 KB
constexpr size_t kBlockBytes = 256 << 10;
constexpr int64_t kSettleNs = 3'000'000'000; // a file that changed within this is being written
constexpr int64_t kClockNs = 1'000'000'000;  // callers' clocks may count whole seconds

bool readHead(const RandomFile& file, IbtHeader& out) {
    out = {};
    out.fileSize = file.size();
    out.modifiedNs = file.modifiedNs();
    uint8_t head[kBothHeaders];
    const size_t length = static_cast<size_t>(std::min<uint64_t>(out.fileSize, sizeof head));
    int32_t textOffset = 0, textLength = 0;
    if (!file.readAt(0, head, length) ||
        !ibtParseHeader({head, length}, out.fileSize, out, textOffset, textLength))
        return false;
    std::string text(static_cast<size_t>(textLength), '\0');
    if (!file.readAt(static_cast<uint64_t>(textOffset), text.data(), text.size())) return false;
    text.resize(strnlen(text.data(), text.size()));
    out.sessionText = foreignToUtf8(text);
    return true;
}

} // namespace

bool ibtParseHeader(ByteView bytes, uint64_t fileSize, IbtHeader& out, int32_t& textOffset,
                    int32_t& textLength) {
    if (bytes.size() < sizeof(IrHeader)) return false;
    const auto h = readAt<IrHeader>(bytes, 0);
    const auto inside = [fileSize](int32_t offset, uint64_t count, uint64_t size) {
        return offset >= 0 && rangeInside(static_cast<uint64_t>(offset), count, size, fileSize);
    };
    constexpr auto headerSize = static_cast<int32_t>(sizeof(IrHeader));
    if (h.sessionInfoLen < 0 || h.sessionInfoLen > kMaxText ||
        !inside(h.sessionInfoOffset, 1, static_cast<uint64_t>(h.sessionInfoLen)))
        return false;
    if (h.numVars < 0 || h.numVars > kIrMaxVars || h.varHeaderOffset < headerSize ||
        !inside(h.varHeaderOffset, static_cast<uint64_t>(h.numVars), sizeof(IrVarHeader)))
        return false;
    if (h.numBuf < 1 || h.numBuf > kIrMaxBuffers || h.bufLen < 1) return false;
    const int32_t data = h.varBuf[0].bufOffset;
    if (data < headerSize || !inside(data, 0, 0)) return false;
    const uint64_t samples =
        (fileSize - static_cast<uint64_t>(data)) / static_cast<uint64_t>(h.bufLen);
    if (samples > INT32_MAX) return false;
    out.tickRate = h.tickRate;
    out.numVars = h.numVars;
    out.varHeaderOffset = h.varHeaderOffset;
    out.bufLen = h.bufLen;
    out.dataOffset = data;
    out.sampleCount = static_cast<int32_t>(samples);
    out.sessionLapCount =
        bytes.size() >= kBothHeaders ? readAt<int32_t>(bytes, kLapCountOffset) : -1;
    textOffset = h.sessionInfoOffset;
    textLength = h.sessionInfoLen;
    return true;
}

bool ibtReadHeader(const std::string& path, IbtHeader& out) {
    RandomFile file;
    return file.open(path) && readHead(file, out);
}

bool IbtFile::open(const std::string& path) {
    close();
    std::vector<uint8_t> table;
    if (file_.open(path) && readHead(file_, header_)) {
        table.resize(static_cast<size_t>(header_.numVars) * sizeof(IrVarHeader));
        if (file_.readAt(static_cast<uint64_t>(header_.varHeaderOffset), table.data(),
                         table.size())) {
            vars_.build(table, header_.numVars, header_.bufLen);
            return true;
        }
    }
    close();
    return false;
}

void IbtFile::close() {
    file_.close();
    header_ = {};
    vars_.clear();
    block_.clear();
    blockFirst_ = blockCount_ = 0;
    damaged_ = false;
}

IrSample IbtFile::sample(int32_t index) {
    if (index < 0 || index >= header_.sampleCount || damaged_) return {vars_, {}};
    const auto length = static_cast<size_t>(header_.bufLen);
    if (index < blockFirst_ || index >= blockFirst_ + blockCount_) {
        const auto most = static_cast<int32_t>(std::max<size_t>(kBlockBytes / length, 1));
        blockFirst_ = index;
        blockCount_ = std::min(most, header_.sampleCount - index);
        block_.resize(static_cast<size_t>(blockCount_) * length);
        const uint64_t at = static_cast<uint64_t>(header_.dataOffset) +
                            static_cast<uint64_t>(index) * static_cast<uint64_t>(length);
        if (!file_.readAt(at, block_.data(), block_.size())) {
            damaged_ = true;
            blockCount_ = 0;
            return {vars_, {}};
        }
    }
    const size_t at = static_cast<size_t>(index - blockFirst_) * length;
    return {vars_, ByteView(block_).subspan(at, length)};
}

IrSample IbtFile::probe(int32_t index) {
    if (index < 0 || index >= header_.sampleCount || damaged_) return {vars_, {}};
    if (index >= blockFirst_ && index < blockFirst_ + blockCount_) return sample(index);
    single_.resize(static_cast<size_t>(header_.bufLen));
    const uint64_t at = static_cast<uint64_t>(header_.dataOffset) +
                        static_cast<uint64_t>(index) * static_cast<uint64_t>(header_.bufLen);
    if (!file_.readAt(at, single_.data(), single_.size())) {
        damaged_ = true;
        return {vars_, {}};
    }
    return {vars_, ByteView(single_)};
}

bool IbtFile::changed() const {
    return file_.size() != header_.fileSize || file_.modifiedNs() != header_.modifiedNs;
}

bool IbtFile::busy(int64_t nowUnixNs) const {
    const int64_t age = nowUnixNs - file_.modifiedNs();
    return file_.beingWritten() || (age > -kClockNs && age < kSettleNs);
}

} // namespace vt
