#include "telemetry/sibling_state.h"

#include "platform/file.h"
#include "platform/paths.h"

#include <charconv>
#include <cstring>

namespace vt {

namespace {

constexpr int kTries = 8;
constexpr std::string_view kConsentKey = "telemetryConsent=";

/// One try at a copy between two equal, even values of the sequence.
bool copyOnce(const SharedMap& map, SiblingState& out) {
    uint32_t before = 0, after = 0;
    constexpr size_t at = offsetof(SiblingState, sequence);
    if (!map.read(at, before) || (before & 1) != 0) return false;
    if (!map.read(0, out) || !map.read(at, after)) return false;
    if (before != after) return false;
    out.sequence = before;
    return true;
}

} // namespace

bool siblingOpen(SiblingLink& link) {
    if (link.map.isOpen()) return true;
    link.lastSequence = 1;
    return link.map.open(link.name);
}

bool siblingRead(SiblingLink& link, SiblingState& out) {
    if (!siblingOpen(link)) return false;
    bool copied = false;
    for (int i = 0; i < kTries && !copied; ++i)
        copied = copyOnce(link.map, out);
    // The object stays readable for us after its writer died, and a new run of the sibling makes
    // another one. A sequence that moves is proof enough of a writer.
    if ((!copied || out.sequence == link.lastSequence) && !link.map.writerAlive()) {
        link.map.close();
        return false;
    }
    if (!copied) return false;
    link.lastSequence = out.sequence;
    return std::memcmp(out.magic, "VTST", 4) == 0 && out.version >= kSiblingVersionMin;
}

int siblingConsent(const std::string& appDataDir) {
    std::string text;
    if (appDataDir.empty() || !readFile(joinPath(appDataDir, "haptic_config.ini"), text)) return -1;
    std::string_view rest = text;
    while (!rest.empty()) {
        const size_t end = rest.find('\n');
        std::string_view line = rest.substr(0, end);
        rest.remove_prefix(end == rest.npos ? rest.size() : end + 1);
        if (!line.starts_with(kConsentKey)) continue;
        line.remove_prefix(kConsentKey.size());
        while (!line.empty() && (line.back() == '\r' || line.back() == ' '))
            line.remove_suffix(1);
        while (!line.empty() && line.front() == ' ')
            line.remove_prefix(1);
        int value = -1;
        const auto result = std::from_chars(line.data(), line.data() + line.size(), value);
        return result.ec == std::errc() && result.ptr == line.data() + line.size() ? value : -1;
    }
    return -1;
}

} // namespace vt
