// The sibling program: its record, and the datagrams that it forwards while it serves a sim.
// `--extra game=10,serving=1` says which sim it serves and whether; `--tear` writes the record all
// the time instead of `--hz` times a second; `--port` is the served sim's own port.
#include "base/utf8.h"
#include "datagram_player.h"
#include "platform/shared_map.h"
#include "platform/udp_socket.h"
#include "telemetry/readers/beamng_layout.h"
#include "telemetry/readers/dirt_rally2_layout.h"
#include "telemetry/readers/ea_wrc_layout.h"
#include "telemetry/readers/f1_layout.h"
#include "telemetry/rig_view.h"
#include "telemetry/sibling_state.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>

namespace player {

namespace {

constexpr double kForwardHz = 500; // looks for datagrams
constexpr int kTornWrites = 500;   // records a look with --tear

struct ServedPort {
    int32_t gameId;
    uint16_t port;
};
constexpr ServedPort kServedPorts[] = {
    {vt::kSiblingF1, vt::kF1Port},
    {vt::kSiblingDirtRally2, vt::kDirtRally2Port},
    {vt::kSiblingEaWrc, vt::kEaWrcPort},
    {vt::kSiblingBeamNg, vt::kBeamNgPort},
};

/// The number behind `key=` in "key=1,other=2".
int wordOf(std::string_view words, std::string_view key, int fallback) {
    while (!words.empty()) {
        const size_t comma = words.find(',');
        const std::string_view word = words.substr(0, comma);
        words.remove_prefix(comma == words.npos ? words.size() : comma + 1);
        if (word.size() > key.size() && word.starts_with(key) && word[key.size()] == '=')
            return std::atoi(std::string(word.substr(key.size() + 1)).c_str());
    }
    return fallback;
}

float wave(double seconds, double rate) {
    return asFloat(0.5 + 0.5 * std::sin(seconds * rate));
}

void fillRig(vt::SiblingState& s, double t) {
    constexpr const char* names[] = {"FL", "FR", "RL", "RR", "Seat"};
    constexpr float x[] = {0.2f, 0.8f, 0.2f, 0.8f, 0.5f}, y[] = {0.2f, 0.2f, 0.8f, 0.8f, 0.55f};
    s.rigPresent = 1;
    for (size_t i = 0; i < 16; ++i) {
        s.rigEffect[i] = -1;
        if (i >= std::size(names)) continue;
        s.rigKind[i] = 1;
        s.rigLevel[i] = wave(t, 1.0 + static_cast<double>(i));
        s.rigEffect[i] = static_cast<int32_t>(i);
        s.rigX[i] = x[i];
        s.rigY[i] = y[i];
        vt::copyText(s.rigName[i], names[i]);
    }
    s.pedalsPresent = 1;
    s.pedalMask = 3;
    for (size_t i = 0; i < 3; ++i) {
        s.pedalLevel[i] = i < 2 ? wave(t, 2.0 + static_cast<double>(i)) : 0;
        s.pedalEffect[i] = i == 0 ? 4 : -1;
    }
}

vt::SiblingState stateAt(double t, int32_t gameId, bool serving) {
    vt::SiblingState s{};
    std::memcpy(s.magic, "VTST", sizeof s.magic);
    s.version = 5;
    s.serving = serving;
    s.gameId = gameId;
    s.masterGain = 0.8f;
    for (size_t i = 0; i < 8; ++i) {
        s.effectGain[i] = 0.55f + 0.05f * static_cast<float>(i);
        s.effectLevel[i] = serving ? wave(t, 0.7 * static_cast<double>(i + 1)) : 0;
    }
    if (vt::namedPresenceExists(vt::kRigViewName)) fillRig(s, t);
    return s;
}

/// The record, word by word behind an odd sequence.
void writeRecord(uint8_t* to, vt::SiblingState& state, uint32_t& sequence) {
    auto* words = reinterpret_cast<std::atomic<uint32_t>*>(to);
    constexpr size_t at = offsetof(vt::SiblingState, sequence) / 4;
    uint32_t from[sizeof state / 4];
    std::memcpy(from, &state, sizeof from);
    words[at].store(sequence + 1, std::memory_order_relaxed);
    std::atomic_thread_fence(std::memory_order_release);
    for (size_t i = 0; i < std::size(from); ++i)
        if (i != at) words[i].store(from[i], std::memory_order_relaxed);
    sequence += 2;
    words[at].store(sequence, std::memory_order_release);
}

/// Takes the sim's port as soon as it is free.
class Forwarder {
public:
    Forwarder(const Options& options, int32_t gameId) {
        for (const ServedPort& served : kServedPorts)
            if (served.gameId == gameId) port_ = options.port ? options.port : served.port;
        // F1's port is shared and open to consoles.
        open_ = gameId == vt::kSiblingF1;
    }
    void tick() {
        if (port_ == 0) return;
        if (!socket_.isOpen()) {
            if (!socket_.open(port_, open_, open_)) return;
            std::printf("serving port %u, forwarding to %u\n", static_cast<unsigned>(port_),
                        static_cast<unsigned>(port_) + 1);
            std::fflush(stdout);
        }
        for (int i = 0; i < 1000; ++i) {
            const int n = socket_.receive(buffer_, sizeof buffer_);
            if (n < 0) return;
            if (static_cast<size_t>(n) <= sizeof buffer_)
                socket_.send(static_cast<uint16_t>(port_ + 1), buffer_, static_cast<size_t>(n));
        }
    }

private:
    uint16_t port_ = 0;
    bool open_ = false;
    vt::UdpSocket socket_;
    uint8_t buffer_[2048];
};

} // namespace

int playSibling(const Options& options) {
    const int32_t gameId = wordOf(options.extra, "game", -1);
    const bool serving = wordOf(options.extra, "serving", 0) != 0;
    vt::SharedMapWriter writer;
    if (!writer.create(vt::kSiblingMapName + options.suffix, sizeof(vt::SiblingState))) {
        std::fprintf(stderr, "sim_player: cannot make %s\n", vt::kSiblingMapName);
        return 1;
    }
    std::printf("sibling: game %d, %s\n", gameId, serving ? "serving" : "not serving");
    std::fflush(stdout);
    Forwarder forwarder(options, gameId);
    Options looks = options;
    looks.hz = std::max(options.hz, kForwardHz);
    uint32_t sequence = 0;
    double next = 0;
    everyTick(looks, [&](int64_t n) {
        const double t = static_cast<double>(n) / looks.hz;
        if (serving) forwarder.tick();
        if (t < next && !options.tear) return true;
        next = t + 1 / options.hz;
        vt::SiblingState state = stateAt(t, gameId, serving);
        for (int i = 0; i < (options.tear ? kTornWrites : 1); ++i)
            writeRecord(writer.data(), state, sequence);
        return true;
    });
    return 0;
}

} // namespace player
