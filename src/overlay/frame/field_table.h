// The rows behind the field catalogue: names, needs and how each value becomes text.
#pragma once
#include "overlay/frame/fields.h"

namespace vt {

struct TextOut {
    char* text;
    size_t capacity; // above 0
};

enum class FieldSource : bool {
    program, // has a value without a simulator
    sim
};

struct FieldRow {
    const char* label;
    const char* longLabel;
    uint32_t needs;
    FieldSource source;
    /// Writes the value alone, terminated; may end within a character when `out` is full. Returns
    /// its length.
    int (*format)(TextOut out, const SimFrame& frame, const FieldContext& context);
};

extern const FieldRow kFields[kFieldCount];

/// False for the "no data" values of temperatures, pressures and the like, and for what is no
/// number.
bool fieldValueKnown(float value);

} // namespace vt
