// A name whose existence is the whole message. Nothing is ever sent through it.
#pragma once
#include <string_view>

namespace vt {

/// Lets a name exist until it is closed or its owner dies, however that happens. One thread.
class NamedPresence {
public:
    NamedPresence() = default;
    ~NamedPresence() { close(); }
    NamedPresence(const NamedPresence&) = delete;
    NamedPresence& operator=(const NamedPresence&) = delete;

    /// `name` as `Local\VantorelRigViewWanted`. False when somebody else holds it already, or when
    /// it cannot be a name.
    bool open(std::string_view name);
    void close();
    bool isOpen() const { return fd_ >= 0; }

private:
    int fd_ = -1;
};

/// Does any program of this user hold that name?
bool namedPresenceExists(std::string_view name);

} // namespace vt
