// The other end of ACC's broadcasting port: builds what the sim sends, understands what it is sent,
// and a small server on 127.0.0.1 that does both.
#pragma once
#include "telemetry/readers/acc_broadcast_messages.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <netinet/in.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace vt::test {

struct AccBytes {
    std::vector<uint8_t> bytes;

    template <class T>
    AccBytes& put(T value) {
        const size_t at = bytes.size();
        bytes.resize(at + sizeof value);
        std::memcpy(bytes.data() + at, &value, sizeof value);
        return *this;
    }
    AccBytes& text(std::string_view text) {
        put(static_cast<uint16_t>(text.size()));
        bytes.insert(bytes.end(), text.begin(), text.end());
        return *this;
    }
    /// -1 is sent as the sim sends "none". `splits` are three thirds.
    AccBytes& lap(int32_t ms, int splits = 3) {
        put(ms < 0 ? kAccNoLapMs : ms).put(uint16_t{0}).put(uint16_t{0});
        put(static_cast<uint8_t>(splits));
        for (int i = 0; i < splits; ++i)
            put(ms < 0 ? kAccNoLapMs : ms / 3);
        return put(uint8_t{0}).put(uint8_t{1}).put(uint8_t{0}).put(uint8_t{0});
    }
};

using Datagram = std::vector<uint8_t>;

inline Datagram accRegistrationResult(int32_t connectionId, bool success,
                                      std::string_view error = "") {
    AccBytes out;
    out.put(uint8_t{kAccRegistrationResult}).put(connectionId);
    out.put(static_cast<uint8_t>(success)).put(uint8_t{0}).text(error);
    return out.bytes;
}

inline Datagram accRealtimeUpdate(const AccRealtime& u) {
    AccBytes out;
    out.put(uint8_t{kAccRealtimeUpdate});
    out.put(static_cast<uint16_t>(u.eventIndex)).put(static_cast<uint16_t>(u.sessionIndex));
    out.put(static_cast<uint8_t>(u.sessionType)).put(static_cast<uint8_t>(u.sessionPhase));
    out.put(u.sessionTime).put(u.sessionEndTime).put(u.focusedCar);
    out.text("Drivable").text("Cockpit").text("Basic HUD");
    out.put(u.replay);
    if (u.replay) out.put(1.0f).put(2.0f);
    out.put(u.timeOfDay);
    for (const int32_t byte : {u.ambientTemp, u.trackTemp, u.clouds, u.rain, u.wetness})
        out.put(static_cast<uint8_t>(byte));
    return out.lap(u.bestLapMs).bytes;
}

inline Datagram accCarUpdate(const AccCar& car) {
    AccBytes out;
    out.put(uint8_t{kAccRealtimeCarUpdate}).put(static_cast<uint16_t>(car.carIndex));
    out.put(static_cast<uint16_t>(car.driverIndex)).put(static_cast<uint8_t>(car.driverCount));
    out.put(static_cast<uint8_t>(car.gear)).put(car.worldX).put(car.worldY).put(car.yaw);
    out.put(static_cast<uint8_t>(car.location));
    for (const int32_t word : {car.kmh, car.position, car.cupPosition, car.trackPosition})
        out.put(static_cast<uint16_t>(word));
    out.put(car.splinePosition).put(static_cast<uint16_t>(car.laps)).put(car.deltaMs);
    return out.lap(car.bestLapMs).lap(car.lastLapMs).lap(car.currentLapMs, 1).bytes;
}

inline Datagram accEntryList(int32_t connectionId, const std::vector<int>& indices) {
    AccBytes out;
    out.put(uint8_t{kAccEntryList}).put(connectionId);
    out.put(static_cast<uint16_t>(indices.size()));
    for (const int index : indices)
        out.put(static_cast<uint16_t>(index));
    return out.bytes;
}

inline Datagram accTrackData(int32_t connectionId, std::string_view name, int32_t id,
                             int32_t meters) {
    AccBytes out;
    out.put(uint8_t{kAccTrackData}).put(connectionId).text(name).put(id).put(meters);
    // Camera sets and HUD pages follow.
    out.put(uint8_t{1}).text("set1").put(uint8_t{1}).text("camera").put(uint8_t{1}).text("page");
    return out.bytes;
}

struct AccDriverNames {
    std::string first, last, shortName;
};

inline Datagram accEntryCar(const AccCar& car, const std::vector<AccDriverNames>& drivers,
                            std::string_view team = "Team") {
    AccBytes out;
    out.put(uint8_t{kAccEntryListCar}).put(static_cast<uint16_t>(car.carIndex));
    out.put(static_cast<uint8_t>(car.carModel)).text(team).put(car.raceNumber);
    out.put(static_cast<uint8_t>(car.cupCategory)).put(static_cast<uint8_t>(car.currentDriver));
    out.put(uint16_t{5}).put(static_cast<uint8_t>(drivers.size()));
    for (const AccDriverNames& driver : drivers)
        out.text(driver.first)
            .text(driver.last)
            .text(driver.shortName)
            .put(uint8_t{1})
            .put(uint16_t{7});
    return out.bytes;
}

/// What a client sends.
struct AccClientMessage {
    int type = -1;
    int version = 0, interval = 0, connectionId = -1;
    std::string name, password, commandPassword;
    bool ok = false; // whole, and nothing behind it
};
inline AccClientMessage accReadClient(ByteView bytes) {
    AccCursor from{bytes};
    AccClientMessage message;
    message.type = from.take<uint8_t>();
    if (message.type == kAccRegister) {
        message.version = from.take<uint8_t>();
        message.name = from.text();
        message.password = from.text();
        message.interval = from.take<int32_t>();
        message.commandPassword = from.text();
    } else {
        message.connectionId = from.take<int32_t>();
    }
    message.ok = from.ok && from.at == bytes.size();
    return message;
}

/// What the server tells.
struct AccWorld {
    AccRealtime realtime;
    std::vector<AccCar> cars;
    std::vector<AccDriverNames> drivers; // beside `cars`; those without one have the car's names
    std::string track = "club";
    int32_t trackId = 3, trackMeters = 3000;
};

class AccServer {
public:
    struct Client {
        sockaddr_in address{};
        int32_t id = 0;
        uint64_t intervalMs = 100, sentMs = 0;
    };
    AccWorld world;
    std::string password, commandPassword;
    std::vector<Client> clients;
    std::vector<AccClientMessage> heard; // everything, for tests to look at

    ~AccServer() { close(); }
    bool open(uint16_t port) {
        close();
        fd_ = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(port);
        socklen_t length = sizeof address;
        if (fd_ < 0 || bind(fd_, reinterpret_cast<sockaddr*>(&address), length) != 0) return false;
        getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length);
        port_ = ntohs(address.sin_port);
        return true;
    }
    void close() {
        if (fd_ >= 0) ::close(fd_);
        fd_ = -1;
        clients.clear();
    }
    uint16_t port() const { return port_; }

    /// Answers what came in.
    void serve() {
        uint8_t bytes[1024];
        sockaddr_in from{};
        socklen_t length = sizeof from;
        ssize_t n = 0;
        while ((n = recvfrom(fd_, bytes, sizeof bytes, 0, reinterpret_cast<sockaddr*>(&from),
                             &length)) >= 0) {
            const AccClientMessage message = accReadClient({bytes, static_cast<size_t>(n)});
            if (heard.size() < 10000) heard.push_back(message);
            if (message.ok) answer(message, from);
            length = sizeof from;
        }
    }
    /// Serves, and sends a round to every client whose interval is over.
    void tick(uint64_t nowMs) {
        serve();
        for (Client& client : clients) {
            if (nowMs - client.sentMs < client.intervalMs) continue;
            client.sentMs = nowMs;
            sendRound(client.address);
        }
    }
    void sendAll(const Datagram& datagram) {
        for (const Client& client : clients)
            send(client.address, datagram);
    }
    void sendRound(const sockaddr_in& to) {
        send(to, accRealtimeUpdate(world.realtime));
        for (const AccCar& car : world.cars)
            send(to, accCarUpdate(car));
    }

private:
    void send(const sockaddr_in& to, const Datagram& datagram) {
        sendto(fd_, datagram.data(), datagram.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
               reinterpret_cast<const sockaddr*>(&to), sizeof to);
    }
    static bool same(const sockaddr_in& a, const sockaddr_in& b) {
        return a.sin_port == b.sin_port;
    }

    void answer(const AccClientMessage& message, const sockaddr_in& from) {
        const auto known = std::find_if(clients.begin(), clients.end(),
                                        [&](const Client& c) { return same(c.address, from); });
        if (message.type == kAccRegister) {
            if (message.version != kAccProtocolVersion || message.password != password) {
                send(from, accRegistrationResult(-1, false, "wrong connection password"));
                return;
            }
            if (known != clients.end()) clients.erase(known);
            clients.push_back({from, ++lastId_, static_cast<uint64_t>(message.interval), 0});
            send(from, accRegistrationResult(lastId_, true));
            return;
        }
        if (known == clients.end() || known->id != message.connectionId) return;
        if (message.type == kAccUnregister)
            clients.erase(known);
        else if (message.type == kAccTrackDataRequest)
            send(from, accTrackData(known->id, world.track, world.trackId, world.trackMeters));
        else if (message.type == kAccEntryListRequest)
            sendEntries(from, known->id);
    }
    void sendEntries(const sockaddr_in& to, int32_t id) {
        std::vector<int> indices;
        for (const AccCar& car : world.cars)
            indices.push_back(car.carIndex);
        send(to, accEntryList(id, indices));
        for (size_t i = 0; i < world.cars.size(); ++i) {
            const AccCar& car = world.cars[i];
            AccDriverNames names{car.firstName, car.surname, car.shortName};
            if (i < world.drivers.size()) names = world.drivers[i];
            send(to, accEntryCar(car, {names}));
        }
    }

    int fd_ = -1;
    uint16_t port_ = 0;
    int32_t lastId_ = 0;
};

} // namespace vt::test
