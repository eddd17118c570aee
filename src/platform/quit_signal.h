// The wish of the system that the program end (Ctrl+C, a session that closes).
#pragma once

namespace vt {

/// Call before any thread starts. A descriptor that becomes readable when the program should end;
/// -1 when there is none.
int quitSignalDescriptor();

} // namespace vt
