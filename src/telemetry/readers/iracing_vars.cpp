#include "telemetry/readers/iracing_vars.h"

#include "base/hash.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vt {

namespace {

bool insideSample(const IrVarHeader& entry, int32_t bufLen) {
    const int32_t size = irElementSize(entry.type);
    if (size == 0 || entry.offset < 0 || entry.count < 0 || bufLen < 1) return false;
    return rangeInside(static_cast<uint64_t>(entry.offset), static_cast<uint64_t>(entry.count),
                       static_cast<uint64_t>(size), static_cast<uint64_t>(bufLen));
}

int32_t toInt(double value) {
    return static_cast<int32_t>(std::clamp(value, -2147483648.0, 2147483647.0));
}

} // namespace

void IrVarTable::build(ByteView table, int32_t numVars, int32_t bufLen) {
    vars_.clear();
    const size_t fitting = table.size() / sizeof(IrVarHeader);
    const size_t count = std::min(static_cast<size_t>(std::clamp(numVars, 0, kIrMaxVars)), fitting);
    vars_.reserve(std::min<size_t>(count, 1024));
    for (size_t i = 0; i < count; ++i) {
        const auto entry = readAt<IrVarHeader>(table, i * sizeof(IrVarHeader));
        if (!insideSample(entry, bufLen)) continue;
        const std::string_view name(entry.name, strnlen(entry.name, sizeof entry.name));
        vars_[fnv1a64(name)] = {entry.type, entry.offset, entry.count};
    }
}

const IrVar* IrVarTable::find(std::string_view name) const {
    const auto it = vars_.find(fnv1a64(name));
    return it == vars_.end() ? nullptr : &it->second;
}

const IrVar* IrSample::find(std::string_view name) const {
    const IrVar* var = vars.find(name);
    return var && var->count > 0 ? var : nullptr;
}

double IrSample::element(const IrVar* var, int32_t index, double fallback) const {
    if (!var || index < 0 || index >= var->count) return fallback;
    const auto size = static_cast<size_t>(irElementSize(var->type));
    const size_t at = static_cast<size_t>(var->offset) + static_cast<size_t>(index) * size;
    if (!rangeInside(at, 1, size, bytes.size())) return fallback;
    double value = fallback;
    switch (var->type) {
    case kIrChar:
        value = readAt<int8_t>(bytes, at);
        break;
    case kIrBool:
        value = readAt<uint8_t>(bytes, at) != 0;
        break;
    case kIrInt:
        value = readAt<int32_t>(bytes, at);
        break;
    case kIrBits:
        value = readAt<uint32_t>(bytes, at);
        break;
    case kIrFloat:
        value = static_cast<double>(readAt<float>(bytes, at));
        break;
    case kIrDouble:
        value = readAt<double>(bytes, at);
        break;
    default:
        break;
    }
    return std::isfinite(value) ? value : fallback;
}

float IrSample::elementReal(const IrVar* var, int32_t index, float fallback) const {
    const double value = element(var, index, static_cast<double>(fallback));
    constexpr double limit = std::numeric_limits<float>::max();
    return std::abs(value) <= limit ? static_cast<float>(value) : fallback;
}

int32_t IrSample::elementInt(const IrVar* var, int32_t index, int32_t fallback) const {
    return toInt(element(var, index, fallback));
}

double IrSample::number(std::string_view name, double fallback) const {
    return element(find(name), 0, fallback);
}

float IrSample::real(std::string_view name, float fallback) const {
    return elementReal(find(name), 0, fallback);
}

int32_t IrSample::integer(std::string_view name, int32_t fallback) const {
    return elementInt(find(name), 0, fallback);
}

uint32_t IrSample::bits(std::string_view name) const {
    const IrVar* var = find(name);
    if (!var) return 0;
    if (var->type == kIrInt) return static_cast<uint32_t>(elementInt(var, 0));
    return static_cast<uint32_t>(std::clamp(element(var, 0, 0), 0.0, 4294967295.0));
}

uint8_t IrSample::flag(std::string_view name, uint8_t fallback) const {
    return element(find(name), 0, fallback) != 0 ? 1 : 0;
}

} // namespace vt
