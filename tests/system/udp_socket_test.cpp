#include "platform/named_presence.h"
#include "platform/udp_socket.h"
#include "support/eventually.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <csignal>
#include <cstring>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace vt;

namespace {

constexpr int kLongMs = 30000; // a busy machine delivers late

int64_t nowMs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000 + now.tv_nsec / 1'000'000;
}

} // namespace

TEST(UdpSocket, DatagramsComeWholeInOrderAndWithTheirTrueLength) {
    UdpSocket from, to;
    ASSERT_TRUE(from.open(0));
    ASSERT_TRUE(to.open(0));
    ASSERT_NE(to.port(), 0);
    char buffer[8];
    EXPECT_EQ(to.receive(buffer, sizeof buffer), -1) << "nothing waits";
    EXPECT_TRUE(from.send(to.port(), "one", 3));
    EXPECT_TRUE(from.send(to.port(), "", 0));
    EXPECT_TRUE(from.send(to.port(), "longer than the buffer", 22));
    EXPECT_TRUE(from.send(to.port(), "last", 4));
    ASSERT_TRUE(to.wait(kLongMs));
    EXPECT_EQ(to.receive(buffer, sizeof buffer), 3);
    EXPECT_EQ(std::memcmp(buffer, "one", 3), 0);
    ASSERT_TRUE(to.wait(kLongMs));
    EXPECT_EQ(to.receive(buffer, sizeof buffer), 0) << "an empty datagram is a datagram";
    ASSERT_TRUE(to.wait(kLongMs));
    EXPECT_EQ(to.receive(buffer, sizeof buffer), 22);
    EXPECT_EQ(std::memcmp(buffer, "longer t", 8), 0);
    ASSERT_TRUE(to.wait(kLongMs));
    EXPECT_EQ(to.receive(buffer, sizeof buffer), 4);
    EXPECT_EQ(to.receive(buffer, sizeof buffer), -1);
}

TEST(UdpSocket, APortBelongsToOneUnlessAllShareIt) {
    UdpSocket first, second;
    ASSERT_TRUE(first.open(0));
    const uint16_t port = first.port();
    EXPECT_FALSE(second.open(port));
    EXPECT_FALSE(second.isOpen());
    EXPECT_EQ(second.port(), 0);
    EXPECT_FALSE(second.open(port, false, true)) << "the first did not agree to share";
    first.close();
    EXPECT_TRUE(second.open(port, false, true));
    EXPECT_TRUE(first.open(port, false, true));
    second.close();
    EXPECT_TRUE(first.open(port)) << "opening closes first";
}

TEST(UdpSocket, AnUnreachablePortSpoilsNothing) {
    UdpSocket socket, gone;
    ASSERT_TRUE(socket.open(0));
    ASSERT_TRUE(gone.open(0));
    const uint16_t nobody = gone.port();
    gone.close();
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(socket.send(nobody, "x", 1));
    EXPECT_TRUE(socket.send(socket.port(), "y", 1));
    ASSERT_TRUE(socket.wait(kLongMs));
    char c = 0;
    EXPECT_EQ(socket.receive(&c, 1), 1);
    EXPECT_EQ(c, 'y');
}

TEST(UdpSocket, AClosedOneDoesNothing) {
    UdpSocket socket;
    char c;
    EXPECT_EQ(socket.receive(&c, 1), -1);
    EXPECT_FALSE(socket.wait(1000)) << "and at once";
    EXPECT_FALSE(socket.send(9, "x", 1));
    ASSERT_TRUE(socket.open(0));
    std::vector<char> tooLong(70000);
    EXPECT_FALSE(socket.send(socket.port(), tooLong.data(), tooLong.size()));
}

// A signal that some library handles must not cut a wait short: readers would look 20 times as
// often as they were told.
TEST(UdpSocket, WaitsThroughSignalsAndNeverForEver) {
    UdpSocket socket;
    ASSERT_TRUE(socket.open(0));
    struct sigaction action {
    }, before{};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, &before);
    itimerval timer{{0, 5000}, {0, 5000}}, off{};
    setitimer(ITIMER_REAL, &timer, nullptr);
    const int64_t start = nowMs();
    EXPECT_FALSE(socket.wait(60));
    setitimer(ITIMER_REAL, &off, nullptr);
    sigaction(SIGALRM, &before, nullptr);
    EXPECT_GE(nowMs() - start, 59);
    EXPECT_FALSE(socket.wait(-1)) << "a negative time is none at all";
}

TEST(UdpSocket, OnlyAllInterfacesHearOtherAddresses) {
    UdpSocket local, all;
    ASSERT_TRUE(local.open(0));
    ASSERT_TRUE(all.open(0, true));
    const int sender = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ASSERT_GE(sender, 0);
    // All of 127.0.0.0/8 is this machine, so .2 stands for another of its addresses.
    sockaddr_in to{};
    to.sin_family = AF_INET;
    inet_pton(AF_INET, "127.0.0.2", &to.sin_addr);
    for (const uint16_t port : {local.port(), all.port()}) {
        to.sin_port = htons(port);
        sendto(sender, "x", 1, 0, reinterpret_cast<sockaddr*>(&to), sizeof to);
    }
    EXPECT_TRUE(all.wait(kLongMs));
    EXPECT_FALSE(local.wait(20));
    close(sender);
}

TEST(NamedPresence, LivesAsLongAsItsOwner) {
    const std::string name = "Local\\vt_presence_" + std::to_string(getpid());
    EXPECT_FALSE(namedPresenceExists(name));
    {
        NamedPresence presence, second;
        ASSERT_TRUE(presence.open(name));
        EXPECT_TRUE(namedPresenceExists(name));
        EXPECT_TRUE(namedPresenceExists(name.substr(6))) << "the bare name is the same one";
        EXPECT_FALSE(second.open(name));
        presence.close();
        EXPECT_FALSE(namedPresenceExists(name));
        ASSERT_TRUE(presence.open(name));
    }
    EXPECT_FALSE(namedPresenceExists(name));

    const pid_t owner = fork();
    if (owner == 0) {
        NamedPresence presence;
        presence.open(name);
        for (;;)
            pause();
    }
    EXPECT_TRUE(test::eventually([&] { return namedPresenceExists(name); }));
    kill(owner, SIGKILL);
    waitpid(owner, nullptr, 0);
    EXPECT_FALSE(namedPresenceExists(name));
}
