// The simulator's broadcast messages to every program of the desktop. Here they go out as datagrams
// to a named local socket, where a bridge (or a test) listens; nobody listening is no failure.
#pragma once
#include <cstdint>
#include <string_view>

namespace vt {

struct BroadcastMessage {
    uint64_t wParam = 0;
    int64_t lParam = 0;
};

/// `message` is the registered name, "IRSDK_BROADCASTMSG". False when nobody listens.
bool sendBroadcast(std::string_view message, BroadcastMessage payload);

/// A listener's side.
class BroadcastListener {
public:
    BroadcastListener() = default;
    ~BroadcastListener() { close(); }
    BroadcastListener(const BroadcastListener&) = delete;
    BroadcastListener& operator=(const BroadcastListener&) = delete;
    bool listen(std::string_view message);
    bool take(BroadcastMessage& out); // false when none is waiting
    void close();

private:
    int socket_ = -1;
};

} // namespace vt
