// What ACC's car model numbers stand for.
#pragma once
#include <cstdint>

namespace vt {

struct AccCarClass {
    const char* carClass = ""; // "GT3"
    const char* brand = "";    // "Porsche"
};

/// Both empty for a number that is not known.
AccCarClass accCarClass(int32_t carModel);

} // namespace vt
