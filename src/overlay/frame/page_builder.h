// The rows of an overlay's settings page. An overlay only adds rows, in order; the control panel
// turns them into a page. A row writes straight into the setting that it holds a pointer to.
#pragma once
#include "overlay/settings/app_config.h"

#include <string>

namespace vt {

/// One row, as a plain record.
struct PageRow {
    enum class Kind {
        section,     // label
        togglePair,  // label, flag; label2, flag2
        toggle,      // label, flag, hint
        intSlider,   // label, number, min, max, unit, hint
        floatSlider, // label, real, min, max, unit, hint; with unit "%" a fraction, shown times 100
        choice,      // label, number, choices, choiceCount, hint
        fieldPicker, // label, number, hint
        stylePicker, // number, choices, choiceCount, hint
        refresh,     // number, of `slot`
        stream,      // label, flag, hint, of `slot`
        text,        // label
    };
    Kind kind = Kind::text;
    const char* label = "";
    const char* label2 = "";
    const char* hint = "";
    const char* unit = "";
    bool* flag = nullptr;
    bool* flag2 = nullptr;
    int* number = nullptr;
    float* real = nullptr;
    float min = 0, max = 0;
    const char* const* choices = nullptr;
    int choiceCount = 0;
    int firstValue = 0; // what the first choice is stored as
    int slot = -1;
};

struct PageBuilder {
    void* user = nullptr;
    void (*add)(void* user, const PageRow& row) = nullptr;
    void row(const PageRow& r) const {
        if (add) add(user, r);
    }
};

/// "GENERAL", "SHOW WHEN", "VR HEADSET", "STREAM" and the strips' sections, in their fixed order.
void addCommonRows(const PageBuilder& page, OverlayConfig& overlay, int slot, bool heightResizable,
                   bool supportsStrips);

} // namespace vt
