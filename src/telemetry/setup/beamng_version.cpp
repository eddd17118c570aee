#include "telemetry/setup/beamng_version.h"

#include "platform/file.h"
#include "platform/paths.h"

namespace vt {

namespace {

constexpr uint64_t kLookMs = 30'000;
constexpr size_t kVersionFileLimit = 64u << 10;

std::string trimmed(std::string_view text) {
    constexpr const char* kBlanks = " \t\r\n";
    const size_t start = text.find_first_not_of(kBlanks);
    if (start == text.npos) return {};
    return std::string(text.substr(start, text.find_last_not_of(kBlanks) - start + 1));
}

std::string versionOfMachine() {
    const std::string registry =
        gameRegistryText(kBeamNgAppId, "Software\\BeamNG\\BeamNG.drive", "version");
    std::string file;
    if (trimmed(registry).empty())
        for (const std::string& folder : gameLocalDataFolders(kBeamNgAppId))
            if (readFile(joinPath(folder, "BeamNG.drive/version.txt"), file, kVersionFileLimit))
                break;
    return beamNgVersionFrom(registry, file);
}

} // namespace

std::string beamNgVersionFrom(std::string_view registryText, std::string_view versionFile) {
    const std::string registry = trimmed(registryText);
    if (!registry.empty()) return registry;
    return trimmed(versionFile.substr(0, versionFile.find_first_of("\r\n")));
}

const std::string& BeamNgVersion::get(uint64_t nowMs) {
    if (nowMs >= nextMs_) {
        version_ = versionOfMachine();
        nextMs_ = nowMs + kLookMs;
    }
    return version_;
}

} // namespace vt
