#include "base/json_read.h"
#include "base/utf8.h"
#include "platform/file.h"
#include "platform/paths.h"
#include "telemetry/readers/acc_broadcast_state.h"

#include <nlohmann/json.hpp>

namespace vt {

namespace {

constexpr size_t kConfigLimit = 1u << 20;
constexpr size_t kPasswordBytes = 63;

// The sim writes UTF-16, people who edit the file often save it as UTF-8.
std::string configText(std::string_view bytes) {
    const bool marked = bytes.starts_with("\xFF\xFE");
    if (marked || (bytes.size() >= 2 && bytes[1] == '\0')) {
        if (marked) bytes.remove_prefix(2);
        return utf16ToUtf8(bytes.data(), bytes.size() / 2);
    }
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
    return std::string(bytes);
}

std::string password(const nlohmann::json& document, const char* key) {
    std::string text = readString(document, key, "");
    text.resize(utf8CutLength(text, kPasswordBytes));
    return text;
}

} // namespace

AccBroadcastConfig accParseBroadcastConfig(std::string_view bytes) {
    AccBroadcastConfig config;
    nlohmann::json document;
    if (!parseJson(configText(bytes), document)) return config;
    // The sim itself misspells the key; a later build may not.
    for (const char* key : {"updListenerPort", "udpListenerPort"}) {
        const int port = readInt(document, key, 0);
        if (port < 1 || port > 65535) continue;
        config.port = port;
        break;
    }
    config.connectionPassword = password(document, "connectionPassword");
    config.commandPassword = password(document, "commandPassword");
    return config;
}

AccBroadcastConfig accLoadBroadcastConfig(const std::string& documentsDir) {
    std::string bytes;
    if (documentsDir.empty() ||
        !readFile(joinPath(documentsDir, "Assetto Corsa Competizione/Config/broadcasting.json"),
                  bytes, kConfigLimit))
        return {};
    return accParseBroadcastConfig(bytes);
}

} // namespace vt
