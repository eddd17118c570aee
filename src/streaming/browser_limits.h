// What one viewer may ask of the browser source's server, and all of them together.
#pragma once
#include <chrono>
#include <cstddef>

namespace vt {

struct BrowserLimits {
    size_t headerBytes = 8 * 1024;                 // of a request; longer: 431
    std::chrono::milliseconds headerTime{5000};    // to send all of them; then closed
    std::chrono::milliseconds answerTime{10000};   // to take an answer; then closed
    std::chrono::milliseconds lingerTime{500};     // to hear that we have closed our side
    size_t lingerBytes = 64 * 1024;                // read and thrown away meanwhile
    std::chrono::milliseconds handshakeTime{5000}; // to take the upgrade's answer
    std::chrono::milliseconds idleTime{30000};     // a viewer without a sign of life; then closed
    size_t messageBytes = 1024;                    // from a viewer; longer: closed with 1009
    // Not answered yet; for one more, the oldest that has asked nothing yet is closed.
    int requestsAtOnce = 64;
    int viewersAtOnce = 256; // more get 503
};

} // namespace vt
