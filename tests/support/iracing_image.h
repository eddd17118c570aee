// Makes images of iRacing's shared memory: header, variable table, sample buffers, session text.
// Every part can be spoiled afterwards.
#pragma once
#include "telemetry/readers/iracing_layout.h"
#include "telemetry/readers/iracing_vars.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace vt {

class IracingImage {
public:
    struct Var {
        std::string name;
        int32_t type = kIrFloat;
        int32_t count = 1;
        int32_t offset = 0;
    };

    std::string text;
    int32_t buffers = 3;
    int32_t tick = 1000; // of the newest buffer

    void add(std::string_view name, int32_t type, int32_t count = 1) {
        vars_.push_back({std::string(name), type, count, static_cast<int32_t>(sample_.size())});
        sample_.resize(sample_.size() + static_cast<size_t>(count * irElementSize(type)));
    }

    /// Adds the variable where it is new (a number as double, an array with 64 elements).
    void set(std::string_view name, double value, int32_t index = 0) {
        if (!find(name)) add(name, kIrDouble, name.starts_with("CarIdx") ? kIrMaxCars : 1);
        const Var* var = find(name);
        if (index < 0 || index >= var->count) return;
        uint8_t* at = sample_.data() + var->offset + index * irElementSize(var->type);
        const auto put = [&](auto typed) { std::memcpy(at, &typed, sizeof typed); };
        switch (var->type) {
        case kIrChar:
            put(static_cast<int8_t>(value));
            break;
        case kIrBool:
            put(static_cast<uint8_t>(value != 0));
            break;
        case kIrInt:
            put(static_cast<int32_t>(value));
            break;
        case kIrBits:
            put(static_cast<uint32_t>(value));
            break;
        case kIrFloat:
            put(static_cast<float>(value));
            break;
        default:
            put(value);
            break;
        }
    }

    void remove(std::string_view name) {
        std::erase_if(vars_, [&](const Var& var) { return var.name == name; });
    }

    /// Header, table, text, then the buffers. The newest one is the middle one, as the sim often
    /// has it, and the others are `fill` bytes.
    std::vector<uint8_t> build(uint8_t fill = 0) const {
        const IrHeader header = makeHeader();
        std::vector<uint8_t> out(
            static_cast<size_t>(header.varBuf[buffers - 1].bufOffset + header.bufLen));
        std::memcpy(out.data(), &header, sizeof header);
        const std::vector<uint8_t> table = varTable();
        std::copy(table.begin(), table.end(), out.begin() + header.varHeaderOffset);
        std::copy(text.begin(), text.end(), out.begin() + header.sessionInfoOffset);
        for (int32_t i = 0; i < buffers; ++i) {
            const auto to = out.begin() + header.varBuf[i].bufOffset;
            if (i == newest())
                std::copy(sample_.begin(), sample_.end(), to);
            else
                std::fill_n(to, sample_.size(), fill);
        }
        return out;
    }

    std::vector<uint8_t> varTable() const {
        std::vector<uint8_t> out(vars_.size() * sizeof(IrVarHeader));
        for (size_t i = 0; i < vars_.size(); ++i) {
            IrVarHeader entry;
            entry.type = vars_[i].type;
            entry.offset = vars_[i].offset;
            entry.count = vars_[i].count;
            std::memcpy(entry.name, vars_[i].name.data(),
                        std::min(vars_[i].name.size(), sizeof entry.name));
            std::memcpy(out.data() + i * sizeof entry, &entry, sizeof entry);
        }
        return out;
    }

    const std::vector<uint8_t>& sample() const { return sample_; }

    IrVarTable table() const {
        IrVarTable out;
        out.build(varTable(), static_cast<int32_t>(vars_.size()),
                  static_cast<int32_t>(sample_.size()));
        return out;
    }

private:
    const Var* find(std::string_view name) const {
        for (const Var& var : vars_)
            if (var.name == name) return &var;
        return nullptr;
    }

    int32_t newest() const { return buffers > 1 ? 1 : 0; }

    IrHeader makeHeader() const {
        IrHeader h;
        h.ver = 2;
        h.status = kIrStatusConnected;
        h.tickRate = 60;
        h.sessionInfoUpdate = 1;
        h.numVars = static_cast<int32_t>(vars_.size());
        h.varHeaderOffset = static_cast<int32_t>(sizeof h);
        h.sessionInfoOffset =
            h.varHeaderOffset + h.numVars * static_cast<int32_t>(sizeof(IrVarHeader));
        h.sessionInfoLen = static_cast<int32_t>(text.size() + 1);
        h.numBuf = buffers;
        h.bufLen = std::max(static_cast<int32_t>(sample_.size()), 1);
        int32_t offset = (h.sessionInfoOffset + h.sessionInfoLen + 15) / 16 * 16;
        for (int32_t i = 0; i < buffers; ++i, offset += h.bufLen)
            h.varBuf[i] = {.tickCount = tick - (i == newest() ? 0 : i + 1), .bufOffset = offset};
        return h;
    }

    std::vector<Var> vars_;
    std::vector<uint8_t> sample_;
};

} // namespace vt
