// What the readers of datagrams cost: a packet, a search that finds nothing, ten thousand datagrams
// a second, the time from a datagram to its frame; and the sibling's record under a writer that
// never rests.
//
//     bench_udp                                      everything, a few minutes
//     bench_udp --benchmark_filter=Sibling           ten million copies of the record
#include "base/log.h"
#include "count_allocations.h"
#include "platform/process_list.h"
#include "support/sibling_record.h"
#include "telemetry/readers/beamng_reader.h"
#include "telemetry/readers/dirt_rally2_reader.h"
#include "telemetry/readers/ea_wrc_reader.h"
#include "telemetry/readers/f1_reader.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <new>
#include <random>
#include <signal.h>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace vt {
namespace {

using Bytes = std::vector<uint8_t>;
using SteadyClock = std::chrono::steady_clock;

double threadSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double secondsSince(SteadyClock::time_point start) {
    return std::chrono::duration<double>(SteadyClock::now() - start).count();
}

template <class T>
Bytes bytesOf(const T& record) {
    Bytes bytes(sizeof record);
    std::memcpy(bytes.data(), &record, sizeof record);
    return bytes;
}

Bytes f1Bytes(uint8_t id, size_t size) {
    F1Header header{};
    header.packetFormat = 2025;
    header.gameYear = 25;
    header.packetId = id;
    Bytes bytes(size);
    std::memcpy(bytes.data(), &header, sizeof header);
    if (id == kF1LapData)
        for (size_t car = 0; car < kF1Cars; ++car) {
            F1LapCar record{};
            record.position = static_cast<uint8_t>(car + 1);
            record.resultStatus = 2;
            std::memcpy(bytes.data() + sizeof header + car * sizeof record, &record, sizeof record);
        }
    return bytes;
}

/// What a sim sends in one of its own ticks.
std::vector<Bytes> f1Packets() {
    return {f1Bytes(kF1CarTelemetry, 1352), f1Bytes(kF1Motion, 1349),
            f1Bytes(kF1LapData, 1285),      f1Bytes(kF1CarStatus, 1239),
            f1Bytes(kF1Participants, 1284), f1Bytes(kF1Session, 753)};
}
std::vector<Bytes> dirtPackets() {
    DirtRally2Packet packet{};
    packet.forward[0] = packet.right[2] = 1;
    packet.stageLength = 5000;
    return {bytesOf(packet)};
}
std::vector<Bytes> wrcPackets() {
    EaWrcPacket packet{};
    packet.vehicle_forward_direction[0] = packet.vehicle_left_direction[2] = 1;
    return {bytesOf(packet)};
}
std::vector<Bytes> beamNgPackets() {
    BeamNgPacket packet{};
    std::memcpy(packet.magic, "VTBN", 4);
    packet.version = 6;
    return {bytesOf(packet)};
}

struct Sim {
    const char* name;
    std::unique_ptr<SimReader> (*make)(ReaderContext&, const UdpPlace&);
    std::vector<Bytes> (*packets)();
    UdpPlace place;
};

template <class Reader>
std::unique_ptr<SimReader> makeIt(ReaderContext& context, const UdpPlace& place) {
    return std::make_unique<Reader>(context, place);
}

const Sim kSims[] = {
    {"F1", makeIt<F1Reader>, f1Packets, kF1Place},
    {"DirtRally2", makeIt<DirtRally2Reader>, dirtPackets, kDirtRally2Place},
    {"EaWrc", makeIt<EaWrcReader>, wrcPackets, kEaWrcPlace},
    {"BeamNg", makeIt<BeamNgReader>, beamNgPackets, kBeamNgPlace},
};

/// A reader on ports of its own, fed by a thread until it is open.
struct Fed {
    Clock clock;
    ProcessScan scan;
    SteerWords steer;
    ReaderContext context{.clock = clock, .scan = scan, .steer = steer, .documentsDir = {}};
    UdpPlace place;
    UdpSocket out;
    std::vector<Bytes> packets;
    std::unique_ptr<SimReader> reader;

    explicit Fed(const Sim& sim) : packets(sim.packets()) {
        UdpSocket a, b;
        a.open(0);
        b.open(0);
        place = {a.port(), b.port(), 500, "vt_bench_no_sibling"};
        a.close();
        b.close();
        out.open(0);
        reader = sim.make(context, place);
        std::atomic<bool> done{false};
        std::thread feeder([&] {
            UdpSocket socket;
            socket.open(0);
            while (!done) {
                socket.send(place.port, packets[0].data(), packets[0].size());
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
            }
        });
        reader->open();
        done = true;
        feeder.join();
    }
    void sendAll() {
        for (const Bytes& packet : packets)
            out.send(place.port, packet.data(), packet.size());
    }
};

/// One poll with what the sim sends in a tick waiting; the sending is not counted.
void pollPackets(benchmark::State& state, const Sim& sim) {
    Fed fed(sim);
    SimFrame frame;
    if (!fed.reader->isConnected()) {
        state.SkipWithError("the reader did not open");
        return;
    }
    uint64_t allocated = 0, polls = 0;
    for (auto _ : state) {
        fed.sendAll();
        resetKeepingCapacity(frame);
        const uint64_t before = allocations;
        const auto start = SteadyClock::now();
        const bool got = fed.reader->poll(frame);
        state.SetIterationTime(secondsSince(start));
        if (!got) state.SkipWithError("no frame");
        if (++polls > 100) allocated += allocations - before;
    }
    state.counters["packets"] = static_cast<double>(fed.packets.size());
    state.counters["allocations"] = static_cast<double>(allocated);
}

/// All four readers look for their sims once and find nothing. CPU time of the thread; the round
/// itself lasts 0.9 s, which is waiting.
void searchRound(benchmark::State& state) {
    Clock clock;
    ProcessScan scan;
    SteerWords steer;
    ReaderContext context{.clock = clock, .scan = scan, .steer = steer, .documentsDir = {}};
    std::vector<std::unique_ptr<SimReader>> readers;
    for (const Sim& sim : kSims) {
        UdpPlace place = sim.place;
        place.port = place.forwardedPort = 0; // free ones: the sim's own may be taken here
        readers.push_back(sim.make(context, place));
    }
    for (auto _ : state) {
        const double start = threadSeconds();
        for (const auto& reader : readers)
            if (reader->open()) state.SkipWithError("somebody sends");
        state.SetIterationTime(threadSeconds() - start);
    }
}

/// One look at the process list, which the readers take every three seconds.
void processScanRound(benchmark::State& state) {
    std::vector<std::string> names;
    ProcessScan scan;
    for (auto _ : state) {
        listProcessNames(names);
        applyProcessNames(scan, names);
    }
    state.counters["programs"] = static_cast<double>(names.size());
}

/// Lap data of many lengths gives a line for each.
void dropLines(void*, std::string_view) {}

/// 10,000 datagrams a second for three seconds, three in four of them spoilt or random, while the
/// reader polls 30 times a second. The CPU share is the reader's thread's alone.
void flood(benchmark::State& state, const Sim& sim) {
    for (auto _ : state) {
        Fed fed(sim);
        setLogSink(dropLines, nullptr);
        std::atomic<bool> done{false};
        std::atomic<uint64_t> sent{0};
        std::thread sender([&] {
            std::mt19937 random(3);
            UdpSocket socket;
            socket.open(0);
            Bytes junk;
            const auto start = SteadyClock::now();
            while (!done) {
                const auto due = static_cast<uint64_t>(secondsSince(start) * 10000);
                for (; sent < due; ++sent) {
                    junk = fed.packets[random() % fed.packets.size()];
                    const auto kind = random() % 4;
                    if (kind == 1) junk.resize(random() % 1500);
                    if (kind >= 2)
                        for (int i = 0; i < 20; ++i)
                            junk[random() % junk.size()] = static_cast<uint8_t>(random());
                    socket.send(fed.place.port, junk.data(), junk.size());
                }
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
        SimFrame frame;
        double cpu = 0, worst = 0;
        int polls = 0, frames = 0;
        const auto start = SteadyClock::now();
        while (secondsSince(start) < 3) {
            std::this_thread::sleep_for(std::chrono::microseconds(33333));
            resetKeepingCapacity(frame);
            const double before = threadSeconds();
            frames += fed.reader->poll(frame);
            const double spent = threadSeconds() - before;
            cpu += spent;
            worst = std::max(worst, spent);
            ++polls;
        }
        done = true;
        sender.join();
        setLogSink(nullptr, nullptr);
        state.counters["cpu %"] = 100 * cpu / 3;
        state.counters["worst poll us"] = worst * 1e6;
        state.counters["sent/s"] = static_cast<double>(sent) / 3;
        state.counters["frames"] = frames;
        state.counters["polls"] = polls;
    }
}

/// The time from the sending of a datagram to the frame that holds it, with a sim at 60 Hz and a
/// pump of 30 Hz: the speed is the number of the datagram.
void arrivalToFrame(benchmark::State& state) {
    for (auto _ : state) {
        Fed fed(kSims[3]);
        constexpr int kPackets = 180;
        std::vector<SteadyClock::time_point> sentAt(kPackets);
        std::atomic<bool> done{false};
        std::thread sender([&] {
            BeamNgPacket packet{};
            std::memcpy(packet.magic, "VTBN", 4);
            packet.version = 6;
            auto next = SteadyClock::now();
            for (size_t i = 1; i < kPackets; ++i) {
                packet.speed = static_cast<float>(i);
                sentAt[i] = SteadyClock::now();
                fed.out.send(fed.place.port, &packet, sizeof packet);
                next += std::chrono::microseconds(16667);
                std::this_thread::sleep_until(next);
            }
            done = true;
        });
        SimFrame frame;
        std::vector<double> delays;
        auto next = SteadyClock::now();
        while (!done) {
            next += std::chrono::microseconds(33333);
            std::this_thread::sleep_until(next);
            resetKeepingCapacity(frame);
            if (!fed.reader->poll(frame)) continue;
            const auto number = static_cast<size_t>(frame.speed + 0.5f);
            if (number > 0 && number < kPackets)
                delays.push_back(secondsSince(sentAt[number]) * 1e3);
        }
        sender.join();
        std::sort(delays.begin(), delays.end());
        if (delays.empty()) {
            state.SkipWithError("no frame");
            continue;
        }
        state.counters["median ms"] = delays[delays.size() / 2];
        state.counters["worst ms"] = delays.back();
        state.counters["frames"] = static_cast<double>(delays.size());
    }
}

/// Copies of the sibling's record until ten million good ones are had, while another process
/// changes it all the time. Every word of a good copy must be of one writing.
void siblingRecord(benchmark::State& state) {
    const std::string name = "vt_bench_sibling_" + std::to_string(getpid());
    int ready[2];
    if (pipe(ready) != 0) return;
    const pid_t child = fork();
    if (child == 0) {
        test::SharedRecordWriter writer(name);
        if (write(ready[1], "x", 1) != 1) _exit(1);
        for (uint32_t n = 0;; ++n) {
            writer.write(n);
            test::SharedRecordWriter::rest(n);
        }
    }
    char c;
    if (read(ready[0], &c, 1) != 1) return;
    close(ready[0]);
    close(ready[1]);
    SiblingLink link;
    link.name = name.c_str();
    SiblingState record;
    constexpr uint64_t kCopies = 10'000'000;
    uint64_t good = 0, torn = 0, failed = 0, changed = 0;
    uint32_t last = 0;
    for (auto _ : state) {
        while (good < kCopies) {
            if (!siblingRead(link, record)) {
                ++failed;
                continue;
            }
            ++good;
            torn += !test::SharedRecordWriter::whole(record);
            changed += record.sequence != last;
            last = record.sequence;
        }
    }
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    unlink(("/dev/shm/" + name).c_str());
    state.counters["good"] = static_cast<double>(good);
    state.counters["torn"] = static_cast<double>(torn);
    state.counters["gave up"] = static_cast<double>(failed);
    state.counters["new"] = static_cast<double>(changed);
}

/// One copy of a record that is written 60 times a second, as the sibling does.
void siblingAtRest(benchmark::State& state) {
    const std::string name = "vt_bench_sibling_rest_" + std::to_string(getpid());
    test::SiblingRecord record(name);
    record.put(kSiblingF1, 1);
    SiblingLink link;
    link.name = name.c_str();
    SiblingState copy;
    uint64_t n = 0;
    for (auto _ : state) {
        if (++n % 2 == 0) record.put(kSiblingF1, 1);
        benchmark::DoNotOptimize(siblingRead(link, copy));
    }
}

[[maybe_unused]] const bool registered = [] {
    for (const Sim& sim : kSims) {
        benchmark::RegisterBenchmark((std::string("Poll/") + sim.name).c_str(),
                                     [&sim](benchmark::State& s) { pollPackets(s, sim); })
            ->UseManualTime()
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark((std::string("Flood/") + sim.name).c_str(),
                                     [&sim](benchmark::State& s) { flood(s, sim); })
            ->Iterations(1)
            ->Unit(benchmark::kMillisecond);
    }
    return true;
}();
BENCHMARK(searchRound)->UseManualTime()->Iterations(5)->Unit(benchmark::kMicrosecond);
BENCHMARK(processScanRound)->Unit(benchmark::kMicrosecond);
BENCHMARK(arrivalToFrame)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(siblingAtRest)->Name("SiblingRead");
BENCHMARK(siblingRecord)->Name("SiblingAtFullSpeed")->Iterations(1)->Unit(benchmark::kSecond);

} // namespace
} // namespace vt

BENCHMARK_MAIN();
