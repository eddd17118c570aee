// HTTP and WebSockets on one port: pages of overlays, and their frames for whoever subscribes.
#pragma once
#include "streaming/browser_limits.h"
#include "streaming/frame_hub.h"

#include <memory>
#include <string>
#include <vector>

namespace vt {

enum class ListenResult { listening, portInUse, failed };

/// Started and stopped by one thread; two worker threads of its own do the rest. The hub outlives
/// it. What a request gets stands in browser_request.h.
class BrowserServer {
public:
    explicit BrowserServer(FrameHub& hub, const BrowserLimits& limits = {});
    ~BrowserServer(); // stops
    BrowserServer(const BrowserServer&) = delete;
    BrowserServer& operator=(const BrowserServer&) = delete;

    /// Listens on all interfaces, or on 127.0.0.1 alone. Port 0 takes a free one. `listed` are the
    /// slots that the index page shows. When it returns `listening`, clients can connect.
    ListenResult start(int port, bool allInterfaces, const std::string& accessKey,
                       std::vector<int> listed = {});
    /// Closes everything; every viewer is unsubscribed when it returns.
    void stop();
    /// The bound port, 0 while stopped.
    int port() const;

private:
    struct Inside;
    FrameHub& hub_;
    const BrowserLimits limits_;
    std::unique_ptr<Inside> inside_;
};

} // namespace vt
