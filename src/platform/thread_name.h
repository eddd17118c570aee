// What a thread is called in debuggers and process lists, and how urgent it is.
#pragma once

namespace vt {

/// Names the calling thread; systems keep the first 15 characters.
void nameThisThread(const char* name);

/// One step below the normal priority, for work that the drive must not feel. Where the system
/// refuses, it stays as it is.
void lowerThisThread();

} // namespace vt
