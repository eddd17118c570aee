// iRacing's telemetry files (`.ibt`): the live mapping's header and variable table, the session
// text, then one record after the other, 60 a second.
#pragma once
#include "platform/random_file.h"
#include "telemetry/readers/iracing_vars.h"

#include <string>
#include <vector>

namespace vt {

/// What `ibtReadHeader` takes from the file's beginning.
struct IbtHeader {
    int32_t tickRate = 0;
    int32_t numVars = 0, varHeaderOffset = 0;
    int32_t bufLen = 0;     // bytes of one sample
    int32_t dataOffset = 0; // of the first sample
    int32_t sampleCount = 0;
    int32_t sessionLapCount = -1; // from the disk header; -1 = none
    uint64_t fileSize = 0;
    int64_t modifiedNs = 0;  // since 1970
    std::string sessionText; // valid UTF-8
};

/// An open file. Samples are read in blocks, forwards or anywhere. One thread.
class IbtFile {
public:
    /// Header, session text and variable table. False for a file that is short, damaged or no
    /// telemetry file.
    bool open(const std::string& path);
    void close();

    const IbtHeader& header() const { return header_; }
    const IrVarTable& vars() const { return vars_; }

    /// Sample `index`; its bytes hold until the next call. No bytes, and so nothing but fallbacks,
    /// once the file has become shorter.
    IrSample sample(int32_t index);
    /// The same of one sample alone: for a few looks here and there, which read nothing around it.
    IrSample probe(int32_t index);
    /// A read failed since `open`: the file was cut short or replaced while it was read.
    bool damaged() const { return damaged_; }
    /// Its size or the time of its last change are no longer those of `header`.
    bool changed() const;
    /// Another program is writing it, or did a moment ago.
    bool busy(int64_t nowUnixNs) const;

private:
    RandomFile file_;
    IbtHeader header_;
    IrVarTable vars_;
    std::vector<uint8_t> block_, single_;
    int32_t blockFirst_ = 0, blockCount_ = 0;
    bool damaged_ = false;
};

/// The beginning of a file alone: for a scan of a folder.
bool ibtReadHeader(const std::string& path, IbtHeader& out);

/// The rules of the header on any bytes: `bytes` is the file's beginning, at least 144 of them
/// where the file has so many. Leaves the text and the times alone.
bool ibtParseHeader(ByteView bytes, uint64_t fileSize, IbtHeader& out, int32_t& textOffset,
                    int32_t& textLength);

} // namespace vt
