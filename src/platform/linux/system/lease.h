// Does a living program hold a file open for writing?
#pragma once
#include <fcntl.h>
#include <signal.h>

namespace vt {

// The kernel refuses a read lease with EAGAIN exactly while somebody holds the file open or mapped
// for writing. It grants leases only on files of the user itself (or with CAP_LEASE); where it
// refuses for another reason nothing can be told, and the object counts as alive.
//
// A writer that comes between the two calls makes the kernel send a signal, by default one that
// ends the program; SIGURG is ignored unless asked for.
inline bool heldForWriting(int readOnlyDescriptor) {
    fcntl(readOnlyDescriptor, F_SETSIG, SIGURG);
    if (fcntl(readOnlyDescriptor, F_SETLEASE, F_RDLCK) == 0) {
        fcntl(readOnlyDescriptor, F_SETLEASE, F_UNLCK);
        return false;
    }
    return true;
}

} // namespace vt
