// The pages that the browser source serves.
#pragma once
#include <string>
#include <string_view>
#include <vector>

namespace vt {

/// One overlay on a transparent canvas, which paints what comes over /ws and answers each message.
std::string overlayPage(std::string_view slotKey, std::string_view accessKey);

/// The list of overlays with a live picture of each and a button that copies its address. `slots`
/// in the order to be shown.
std::string overlayIndexPage(const std::vector<int>& slots, std::string_view accessKey);

} // namespace vt
