// A client of the browser source by hand: bytes on a socket, so that the server's words are seen as
// they are.
#pragma once
#include <arpa/inet.h>
#include <cstdint>
#include <cstring>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace vt::test {

constexpr int kPatience = 20'000; // ms; a busy machine takes its time

class BrowserClient {
public:
    explicit BrowserClient(int port, int receiveBuffer = 0) {
        fd_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (receiveBuffer)
            setsockopt(fd_, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        connected_ = connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }
    ~BrowserClient() { close(fd_); }
    BrowserClient(const BrowserClient&) = delete;
    BrowserClient& operator=(const BrowserClient&) = delete;

    bool connected() const { return connected_; }
    void say(const std::string& bytes) { ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL); }

    /// Exactly `count` bytes; fewer when the other side ended or time ran out.
    std::string take(size_t count, int milliseconds = kPatience) {
        while (pending_.size() < count && readSome(milliseconds)) {
        }
        const std::string out = pending_.substr(0, count);
        pending_.erase(0, out.size());
        return out;
    }
    /// Up to the end of the connection.
    std::string rest() { return take(SIZE_MAX); }
    /// The other side ends within the time.
    bool ended(int milliseconds = kPatience) {
        while (readSome(milliseconds)) {
        }
        return ended_;
    }

    std::string head() {
        while (pending_.find("\r\n\r\n") == std::string::npos && readSome(kPatience)) {
        }
        const size_t end = pending_.find("\r\n\r\n");
        return take(end == std::string::npos ? pending_.size() : end + 4);
    }

    /// The status of one request; the whole answer in `answer`.
    int ask(const std::string& method, const std::string& target, const std::string& fields = {}) {
        say(method + " " + target + " HTTP/1.1\r\nHost: 127.0.0.1:1\r\n" + fields + "\r\n");
        answer = head();
        return answer.size() > 12 ? std::atoi(answer.c_str() + 9) : 0;
    }
    int upgrade(const std::string& target, const std::string& fields = {}) {
        return ask("GET", target,
                   "Connection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 13\r\n"
                   "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n" +
                       fields);
    }

    struct Message {
        int kind = -1; // 1 text, 2 binary, 8 close; -1: none came
        std::string bytes;
    };
    Message message(int milliseconds = kPatience) {
        Message out;
        const std::string start = take(2, milliseconds);
        if (start.size() < 2 || !(start[0] & 0x80)) return out; // whole messages alone
        uint64_t length = start[1] & 0x7F;
        if (length >= 126) {
            const std::string more = take(length == 126 ? 2 : 8);
            length = 0;
            for (const char byte : more)
                length = length << 8 | static_cast<uint8_t>(byte);
        }
        out.kind = start[0] & 0x0F;
        out.bytes = take(length);
        return out.kind == 9 ? message(milliseconds) : out; // a ping is no message
    }
    /// One frame of a client: masked with zeros. `lead` is its first byte, as 0x81 for a text.
    void sendFrame(int lead, const std::string& text) {
        std::string frame(1, static_cast<char>(lead));
        if (text.size() < 126) {
            frame += static_cast<char>(0x80 | text.size());
        } else {
            frame += static_cast<char>(0x80 | 126);
            frame += static_cast<char>(text.size() >> 8);
            frame += static_cast<char>(text.size() & 255);
        }
        say(frame + std::string(4, '\0') + text);
    }
    void acknowledge() { sendFrame(0x81, "k"); }

    std::string answer;

private:
    bool readSome(int milliseconds) {
        pollfd ready{fd_, POLLIN, 0};
        if (poll(&ready, 1, milliseconds) <= 0) return false;
        char block[65536];
        const ssize_t n = recv(fd_, block, sizeof block, 0);
        if (n <= 0) {
            ended_ = true;
            return false;
        }
        pending_.append(block, static_cast<size_t>(n));
        return true;
    }

    int fd_ = -1;
    bool connected_ = false, ended_ = false;
    std::string pending_;
};

} // namespace vt::test
