#include "overlay/frame/fields.h"

#include "base/translate.h"
#include "base/utf8.h"
#include "overlay/frame/field_table.h"
#include "overlay/frame/sim_support.h"

#include <algorithm>
#include <cstring>

namespace vt {

FieldProviders fieldProviders;

namespace {

bool inCatalogue(int fieldId) {
    return fieldId > 0 && fieldId < kFieldCount;
}

/// Takes off a code point that the end of the buffer cut in two.
size_t wholeCharacters(char* text, size_t length) {
    size_t lead = length;
    for (int back = 0; back < 4 && lead > 0; ++back) {
        const auto byte = static_cast<unsigned char>(text[--lead]);
        if ((byte & 0xC0) == 0x80) continue;
        const size_t bytes = byte < 0x80 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
        if (lead + bytes > length) length = lead;
        break;
    }
    text[length] = '\0';
    return length;
}

/// What a strip shows for a value that this sim has but this car or moment does not; null when the
/// value is there, or when the field shows nothing then.
const char* missingWord(int fieldId, const SimFrame& frame) {
    const auto unless = [](float value, const char* word) {
        return fieldValueKnown(value) ? nullptr : word;
    };
    switch (fieldId) {
    case 12:
        return unless(frame.precipitation, "N/A");
    case 13:
        return frame.wetnessLevel < 0 ? unless(frame.wetness, "N/A") : nullptr;
    case 20:
        return unless(frame.waterTemp, "N/A");
    case 21:
        return unless(frame.oilTemp, "N/A");
    case 22:
        return unless(frame.oilPressure, "N/A");
    case 23:
        return unless(frame.batteryVolts, "N/A");
    case 24:
        return unless(frame.brakeBias, "N/A");
    case 25:
        return unless(frame.tcLevel, "None");
    case 26:
        return unless(frame.absLevel, "None");
    default:
        return nullptr;
    }
}

} // namespace

uint32_t fieldNeeds(int fieldId) {
    return inCatalogue(fieldId) ? kFields[fieldId].needs : 0;
}

const char* fieldLabel(int fieldId) {
    return fieldId == 0 || inCatalogue(fieldId) ? Translate(kFields[fieldId].label) : "";
}

const char* fieldLongLabel(int fieldId) {
    return fieldId == 0 || inCatalogue(fieldId) ? Translate(kFields[fieldId].longLabel) : "";
}

size_t formatField(char* out, size_t capacity, int fieldId, const SimFrame& frame,
                   const FieldContext& context) {
    if (capacity == 0) return 0;
    out[0] = '\0';
    if (!inCatalogue(fieldId)) return 0;
    const FieldRow& row = kFields[fieldId];
    if (row.source == FieldSource::sim && !frame.connected) return 0;
    const int length = row.format({out, capacity}, frame, context);
    return wholeCharacters(out, static_cast<size_t>(std::max(length, 0)));
}

size_t formatStripField(char* out, int fieldId, const SimFrame& frame, const FieldContext& context,
                        int sim, bool withLabel) {
    out[0] = '\0';
    if (!inCatalogue(fieldId)) return 0;
    size_t used = 0;
    if (withLabel) {
        copyText(out, kFieldTextSize - 1, fieldLabel(fieldId));
        used = std::strlen(out);
        out[used++] = ' ';
    }
    const char* word = nullptr;
    if (!fieldSupported(fieldId, sim))
        word = "N/A";
    else if (frame.connected)
        word = missingWord(fieldId, frame);
    size_t value = 0;
    if (word) {
        copyText(out + used, kFieldTextSize - used, Translate(word));
        value = std::strlen(out + used);
    } else {
        value = formatField(out + used, kFieldTextSize - used, fieldId, frame, context);
    }
    // A label without a value says nothing.
    if (value == 0) used = 0;
    out[used + value] = '\0';
    return used + value;
}

bool isFieldEmpty(std::string_view text) {
    return text.ends_with(Translate("N/A")) || text.ends_with(Translate("None"));
}

} // namespace vt
