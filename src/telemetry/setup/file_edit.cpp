#include "telemetry/setup/file_edit.h"

#include "platform/file.h"

namespace vt {

bool backUpOnce(const std::string& path, const std::string& backup, bool* made) {
    if (made) *made = false;
    if (fileExists(backup)) return true;
    const bool copied = copyFileNew(path, backup);
    if (made) *made = copied;
    return copied;
}

bool replaceGameFile(const std::string& path, std::string_view bytes) {
    return replaceFile(path, ".vt.tmp", bytes);
}

} // namespace vt
