// The variables of one sample by name. Works on a private copy of the table and of the sample:
// every count and offset in them was written by somebody else.
#pragma once
#include "base/bytes.h"
#include "telemetry/readers/iracing_layout.h"

#include <string_view>
#include <unordered_map>

namespace vt {

struct IrVar {
    int32_t type = 0;
    int32_t offset = 0;
    int32_t count = 0;
};

/// Name to place in the sample. Built once per attachment or file.
class IrVarTable {
public:
    /// Reads up to `numVars` entries from the start of `table`. Skips those of an unknown type and
    /// those that do not lie inside a sample of `bufLen` bytes; a later entry of a name wins.
    void build(ByteView table, int32_t numVars, int32_t bufLen);
    void clear() { vars_.clear(); }
    /// Null when there is none of that name.
    const IrVar* find(std::string_view name) const;
    size_t size() const { return vars_.size(); }

private:
    struct KeyIsHash {
        size_t operator()(uint64_t key) const { return static_cast<size_t>(key); }
    };
    std::unordered_map<uint64_t, IrVar, KeyIsHash> vars_; // key: FNV-1a 64 of the name
};

/// One sample with its table. Every read is converted from the stored type and checked against the
/// variable's count and the sample's length; a value that is missing or not finite is `fallback`.
/// Without an index the first element is read.
struct IrSample {
    const IrVarTable& vars;
    ByteView bytes;

    /// The variable, or null when it is missing or has no element.
    const IrVar* find(std::string_view name) const;
    bool has(std::string_view name) const { return find(name) != nullptr; }

    double element(const IrVar* var, int32_t index, double fallback) const;
    float elementReal(const IrVar* var, int32_t index, float fallback = 0) const;
    int32_t elementInt(const IrVar* var, int32_t index, int32_t fallback = 0) const;

    double number(std::string_view name, double fallback = 0) const;
    float real(std::string_view name, float fallback = 0) const;
    int32_t integer(std::string_view name, int32_t fallback = 0) const;
    uint32_t bits(std::string_view name) const;
    uint8_t flag(std::string_view name, uint8_t fallback = 0) const;
};

} // namespace vt
