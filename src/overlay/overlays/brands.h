// Car brands as a cell shows them: a picture where one ships, else three letters in a colour that
// stays readable on dark ground.
#pragma once
#include "base/geometry.h"
#include "platform/canvas.h"

#include <string>
#include <string_view>

namespace vt {

struct BrandMark {
    char text[16] = ""; // empty: the brand is not known at all
    Color colour{0.85f, 0.87f, 0.9f, 1};
};
/// Known brands by the beginning of their name in any case; others take their first three letters.
BrandMark brandMark(std::string_view carBrand);

/// The shipped picture of that brand, or null. The folder is listed once per program.
const Bitmap* brandLogo(std::string_view carBrand);
/// Lists another folder; for tests and for a device that was made anew.
void loadBrandLogos(const std::string& folder);

} // namespace vt
