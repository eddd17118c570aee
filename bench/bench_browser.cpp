// What overlays in a browser cost: conversion of pixels, a paint without a viewer, a capture.
//
// Two more modes help tools/check_browser:
//   bench_browser --serve PORT KEY WIDTH HEIGHT HZ SECONDS [PICTURES]
//     serves slot "relative"; the first 8 pixels of each picture tell when it was painted
//     (microseconds since 1970, a byte in the red of each, the lowest first). PICTURES is a file of
//     straight RGBA, played to and fro; without it every part of the picture changes each time.
//   bench_browser --watch PORT KEY SECONDS whole|parts SLOT:COUNT...
//     as many viewers, which answer each message at once; prints how many pictures and megabytes
//     each got, and of --serve how old the pictures were.
#include "streaming/browser_source.h"
#include "streaming/straight_alpha.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <random>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace vt;

enum PictureKind { kOverlayLike, kNoise, kEmpty, kOpaque };

std::vector<uint8_t> premultiplied(int width, int height, PictureKind kind) {
    std::mt19937 random(1);
    std::vector<uint8_t> bytes(static_cast<size_t>(width) * height * 4);
    for (size_t i = 0; i < bytes.size(); i += 4) {
        // As overlays are: mostly one tint, text and edges in between.
        const bool detail = kind == kNoise || (kind == kOverlayLike && random() % 16 == 0);
        const unsigned alpha = kind == kEmpty    ? 0
                               : kind == kOpaque ? 255
                               : detail          ? random() % 256
                                                 : 146;
        for (size_t c = 0; c < 3; ++c)
            bytes[i + c] = static_cast<uint8_t>(detail ? random() % (alpha + 1) : alpha / 8);
        bytes[i + 3] = static_cast<uint8_t>(alpha);
    }
    return bytes;
}

void convert(benchmark::State& state) {
    const int width = static_cast<int>(state.range(1)), height = static_cast<int>(state.range(2));
    const auto in = premultiplied(width, height, static_cast<PictureKind>(state.range(0)));
    std::vector<uint8_t> out(in.size());
    for (auto _ : state) {
        straightRgba(in.data(), width, height, width * 4, out.data(), width * 4);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(in.size()));
}
BENCHMARK(convert)
    ->ArgNames({"kind", "w", "h"})
    ->Args({kOverlayLike, 400, 480})
    ->Args({kNoise, 400, 480})
    ->Args({kEmpty, 400, 480})
    ->Args({kOpaque, 400, 480})
    ->Args({kNoise, 1280, 720});

void paintWithoutViewer(benchmark::State& state) {
    BrowserSource source;
    const BitmapRef picture = createBitmap(400, 480);
    for (auto _ : state) {
        BrowserSourceCapture(source, kSlotRelative, *picture);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(paintWithoutViewer);

void paintWithViewer(benchmark::State& state) {
    FrameHub hub;
    hub.running = true;
    hubSubscribe(hub, kSlotRelative, {true, false}, [](StreamMessage) {});
    const BitmapRef picture = createBitmap(400, 480);
    for (auto _ : state)
        hubCapture(hub, kSlotRelative, bitmapPixels(*picture));
}
BENCHMARK(paintWithViewer);

/// What the sender does with a picture of which a share of the tiles differs, and the message for
/// all viewers in step.
void partsOf(benchmark::State& state) {
    FramePixels frames[2];
    for (FramePixels& frame : frames)
        frame = {premultiplied(400, 480, kOverlayLike), 400, 480};
    const size_t changed = frames[1].bytes.size() / 100 * static_cast<size_t>(state.range(0));
    for (size_t i = 0; i < changed; i += 64)
        frames[1].bytes[i + 1] ^= 1;
    StreamPicture picture;
    updatePicture(picture, frames[0]);
    size_t bytes = 0;
    for (int64_t i = 1; auto _ : state) {
        const uint64_t since = picture.counter;
        if (updatePicture(picture, frames[i++ % 2])) bytes = changedParts(picture, since)->size();
    }
    state.counters["bytes"] = static_cast<double>(bytes);
}
BENCHMARK(partsOf)->ArgName("percent")->Arg(0)->Arg(5)->Arg(25)->Arg(100);

int64_t microsecondsNow() {
    using namespace std::chrono;
    return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
}

// ---- a server whose pictures tell their time ----

/// Premultiplied BGRA of a file's pictures, one after the other.
std::vector<uint8_t> picturesOf(const char* path, size_t picture) {
    std::ifstream in(path, std::ios::binary);
    std::vector<uint8_t> all{std::istreambuf_iterator<char>(in), {}};
    all.resize(all.size() / picture * picture);
    for (size_t i = 0; i < all.size(); i += 4) {
        const unsigned alpha = all[i + 3];
        for (size_t c = 0; c < 3; ++c)
            all[i + c] = static_cast<uint8_t>((all[i + c] * alpha + 127) / 255);
        std::swap(all[i], all[i + 2]);
    }
    return all;
}

int serve(int port, const char* key, int width, int height, int hz, int seconds,
          const char* pictures) {
    using namespace std::chrono;
    FrameHub hub;
    BrowserServer server(hub);
    if (server.start(port, false, key, {kSlotRelative}) != ListenResult::listening) return 1;
    hub.running = true;
    std::thread sender([&hub] { hubSend(hub); });
    const size_t size = static_cast<size_t>(width) * height * 4;
    std::vector<uint8_t> all =
        pictures ? picturesOf(pictures, size) : premultiplied(width, height, kOverlayLike);
    const int64_t count = static_cast<int64_t>(all.size() / size);
    if (count == 0) return 1;
    const auto begin = steady_clock::now();
    for (int64_t frame = 0; frame < static_cast<int64_t>(hz) * seconds; ++frame) {
        const int64_t step = frame % (2 * count),
                      shown = step < count ? step : 2 * count - 1 - step;
        uint8_t* const bytes = all.data() + static_cast<size_t>(shown) * size;
        if (!pictures)
            for (size_t i = 0; i < size; i += 64)
                bytes[i + 1] = static_cast<uint8_t>(frame % 8);
        std::this_thread::sleep_until(begin + frame * microseconds(1'000'000 / hz));
        const int64_t now = microsecondsNow();
        for (size_t i = 0; i < 8; ++i) {
            bytes[i * 4 + 2] = static_cast<uint8_t>(now >> (8 * i));
            bytes[i * 4 + 3] = 255;
        }
        hubCapture(hub, kSlotRelative, {bytes, width, height, width * 4});
    }
    hub.running = false;
    hub.wake.wake();
    sender.join();
    return 0;
}

// ---- viewers ----

struct Viewer {
    int fd = -1;
    std::string slot;
    std::string head;  // bytes of a frame's head as they come
    uint64_t left = 0; // of the message's payload
    bool pixels = false, upgraded = false;
    int pictures = 0;
    uint64_t bytes = 0;
    bool parts = false;
    std::string start;            // the first bytes of the message that is coming
    std::vector<double> delaysMs; // paint to the last byte
};

bool open(Viewer& viewer, int port, const std::string& key) {
    viewer.fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int one = 1;
    setsockopt(viewer.fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(viewer.fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        return false;
    const std::string request = "GET /ws?slot=" + viewer.slot + "&key=" + key +
                                (viewer.parts ? "&v=2&parts=1" : "&v=2") +
                                " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: Upgrade\r\n"
                                "Upgrade: websocket\r\nSec-WebSocket-Version: 13\r\n"
                                "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n";
    return send(viewer.fd, request.data(), request.size(), MSG_NOSIGNAL) > 0;
}

/// Bytes that the head still wants before it tells the payload's length.
size_t headWants(const Viewer& viewer) {
    if (!viewer.upgraded) return 1;
    if (viewer.head.size() < 2) return 2 - viewer.head.size();
    const int length = viewer.head[1] & 0x7F;
    return (length == 127 ? 10u : length == 126 ? 4u : 2u) - viewer.head.size();
}

void headDone(Viewer& viewer) {
    const auto byte = [&](size_t i) { return static_cast<uint64_t>(viewer.head[i] & 0xFF); };
    viewer.left = byte(1) & 0x7F;
    if (viewer.left >= 126) {
        viewer.left = 0;
        for (size_t i = 2; i < viewer.head.size(); ++i)
            viewer.left = viewer.left << 8 | byte(i);
    }
    viewer.pixels = (byte(0) & 0x0F) == 2;
    viewer.start.clear();
    viewer.head.clear();
}

/// When --serve painted the message's picture; else anything.
int64_t paintedAt(const Viewer& viewer) {
    std::vector<uint32_t> words(viewer.start.size() / 4);
    std::memcpy(words.data(), viewer.start.data(), words.size() * 4);
    std::vector<uint32_t> pixels;
    if (viewer.parts) {
        // The part of the upper left corner comes first.
        for (size_t at = 1 + (words.empty() ? 0 : words[0]) * size_t{2};
             at + 1 < words.size() && pixels.size() < 8;) {
            const uint32_t token = words[at++];
            const size_t n = token & ~kRunOfOne;
            for (size_t i = 0; i < n && pixels.size() < 8; ++i)
                pixels.push_back(token & kRunOfOne       ? words[at]
                                 : at + i < words.size() ? words[at + i]
                                                         : 0);
            at += token & kRunOfOne ? 1 : n;
        }
    } else {
        pixels = words;
    }
    int64_t time = 0;
    for (size_t i = std::min<size_t>(pixels.size(), 8); i-- > 0;)
        time = time << 8 | static_cast<int64_t>(pixels[i] & 0xFF);
    return time;
}

/// False when the server has gone.
bool readSome(Viewer& viewer) {
    static std::vector<char> sink(1 << 20);
    const size_t wants =
        viewer.left ? std::min<size_t>(viewer.left, sink.size()) : headWants(viewer);
    const ssize_t n = recv(viewer.fd, sink.data(), wants, MSG_DONTWAIT);
    if (n <= 0) return n < 0 && errno == EAGAIN;
    viewer.bytes += static_cast<uint64_t>(n);
    if (viewer.left) {
        if (viewer.start.size() < 4096)
            viewer.start.append(sink.data(), std::min<size_t>(static_cast<size_t>(n), 4096));
        viewer.left -= static_cast<uint64_t>(n);
        if (viewer.left) return true;
        viewer.pictures += viewer.pixels;
        const double delay = static_cast<double>(microsecondsNow() - paintedAt(viewer)) / 1000;
        if (viewer.pixels && delay < 10'000) viewer.delaysMs.push_back(delay);
        static const char answer[] = "\x81\x81\0\0\0\0k";
        return send(viewer.fd, answer, 7, MSG_NOSIGNAL) == 7;
    }
    viewer.head.append(sink.data(), static_cast<size_t>(n));
    if (!viewer.upgraded && viewer.head.ends_with("\r\n\r\n")) {
        viewer.upgraded = true;
        viewer.head.clear();
    } else if (viewer.upgraded && headWants(viewer) == 0) {
        headDone(viewer);
    }
    return true;
}

int watch(int port, const char* key, int seconds, bool parts,
          const std::vector<std::string>& wanted) {
    std::vector<Viewer> viewers;
    for (const std::string& word : wanted) {
        const size_t colon = word.find(':');
        for (int i = std::atoi(word.c_str() + colon + 1); i > 0; --i) {
            viewers.emplace_back().slot = word.substr(0, colon);
            viewers.back().parts = parts;
            if (!open(viewers.back(), port, key)) return 1;
        }
    }
    std::vector<pollfd> ready;
    for (const Viewer& viewer : viewers)
        ready.push_back({viewer.fd, POLLIN, 0});
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    while (std::chrono::steady_clock::now() < end) {
        poll(ready.data(), ready.size(), 100);
        for (size_t i = 0; i < viewers.size(); ++i)
            if (ready[i].revents && !readSome(viewers[i])) ready[i].fd = -1;
    }
    for (Viewer& viewer : viewers) {
        std::printf("%s %d %.1f", viewer.slot.c_str(), viewer.pictures,
                    static_cast<double>(viewer.bytes) / 1e6);
        std::vector<double>& all = viewer.delaysMs;
        std::sort(all.begin(), all.end());
        if (!all.empty())
            std::printf(" paint to viewer: median %.2f, p99 %.2f ms", all[all.size() / 2],
                        all[all.size() * 99 / 100]);
        std::printf("\n");
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    const auto number = [&](size_t i) { return std::atoi(words[i].c_str()); };
    if (words.size() >= 7 && words[0] == "--serve")
        return serve(number(1), argv[3], number(3), number(4), number(5), number(6),
                     words.size() > 7 ? argv[8] : nullptr);
    if (words.size() > 5 && words[0] == "--watch")
        return watch(number(1), argv[3], number(3), words[4] == "parts",
                     {words.begin() + 5, words.end()});
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
