// One running program per user, and a word to it from a second start.
#pragma once
#include <functional>
#include <string>

namespace vt {

/// Held for the whole run. The system drops it when the program dies, however it dies.
class SingleInstance {
public:
    SingleInstance() = default;
    ~SingleInstance() { release(); }
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    /// True when this is the first. `name` as `Local\VantorelOverlay`.
    bool acquire(const std::string& name);

    /// From a second start: asks the first one to show itself. False when nobody answered in 1 s.
    bool askFirstToShow() const;

    /// A descriptor that becomes readable when a second start asks; -1 when there is none. Reading
    /// the question is `takeRequest`.
    int requestDescriptor() const { return socket_; }
    /// True when a second start asked since the last call.
    bool takeRequest();

    void release();

private:
    int socket_ = -1;
    std::string name_;
};

} // namespace vt
