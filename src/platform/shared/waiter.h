// The one place where the main thread sleeps.
#pragma once
#include <cstddef>
#include <cstdint>

namespace vt {

/// Sleeps until a descriptor can be read, `wakeWaiter` was called or `timeoutNs` went by (negative:
/// no limit). `readable[i]` tells which; a closed descriptor counts as readable.
void waitForDescriptors(const int* descriptors, size_t count, uint8_t* readable, int64_t timeoutNs);
/// Ends the present wait, or the next one at once. Any thread.
void wakeWaiter();

} // namespace vt
