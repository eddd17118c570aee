// What a thread is called in debuggers and process lists.
#pragma once

namespace vt {

/// Names the calling thread; systems keep the first 15 characters.
void nameThisThread(const char* name);

} // namespace vt
