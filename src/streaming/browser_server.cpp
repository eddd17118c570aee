#include "streaming/browser_server.h"

#include "base/log.h"
#include "platform/thread_name.h"
#include "streaming/browser_page.h"
#include "streaming/browser_request.h"

#include <boost/asio/bind_executor.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/strand.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>

#include <deque>
#include <optional>
#include <thread>

namespace vt {

namespace {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;
using tcp = net::ip::tcp;
using beast::error_code;
using Header = http::request<http::empty_body>;

constexpr int kWorkers = 2;
constexpr std::chrono::milliseconds kAcceptPause{100}; // when the system has no room for another

/// What all connections share. Outlives them: they end with the io_context.
struct Shared {
    FrameHub& hub;
    const BrowserLimits limits;
    std::string accessKey;
    std::vector<int> listed;
    std::atomic<int> requests{0}, viewers{0};
};

/// Counts a connection as long as it lives.
class Place {
public:
    explicit Place(std::atomic<int>& count) : count_(count) { ++count_; }
    ~Place() { --count_; }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

private:
    std::atomic<int>& count_;
};

// ---- a viewer ----

/// One WebSocket. Everything but the subscription runs on its own strand.
class Viewer : public std::enable_shared_from_this<Viewer> {
public:
    Viewer(Shared& shared, beast::tcp_stream stream, const BrowserAnswer& answer)
        : shared_(shared), place_(shared.viewers), socket_(std::move(stream)),
          slot_(answer.slot), offer_{answer.ackMode, answer.parts} {}
    ~Viewer() { leave(); }

    void run(Header request) {
        const BrowserLimits& limits = shared_.limits;
        beast::get_lowest_layer(socket_).expires_never(); // the WebSocket has timers of its own
        websocket::stream_base::timeout times;
        times.handshake_timeout = limits.handshakeTime;
        times.idle_timeout = limits.idleTime;
        times.keep_alive_pings = true;
        socket_.set_option(times);
        socket_.read_message_max(limits.messageBytes);
        socket_.auto_fragment(false);
        request_ = std::move(request);
        socket_.async_accept(request_, [self = shared_from_this()](error_code error) {
            if (!error) self->open();
        });
    }

private:
    void open() {
        id_ = hubSubscribe(
            shared_.hub, slot_, offer_,
            [weak = weak_from_this(), strand = socket_.get_executor()](StreamMessage message) {
                net::post(strand, [weak, message = std::move(message)]() mutable {
                    if (const auto self = weak.lock()) self->write(std::move(message));
                });
            });
        read();
    }

    void read() {
        socket_.async_read(buffer_, [self = shared_from_this()](error_code error, size_t) {
            if (error) return self->leave();
            self->buffer_.clear(); // whatever it says means: ready for the next
            hubAcknowledge(self->shared_.hub, self->id_);
            self->read();
        });
    }

    /// The hub gives one message at a time, so that no write ever waits for another.
    void write(StreamMessage message) {
        if (id_ == 0) return;
        message_ = std::move(message);
        const bool pixels = message_.pixels != nullptr;
        socket_.binary(pixels);
        const net::const_buffer bytes =
            pixels ? net::const_buffer(message_.pixels->data(), message_.pixels->size())
                   : net::const_buffer(message_.text.data(), message_.text.size());
        socket_.async_write(bytes, [self = shared_from_this()](error_code error, size_t) {
            self->message_ = {};
            if (error) return self->leave();
            hubWritten(self->shared_.hub, self->id_);
        });
    }

    void leave() {
        if (id_ == 0) return;
        hubUnsubscribe(shared_.hub, id_);
        id_ = 0;
        beast::get_lowest_layer(socket_).close();
    }

    Shared& shared_;
    Place place_;
    websocket::stream<beast::tcp_stream> socket_;
    const int slot_;
    const ViewerOffer offer_;
    Header request_;
    beast::flat_buffer buffer_;
    StreamMessage message_; // on its way
    uint64_t id_ = 0;       // 0: not subscribed (any more)
};

// ---- a request ----

std::string_view viewOf(beast::string_view text) {
    return {text.data(), text.size()};
}

BrowserRequest requestOf(const Header& header) {
    BrowserRequest request;
    request.method = viewOf(header.method_string());
    request.target = viewOf(header.target());
    if (header.count(http::field::host) == 1) request.host = viewOf(header[http::field::host]);
    request.hasOrigin = header.count(http::field::origin) > 0;
    // Two of them are never one of ours.
    if (header.count(http::field::origin) == 1)
        request.origin = viewOf(header[http::field::origin]);
    request.upgrade = websocket::is_upgrade(header);
    return request;
}

/// One request on a connection of its own: one answer, then the end, or a viewer takes over.
class Request : public std::enable_shared_from_this<Request> {
public:
    Request(Shared& shared, tcp::socket socket)
        : shared_(shared), place_(shared.requests), stream_(std::move(socket)),
          buffer_(shared.limits.headerBytes) {
        error_code ignored;
        stream_.socket().set_option(tcp::no_delay(true), ignored);
    }

    /// Nothing of it was answered yet: it may go when the room is needed.
    bool reading() const { return reading_; }

    void giveUp() {
        net::post(stream_.get_executor(), [self = shared_from_this()] {
            if (self->reading_) self->stream_.close();
        });
    }

    void run() {
        parser_.header_limit(static_cast<uint32_t>(shared_.limits.headerBytes));
        parser_.body_limit(UINT64_MAX); // never read
        stream_.expires_after(shared_.limits.headerTime);
        http::async_read_header(
            stream_, buffer_, parser_,
            [self = shared_from_this()](error_code error, size_t) { self->decide(error); });
    }

private:
    void decide(error_code error) {
        reading_ = false;
        if (error == http::error::header_limit || error == http::error::buffer_overflow)
            return answer(431);
        if (error && error.category() == make_error_code(http::error::bad_method).category() &&
            error != http::error::end_of_stream && error != http::error::partial_message)
            return answer(400);
        if (error) return; // closed, or too slow
        const BrowserAnswer decided = answerRequest(requestOf(parser_.get()), shared_.accessKey);
        switch (decided.kind) {
        case BrowserAnswer::overlayPage:
            return answer(200, overlayPage(overlayKey(decided.slot), shared_.accessKey));
        case BrowserAnswer::indexPage:
            return answer(200, overlayIndexPage(shared_.listed, shared_.accessKey));
        case BrowserAnswer::viewer:
            return upgrade(decided);
        case BrowserAnswer::status:
            return answer(decided.code);
        }
    }

    void upgrade(const BrowserAnswer& decided) {
        if (shared_.viewers >= shared_.limits.viewersAtOnce) return answer(503);
        // Nothing may follow before our answer.
        if (buffer_.size() > 0) return answer(400);
        std::make_shared<Viewer>(shared_, std::move(stream_), decided)->run(parser_.release());
    }

    void answer(int code, std::string body = {}) {
        response_.version(11);
        response_.result(static_cast<unsigned>(code));
        response_.keep_alive(false);
        response_.set(http::field::cache_control, "no-store");
        response_.set("Referrer-Policy", "no-referrer"); // addresses hold the key
        if (code == 405) response_.set(http::field::allow, "GET");
        if (code == 426) response_.set(http::field::upgrade, "websocket");
        if (!body.empty()) response_.set(http::field::content_type, "text/html; charset=utf-8");
        response_.body() = std::move(body);
        response_.prepare_payload();
        stream_.expires_after(shared_.limits.answerTime);
        http::async_write(stream_, response_,
                          [self = shared_from_this()](error_code error, size_t) {
                              if (!error) self->linger();
                          });
    }

    /// Closing with bytes unread would reset the connection, and the answer with it.
    void linger() {
        error_code ignored;
        stream_.socket().shutdown(tcp::socket::shutdown_send, ignored);
        stream_.expires_after(shared_.limits.lingerTime);
        drain();
    }

    void drain() {
        buffer_.clear();
        stream_.async_read_some(buffer_.prepare(1024),
                                [self = shared_from_this()](error_code error, size_t count) {
                                    self->drained_ += count;
                                    if (!error && self->drained_ < self->shared_.limits.lingerBytes)
                                        self->drain();
                                });
    }

    Shared& shared_;
    Place place_;
    beast::tcp_stream stream_;
    beast::flat_buffer buffer_;
    http::request_parser<http::empty_body> parser_;
    http::response<http::string_body> response_;
    size_t drained_ = 0;
    std::atomic<bool> reading_{true};
};

} // namespace

// ---- the server ----

struct BrowserServer::Inside {
    explicit Inside(FrameHub& hub, const BrowserLimits& limits, const std::string& accessKey,
                    std::vector<int> listed)
        : shared{hub, limits, accessKey, std::move(listed)} {}

    // In this order: connections end with `io` and still use `shared`.
    Shared shared;
    net::io_context io{kWorkers};
    tcp::acceptor acceptor{net::make_strand(io)};
    net::steady_timer pause{acceptor.get_executor()};
    std::vector<std::thread> workers;
    std::deque<std::weak_ptr<Request>> waiting; // the oldest first; the acceptor's strand
    int port = 0;

    ListenResult listen(int wanted, bool allInterfaces) {
        const tcp::endpoint at(allInterfaces ? net::ip::address_v4::any()
                                             : net::ip::address_v4::loopback(),
                               static_cast<uint16_t>(wanted));
        error_code error;
        acceptor.open(at.protocol(), error);
        // Else the connections of the last run would hold the port for a minute.
        if (!error) acceptor.set_option(tcp::acceptor::reuse_address(true), error);
        if (error) return ListenResult::failed;
        acceptor.bind(at, error);
        if (error) return ListenResult::portInUse;
        acceptor.listen(tcp::acceptor::max_listen_connections, error);
        if (error == net::error::address_in_use) return ListenResult::portInUse;
        if (error) return ListenResult::failed;
        port = acceptor.local_endpoint(error).port();
        return error ? ListenResult::failed : ListenResult::listening;
    }

    void accept() {
        acceptor.async_accept(net::make_strand(io), [this](error_code error, tcp::socket socket) {
            if (error == net::error::operation_aborted) return;
            if (error) {
                pause.expires_after(kAcceptPause);
                pause.async_wait([this](error_code stopped) {
                    if (!stopped) accept();
                });
                return;
            }
            while (!waiting.empty() && waiting.front().expired())
                waiting.pop_front();
            if (shared.requests < shared.limits.requestsAtOnce || makeRoom()) {
                const auto request = std::make_shared<Request>(shared, std::move(socket));
                waiting.push_back(request);
                request->run();
            }
            accept();
        });
    }

    /// Whoever has kept silent for longest goes, so that connections without a request keep nobody
    /// out.
    bool makeRoom() {
        while (!waiting.empty()) {
            const auto oldest = waiting.front().lock();
            waiting.pop_front();
            if (!oldest || !oldest->reading()) continue;
            oldest->giveUp();
            return true;
        }
        return false;
    }

    void work() {
        nameThisThread("browser source");
        for (;;) {
            try {
                io.run();
                return;
            } catch (const std::exception& e) {
                logStatus("[browser source] %s\n", e.what()); // that connection is gone
            }
        }
    }
};

BrowserServer::BrowserServer(FrameHub& hub, const BrowserLimits& limits)
    : hub_(hub), limits_(limits) {}

BrowserServer::~BrowserServer() {
    stop();
}

ListenResult BrowserServer::start(int port, bool allInterfaces, const std::string& accessKey,
                                  std::vector<int> listed) {
    stop();
    try {
        auto inside = std::make_unique<Inside>(hub_, limits_, accessKey, std::move(listed));
        const ListenResult result = inside->listen(port, allInterfaces);
        if (result != ListenResult::listening) return result;
        inside_ = std::move(inside);
        inside_->accept();
        for (int i = 0; i < kWorkers; ++i)
            inside_->workers.emplace_back([at = inside_.get()] { at->work(); });
        return ListenResult::listening;
    } catch (const std::exception& e) {
        logStatus("[browser source] %s\n", e.what());
        stop();
        return ListenResult::failed;
    }
}

void BrowserServer::stop() {
    if (!inside_) return;
    inside_->io.stop();
    for (std::thread& worker : inside_->workers)
        worker.join();
    inside_.reset();
}

int BrowserServer::port() const {
    return inside_ ? inside_->port : 0;
}

} // namespace vt
