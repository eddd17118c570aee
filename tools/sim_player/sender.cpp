#include "platform/udp_socket.h"
#include "player.h"

#include <cstdio>
#include <random>

namespace player {

namespace {
constexpr size_t kLargest = 65'507; // bytes of a datagram
}

struct Sender::Impl {
    vt::UdpSocket socket;
    uint16_t port = 0;
    double lose = 0, repeat = 0, reorder = 0;
    int flood = 0;
    double floodBegan = -1, flooded = 0;
    std::mt19937 random;
    std::vector<uint8_t> last, held;
    bool holds = false;

    double chance() { return static_cast<double>(random()) / 4294967296.0; }

    void put(const std::vector<uint8_t>& bytes) {
        if (lose > 0 && chance() < lose) return;
        socket.send(port, bytes.data(), bytes.size());
        if (repeat > 0 && chance() < repeat) socket.send(port, bytes.data(), bytes.size());
    }

    /// Sends as many extra datagrams as the time since the first call asks for.
    void keepFlood(Sender& sender) {
        if (flood <= 0) return;
        const double now = monotonicSeconds();
        if (floodBegan < 0) floodBegan = now;
        const double due = (now - floodBegan) * flood;
        const int count = static_cast<int>(due - flooded);
        if (count <= 0) return;
        flooded += count;
        sender.sendHostile(count);
    }
};

Sender::Sender(const Options& options, uint16_t port) : impl_(new Impl) {
    impl_->port = options.port ? options.port : port;
    impl_->lose = options.lose;
    impl_->repeat = options.repeat;
    impl_->reorder = options.reorder;
    impl_->flood = options.flood;
    impl_->random.seed(options.model.seed);
    if (!impl_->socket.open(0)) std::fprintf(stderr, "sim_player: no socket to send from\n");
}

Sender::~Sender() {
    delete impl_;
}

void Sender::send(const void* data, size_t length) {
    const auto* bytes = static_cast<const uint8_t*>(data);
    impl_->last.assign(bytes, bytes + length);
    if (!impl_->holds && impl_->reorder > 0 && impl_->chance() < impl_->reorder) {
        impl_->held = impl_->last; // goes out behind the next one
        impl_->holds = true;
    } else {
        impl_->put(impl_->last);
        if (impl_->holds) impl_->put(impl_->held);
        impl_->holds = false;
    }
    impl_->keepFlood(*this);
}

void Sender::sendHostile(int count) {
    std::vector<uint8_t> bytes;
    auto& random = impl_->random;
    for (int i = 0; i < count; ++i) {
        if (impl_->last.empty() || random() % 3 == 0) {
            bytes.resize(random() % 8 ? random() % 1500 : random() % kLargest);
            for (uint8_t& byte : bytes)
                byte = static_cast<uint8_t>(random());
        } else {
            bytes = impl_->last;
            for (auto n = random() % 12; n > 0 && !bytes.empty(); --n)
                bytes[random() % bytes.size()] = static_cast<uint8_t>(random());
            if (random() % 4 == 0) bytes.resize(random() % (bytes.size() + 40));
        }
        impl_->socket.send(impl_->port, bytes.data(), bytes.size());
    }
}

} // namespace player
