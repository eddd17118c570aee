#include "panel/text_lines.h"

#include <algorithm>

namespace vt {

namespace {

TextLine textLine(std::string_view line) {
    TextLine out;
    const size_t start = std::min(line.find_first_not_of(' '), line.size());
    out.setIn = start >= 2;
    line.remove_prefix(start);
    const size_t digits = std::min(line.find_first_not_of("0123456789"), line.size());
    if (out.setIn && digits > 0 && line.substr(digits, 2) == ". ") {
        out.marker = line.substr(0, digits + 1);
        line.remove_prefix(digits + 1);
        line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    }
    out.deeper = out.setIn && out.marker.empty();
    const size_t gap = line.find("   ");
    out.text = line.substr(0, gap);
    if (gap != line.npos) {
        line.remove_prefix(gap);
        out.value = line.substr(std::min(line.find_first_not_of(' '), line.size()));
    }
    return out;
}

} // namespace

std::vector<TextLine> textLines(std::string_view text) {
    std::vector<TextLine> lines;
    for (size_t start = 0; start <= text.size();) {
        const size_t end = std::min(text.find('\n', start), text.size());
        lines.push_back(textLine(text.substr(start, end - start)));
        start = end + 1;
    }
    return lines;
}

std::string fillText(std::string_view text, const std::vector<std::string>& values) {
    std::string out;
    size_t next = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%' || i + 1 == text.size()) {
            out += text[i];
            continue;
        }
        const char kind = text[++i];
        if (kind == 's' || kind == 'd' || kind == 'u') {
            if (next < values.size()) out += values[next++];
        } else if (kind == '%') {
            out += '%';
        } else {
            out += '%';
            out += kind;
        }
    }
    return out;
}

} // namespace vt
