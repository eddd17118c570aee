// The messages of ACC's broadcasting port, whole, cut and bent, and the rules of the client on a
// hand-turned clock.
#include "base/utf8.h"
#include "support/acc_server.h"
#include "telemetry/readers/acc_broadcast_state.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <random>

namespace vt {
namespace {

using namespace test;

AccCar someCar(int index) {
    AccCar car;
    car.carIndex = index;
    car.carModel = 23;
    car.raceNumber = 900 + index;
    car.cupCategory = 2;
    car.currentDriver = 0;
    car.driverIndex = 0;
    car.driverCount = 1;
    car.gear = 5;
    car.worldX = 12.5f;
    car.worldY = -3.25f;
    car.yaw = 0.5f;
    car.location = 1;
    car.kmh = 251;
    car.position = index + 1;
    car.cupPosition = 1;
    car.trackPosition = 4;
    car.splinePosition = 0.625f;
    car.laps = 7;
    car.deltaMs = -1234;
    car.bestLapMs = 101'500;
    car.lastLapMs = 102'250;
    car.currentLapMs = 33'000;
    return car;
}

AccRealtime someUpdate() {
    AccRealtime update;
    update.eventIndex = 3;
    update.sessionIndex = 1;
    update.sessionType = 10;
    update.sessionPhase = 5;
    update.sessionTime = 60'000;
    update.sessionEndTime = 120'000;
    update.focusedCar = 4;
    update.timeOfDay = 50'000;
    update.ambientTemp = 21;
    update.trackTemp = 29;
    update.clouds = 3;
    update.rain = 2;
    update.wetness = 1;
    update.bestLapMs = 100'000;
    return update;
}

/// The client's rules with what they send and publish kept.
struct Client {
    AccBroadcastState state;
    std::vector<AccClientMessage> sent;
    std::vector<AccSnapshot> published;
    uint64_t now = 1000;
    AccBroadcastOut out{[this](const AccMessage& m) {
                            sent.push_back(accReadClient({m.bytes, m.size}));
                        },
                        [this](const AccSnapshot& s) { published.push_back(s); }};

    const AccSnapshot& working() const { return state.working; }
    void receive(const Datagram& bytes) { accBroadcastReceive(state, bytes, now, out); }
    void due(uint64_t laterMs = 0) {
        now += laterMs;
        accBroadcastDue(state, now, out);
    }
    void registered() {
        due();
        receive(accRegistrationResult(77, true));
    }
    int count(int type) const {
        return static_cast<int>(
            std::count_if(sent.begin(), sent.end(), [&](const auto& m) { return m.type == type; }));
    }
};

TEST(AccBroadcastMessages, AreBuiltAsTheSimReadsThem) {
    const AccMessage registration = accRegisterMessage("geheim", "cmd");
    const AccClientMessage read = accReadClient({registration.bytes, registration.size});
    EXPECT_TRUE(read.ok);
    EXPECT_EQ(read.version, 4);
    EXPECT_EQ(read.name, "Vantorel");
    EXPECT_EQ(read.password, "geheim");
    EXPECT_EQ(read.interval, 100);
    EXPECT_EQ(read.commandPassword, "cmd");
    const uint8_t plain[] = {10, 0x04, 0x03, 0x02, 0x01};
    const AccMessage request = accPlainMessage(kAccEntryListRequest, 0x01020304);
    ASSERT_EQ(request.size, sizeof plain);
    EXPECT_EQ(std::memcmp(request.bytes, plain, sizeof plain), 0);
    EXPECT_EQ(accRegisterMessage(std::string(600, 'x'), "").size, 0u);
}

TEST(AccBroadcastMessages, AreReadFieldByField) {
    Client client;
    client.registered();
    client.receive(accEntryList(77, {4, 9}));
    client.receive(accEntryCar(someCar(9), {{"Eva", "Nowak", "NOW"}}));
    client.receive(accCarUpdate(someCar(9)));
    client.receive(accTrackData(77, "Circuit", 11, 5793));
    client.receive(accRealtimeUpdate(someUpdate()));
    const AccSnapshot& s = client.working();
    ASSERT_EQ(s.carCount, 2);
    EXPECT_EQ(s.cars[0].carIndex, 4);
    EXPECT_EQ(s.cars[0].realtimeKnown, 0);
    const AccCar& car = s.cars[1];
    EXPECT_EQ(car.carModel, 23);
    EXPECT_EQ(car.raceNumber, 909);
    EXPECT_STREQ(car.firstName, "Eva");
    EXPECT_STREQ(car.surname, "Nowak");
    EXPECT_STREQ(car.shortName, "NOW");
    EXPECT_EQ(car.kmh, 251);
    EXPECT_EQ(car.position, 10);
    EXPECT_EQ(car.trackPosition, 4);
    EXPECT_FLOAT_EQ(car.splinePosition, 0.625f);
    EXPECT_EQ(car.laps, 7);
    EXPECT_EQ(car.deltaMs, -1234);
    EXPECT_EQ(car.bestLapMs, 101'500);
    EXPECT_EQ(car.lastLapMs, 102'250);
    EXPECT_EQ(car.currentLapMs, 33'000);
    EXPECT_STREQ(s.trackName, "Circuit");
    EXPECT_EQ(s.trackMeters, 5793);
    EXPECT_EQ(s.trackKnown, 1);
    EXPECT_EQ(s.eventIndex, 3);
    EXPECT_EQ(s.sessionType, 10);
    EXPECT_EQ(s.focusedCar, 4);
    EXPECT_EQ(s.trackTemp, 29);
    EXPECT_EQ(s.wetness, 1);
    EXPECT_EQ(s.bestLapMs, 100'000);

    AccRealtime replay = someUpdate();
    replay.replay = 1;
    client.receive(accRealtimeUpdate(replay));
    EXPECT_EQ(client.working().timeOfDay, 50'000);
    AccCar none = someCar(9);
    none.bestLapMs = -1; // goes out as 0x7fffffff
    client.receive(accCarUpdate(none));
    EXPECT_EQ(client.working().cars[1].bestLapMs, -1);
}

TEST(AccBroadcastMessages, CutAnywhereTheyChangeNothing) {
    const std::pair<Datagram, size_t> messages[] = {
        // With the length from which on the sim's message says all that is read.
        {accRegistrationResult(5, true, "why"), 0},
        {accRealtimeUpdate(someUpdate()), 0},
        {accCarUpdate(someCar(1)), 0},
        {accEntryList(5, {1, 2, 3}), 0},
        {accTrackData(5, "Long name", 2, 4000), 1 + 4 + 2 + 9 + 4 + 4},
        {accEntryCar(someCar(1), {{"A", "B", "C"}, {"D", "E", "F"}}), 0},
    };
    for (const auto& [whole, enough] : messages) {
        for (size_t length = 1; length < (enough ? enough : whole.size()); ++length) {
            Client client;
            client.registered();
            client.receive(accEntryList(77, {1}));
            const AccSnapshot before = client.working();
            const size_t said = client.sent.size() + client.published.size();
            client.receive(Datagram(whole.begin(), whole.begin() + static_cast<long>(length)));
            const AccSnapshot& after = client.working();
            EXPECT_EQ(after.carCount, before.carCount) << int(whole[0]) << " at " << length;
            EXPECT_EQ(after.cars[0].realtimeKnown + after.cars[0].entryKnown, 0);
            EXPECT_EQ(after.connectionId, 77);
            EXPECT_EQ(after.haveRealtime, 0);
            EXPECT_EQ(after.trackKnown, 0);
            EXPECT_EQ(client.sent.size() + client.published.size(), said);
        }
    }
}

TEST(AccBroadcastMessages, NamesEndAtACharactersBorder) {
    std::string wide;
    for (int i = 0; i < 60; ++i)
        wide += "\xE2\x82\xAC"; // three bytes each
    for (int shift = 0; shift < 3; ++shift) {
        const std::string name = std::string(static_cast<size_t>(shift), 'x') + wide;
        Client client;
        client.registered();
        client.receive(accEntryList(77, {1}));
        client.receive(accEntryCar(someCar(1), {{name, name, name}}));
        client.receive(accTrackData(77, name, 1, 1000));
        const AccCar& car = client.working().cars[0];
        for (const char* text : {car.firstName, car.surname, car.shortName}) {
            EXPECT_TRUE(utf8Valid(text)) << text;
            EXPECT_EQ(name.substr(0, std::strlen(text)), text);
        }
        EXPECT_GE(std::strlen(car.firstName), sizeof car.firstName - 3);
        EXPECT_TRUE(utf8Valid(client.working().trackName));
        client.due(3001);
        client.receive(accRegistrationResult(-1, false, name));
        EXPECT_TRUE(utf8Valid(client.working().error));
        EXPECT_GE(std::strlen(client.working().error), 125u);
    }
}

TEST(AccBroadcastMessages, TheCurrentDriversNamesCount) {
    Client client;
    client.registered();
    AccCar car = someCar(1);
    car.currentDriver = 1;
    client.receive(accEntryCar(car, {{"A", "One", "ONE"}, {"B", "Two", "TWO"}}));
    EXPECT_STREQ(client.working().cars[0].surname, "Two");
    car.currentDriver = 9; // nobody
    client.receive(accEntryCar(car, {{"A", "One", "ONE"}}));
    EXPECT_STREQ(client.working().cars[0].surname, "");
}

TEST(AccBroadcastMessages, NumbersThatAreNoneDoNotGetIn) {
    Client client;
    AccCar car = someCar(1);
    car.splinePosition = std::numeric_limits<float>::quiet_NaN();
    car.worldX = std::numeric_limits<float>::infinity();
    client.receive(accCarUpdate(car));
    EXPECT_EQ(client.working().cars[0].splinePosition, 0);
    EXPECT_EQ(client.working().cars[0].worldX, 0);
}

TEST(AccBroadcastMessages, RandomBytesBreakNothing) {
    Client client;
    client.registered();
    std::mt19937 random(7);
    const Datagram seeds[] = {accRealtimeUpdate(someUpdate()), accCarUpdate(someCar(1)),
                              accEntryList(77, {1, 2, 3}), accTrackData(77, "T", 1, 2),
                              accEntryCar(someCar(3), {{"A", "B", "C"}})};
    for (int i = 0; i < 20'000; ++i) {
        Datagram bytes = seeds[random() % std::size(seeds)];
        for (int k = 0; k < 4; ++k)
            bytes[random() % bytes.size()] = static_cast<uint8_t>(random());
        if (random() % 4 == 0) bytes.resize(random() % bytes.size() + 1);
        client.receive(bytes);
        client.due(1);
        client.published.clear();
        client.sent.clear();
        ASSERT_LE(client.working().carCount, kAccMaxCars);
        for (int c = 0; c < client.working().carCount; ++c)
            ASSERT_TRUE(utf8Valid(client.working().cars[c].surname));
    }
}

TEST(AccBroadcastClient, RegistersUntilItIsLetIn) {
    Client client;
    for (int i = 0; i < 50; ++i)
        client.due(100); // 5 s
    EXPECT_EQ(client.count(kAccRegister), 3);
    client.receive(accRegistrationResult(-1, false, "wrong password"));
    EXPECT_EQ(client.working().state, kAccRejected);
    EXPECT_STREQ(client.working().error, "wrong password");
    ASSERT_FALSE(client.published.empty());
    EXPECT_EQ(client.published.back().state, kAccRejected);
    for (int i = 0; i < 40; ++i)
        client.due(100);
    EXPECT_EQ(client.count(kAccRegister), 5) << "a rejection ends nothing";
    EXPECT_EQ(client.count(kAccEntryListRequest), 0);
    client.receive(accRegistrationResult(12, true));
    EXPECT_EQ(client.working().state, kAccRegistered);
    EXPECT_EQ(client.count(kAccEntryListRequest), 1);
    EXPECT_EQ(client.count(kAccTrackDataRequest), 1);
    EXPECT_EQ(client.sent.back().connectionId, 12);
    while (client.state.unanswered > 0)
        client.receive(accRegistrationResult(12, true));
    client.receive(accRegistrationResult(666, true));
    client.receive(accRegistrationResult(-1, false));
    EXPECT_EQ(client.working().connectionId, 12) << "nobody asked";
}

TEST(AccBroadcastClient, AsksForEntriesAndTrackInTheirTime) {
    Client client;
    client.registered();
    client.receive(accTrackData(77, "Circuit", 1, 4000));
    client.sent.clear();
    for (int i = 0; i < 10; ++i) { // 10 s with a live sim
        client.due(1000);
        client.receive({kAccBroadcastingEvent});
    }
    EXPECT_EQ(client.count(kAccEntryListRequest), 2);
    EXPECT_EQ(client.count(kAccTrackDataRequest), 0) << "the track is known";

    client.sent.clear();
    client.receive(accCarUpdate(someCar(50)));
    client.due(300);
    EXPECT_EQ(client.count(kAccEntryListRequest), 1) << "a new car: at once";
    client.sent.clear();
    for (int i = 0; i < 1000; ++i) { // a storm of new cars for a second
        client.receive(accEntryList(77, {}));
        client.receive(accCarUpdate(someCar(1000 + i)));
        client.due(1);
    }
    EXPECT_LE(client.count(kAccEntryListRequest), 5);
}

TEST(AccBroadcastClient, GivesUpASilentSimAndComesBack) {
    Client client;
    client.registered();
    client.receive(accTrackData(77, "Circuit", 1, 4000));
    client.receive(accCarUpdate(someCar(1)));
    client.due(3000);
    EXPECT_EQ(client.working().registered, 1) << "3000 ms are allowed";
    client.due(1);
    EXPECT_EQ(client.working().state, kAccTimedOut);
    EXPECT_EQ(client.published.back().registered, 0);
    EXPECT_EQ(client.published.back().carCount, 0);
    EXPECT_EQ(client.published.back().connectionId, -1);
    EXPECT_EQ(client.count(kAccRegister), 2) << "and asks again at once";
    client.receive(accRegistrationResult(78, true));
    EXPECT_EQ(client.working().state, kAccRegistered);
    EXPECT_EQ(client.sent.back().connectionId, 78);
}

TEST(AccBroadcastClient, PublishesWholeRounds) {
    Client client;
    client.registered();
    client.receive(accRealtimeUpdate(someUpdate()));
    for (int round = 0; round < 3; ++round) {
        AccRealtime update = someUpdate();
        update.sessionTime = static_cast<float>(round);
        for (int i = 0; i < 5; ++i) {
            AccCar car = someCar(i);
            car.laps = round;
            client.receive(accCarUpdate(car));
        }
        const size_t before = client.published.size();
        client.receive(accRealtimeUpdate(update));
        ASSERT_EQ(client.published.size(), before + 1);
        const AccSnapshot& snapshot = client.published.back();
        ASSERT_EQ(snapshot.carCount, 5);
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(snapshot.cars[i].laps, round);
        EXPECT_NE(snapshot.sessionTime, round) << "belongs to the next round";
    }
}

TEST(AccBroadcastClient, AnotherSessionStartsEmpty) {
    Client client;
    client.registered();
    client.receive(accTrackData(77, "Circuit", 1, 4000));
    client.receive(accRealtimeUpdate(someUpdate()));
    client.receive(accCarUpdate(someCar(1)));
    AccRealtime next = someUpdate();
    next.sessionIndex = 2;
    client.receive(accRealtimeUpdate(next));
    EXPECT_EQ(client.published.back().carCount, 1) << "the old session's last round";
    EXPECT_EQ(client.working().carCount, 0);
    EXPECT_EQ(client.working().trackKnown, 0);
    client.sent.clear();
    client.due(300);
    EXPECT_EQ(client.count(kAccEntryListRequest), 1);
    for (int i = 0; i < 5; ++i) {
        client.due(1000);
        client.receive({kAccBroadcastingEvent});
    }
    EXPECT_EQ(client.count(kAccTrackDataRequest), 1) << "not more often than every 5 s";
}

TEST(AccBroadcastClient, KeepsWhatIsKnownOfCarsThatRemain) {
    Client client;
    client.registered();
    std::vector<int> all;
    for (int i = 0; i < kAccMaxCars; ++i) {
        client.receive(accEntryCar(someCar(i), {{"N", std::to_string(i), "X"}}));
        client.receive(accCarUpdate(someCar(i)));
        all.push_back(i);
    }
    client.receive(accCarUpdate(someCar(500)));
    EXPECT_EQ(client.working().carCount, kAccMaxCars) << "full";
    std::vector<int> changed = {700, 95, 3, 3, 701};
    client.receive(accEntryList(77, changed));
    const AccSnapshot& s = client.working();
    ASSERT_EQ(s.carCount, 4);
    EXPECT_EQ(s.cars[0].carIndex, 700);
    EXPECT_EQ(s.cars[0].entryKnown + s.cars[0].realtimeKnown, 0);
    EXPECT_STREQ(s.cars[1].surname, "95");
    EXPECT_STREQ(s.cars[2].surname, "3");
    EXPECT_EQ(s.cars[2].realtimeKnown, 1);
    std::reverse(all.begin(), all.end());
    for (int i = 0; i < 40; ++i)
        all.push_back(1000 + i);
    client.receive(accEntryList(77, all));
    EXPECT_EQ(client.working().carCount, kAccMaxCars);
    EXPECT_STREQ(client.working().cars[92].surname, "3");
}

TEST(AccBroadcastConfig, IsReadAsTheGameAndItsUsersWriteIt) {
    const auto utf16 = [](std::string_view text, bool mark) {
        std::string out = mark ? "\xFF\xFE" : "";
        for (const char c : text)
            out += {c, '\0'};
        return out;
    };
    const std::string game = R"({"updListenerPort": 9123, "connectionPassword": "asd",
                                 "commandPassword": "cmd"})";
    for (const std::string& bytes :
         {game, "\xEF\xBB\xBF" + game, utf16(game, true), utf16(game, false)}) {
        const AccBroadcastConfig config = accParseBroadcastConfig(bytes);
        EXPECT_EQ(config.port, 9123);
        EXPECT_EQ(config.connectionPassword, "asd");
        EXPECT_EQ(config.commandPassword, "cmd");
    }
    const std::pair<const char*, int> ports[] = {
        {R"({"updListenerPort": 9001, "udpListenerPort": 9002})", 9001},
        {R"({"updListenerPort": "9001", "udpListenerPort": 9002})", 9002},
        {R"({"updListenerPort": 0, "udpListenerPort": 65536})", 9000},
        {R"({"updListenerPort": 65536, "udpListenerPort": 65535})", 65535},
        {"{", 9000},
        {"[9001]", 9000},
        {"", 9000},
        {"\xFF\xFE", 9000},
        {"7", 9000},
    };
    for (const auto& [text, port] : ports)
        EXPECT_EQ(accParseBroadcastConfig(text).port, port) << text;
    const AccBroadcastConfig odd = accParseBroadcastConfig(
        R"({"connectionPassword": 5, "commandPassword": ")" + std::string(62, 'x') + "\u00E9\"}");
    EXPECT_EQ(odd.connectionPassword, "");
    EXPECT_EQ(odd.commandPassword, std::string(62, 'x')) << "the cut does not split a character";
}

} // namespace
} // namespace vt
