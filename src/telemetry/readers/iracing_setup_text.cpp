#include "telemetry/readers/iracing_setup_text.h"

#include "base/hash.h"
#include "base/utf8.h"

#include <cstring>
#include <string>

namespace vt {

namespace {

constexpr auto npos = std::string_view::npos;
constexpr size_t kMaxText = 4095; // the field less its terminator
constexpr size_t kMaxLine = 511;
constexpr size_t kMaxSections = 8;
constexpr size_t kMaxSectionName = 39;
constexpr std::string_view kTruncated = "(truncated)\n";

struct Line {
    size_t indent = 0;
    std::string_view key, value;
};

struct Sections {
    struct Open {
        size_t indent = 0;
        std::string_view name;
    };
    Open open[kMaxSections];
    size_t count = 0;

    void closeDownTo(size_t indent) {
        while (count > 0 && open[count - 1].indent >= indent)
            count -= 1;
    }
    void push(const Line& line) {
        if (count == kMaxSections) return;
        open[count++] = {line.indent, line.key.substr(0, utf8CutLength(line.key, kMaxSectionName))};
    }
};

bool splitLine(std::string_view text, Line& out) {
    out.indent = text.find_first_not_of(' ');
    if (out.indent == npos) return false;
    text.remove_prefix(out.indent);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\r'))
        text.remove_suffix(1);
    const size_t colon = text.find(':');
    if (colon == npos) return false;
    out.key = text.substr(0, colon);
    out.value = text.substr(colon + 1);
    if (!out.value.empty() && out.value.front() == ' ') out.value.remove_prefix(1);
    return true;
}

/// False when the line no longer fits: the text then ends with a remark.
bool appendLine(std::string& text, const Sections& sections, const Line& line) {
    std::string full;
    for (size_t i = 0; i < sections.count; ++i)
        full.append(sections.open[i].name).append(".");
    full.append(line.key).append(": ").append(line.value);
    full.resize(utf8CutLength(full, kMaxLine));
    full.push_back('\n');
    if (text.size() + full.size() <= kMaxText) {
        text += full;
        return true;
    }
    while (text.size() + kTruncated.size() > kMaxText) {
        const size_t end = text.size() < 2 ? npos : text.rfind('\n', text.size() - 2);
        text.resize(end == npos ? 0 : end + 1);
    }
    text += kTruncated;
    return false;
}

size_t findSetupBlock(std::string_view text) {
    constexpr std::string_view heading = "CarSetup:";
    if (text.starts_with(heading)) return 0;
    const size_t at = text.find("\nCarSetup:");
    return at == npos ? npos : at + 1;
}

} // namespace

void parseSetupText(IrSessionText& out, std::string_view text) {
    const size_t start = findSetupBlock(text);
    if (start == npos) return;
    const size_t first = text.find('\n', start);
    if (first == npos) return;
    const size_t blockEnd = irBlockEnd(text, start);
    std::string_view block = text.substr(first + 1, blockEnd - std::min(blockEnd, first + 1));

    Sections sections;
    std::string flat;
    while (!block.empty()) {
        const size_t end = block.find('\n');
        Line line;
        const bool usable = splitLine(block.substr(0, end), line);
        block.remove_prefix(end == npos ? block.size() : end + 1);
        if (!usable) continue;
        sections.closeDownTo(line.indent);
        if (line.value.empty())
            sections.push(line);
        else if (sections.count == 0 && line.key == "UpdateCount")
            out.setupUpdateCount = irInt(line.value, -1);
        else if (!appendLine(flat, sections, line))
            break;
    }
    std::memcpy(out.setupText, flat.data(), flat.size());
    out.setupText[flat.size()] = '\0';
    const uint32_t hash = fnv1a32(flat);
    out.setupHash = flat.empty() ? 0 : static_cast<int32_t>(hash == 0 ? 1 : hash);
}

} // namespace vt
