#include "telemetry/setup/game_documents.h"

#include "platform/file.h"
#include "platform/paths.h"

namespace vt {

std::string documentsOfGame(const std::vector<std::string>& candidates,
                            const std::string& gameFolder) {
    for (const std::string& folder : candidates)
        if (folderExists(joinPath(folder, gameFolder))) return folder;
    return candidates.empty() ? std::string() : candidates.front();
}

} // namespace vt
