// Long texts of windows, cut into what is laid out piece by piece. A text is plain: line ends, two
// blanks before what is set in, "1." before a numbered step, and three blanks or more between a
// name and its value.
#pragma once
#include <string>
#include <string_view>
#include <vector>

namespace vt {

struct TextLine {
    std::string marker; // "1."; empty without one
    std::string text;
    std::string value;   // the second column
    bool setIn = false;  // began with two blanks
    bool deeper = false; // set in without a marker, below a step
    bool empty() const { return text.empty() && marker.empty(); }
};

std::vector<TextLine> textLines(std::string_view text);

/// `text` with its "%s", "%d" and "%u" replaced by `values` one after the other, and "%%" by "%": a
/// translation can never ask for a value that is not there.
std::string fillText(std::string_view text, const std::vector<std::string>& values);

} // namespace vt
