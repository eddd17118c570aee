// Sims that are killed over a half-written record, leave their objects behind and are followed by
// others: in any order, every reader finds its own sim and no other.
#include "platform/named_event.h"
#include "support/page_image.h"
#include "support/vehicle_image.h"
#include "telemetry/readers/ac_evo_reader.h"
#include "telemetry/readers/ac_reader.h"
#include "telemetry/readers/ams2_reader.h"
#include "telemetry/readers/ets2_reader.h"
#include "telemetry/readers/lmu_reader.h"
#include "telemetry/readers/raceroom_reader.h"
#include "telemetry/readers/rf2_reader.h"

#include <gtest/gtest.h>

#include <csignal>
#include <deque>
#include <functional>
#include <memory>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vt::test {
namespace {

using Reader = std::unique_ptr<SimReader>;

/// One shared object of a sim: how it looks while a car drives, and where its writer stops when it
/// is killed over the next record.
struct Object {
    std::string name;
    PageImage page;
    std::function<void(uint8_t*)> half = [](uint8_t*) {};
};

struct SimKindUnderTest {
    const char* what;
    std::vector<Object> objects;
    std::vector<std::string> events;
    std::function<Reader(ReaderContext&)> reader;
};

/// Behind the names of all objects of this run.
std::string named(const char* what) {
    return ownName("switch") + "_" + what;
}

template <class T>
void putRaw(uint8_t* bytes, size_t offset, T value) {
    std::memcpy(bytes + offset, &value, sizeof value);
}

/// Rubbish over the first half behind `from`.
auto rubbishFrom(size_t from, size_t size) {
    return [from, size](uint8_t* bytes) { std::memset(bytes + from, 0x5A, (size - from) / 2); };
}

SimKindUnderTest ams2() {
    PageImage page(19248);
    page.i(8, 2).i(24, 1).put(28, uint8_t{1});
    const auto half = [](uint8_t* bytes) {
        putRaw(bytes, 7320, uint32_t{1}); // begun, and never ended
        std::memset(bytes + 28, 0x5A, 3000);
    };
    return {"ams2", {{named("ams2"), page, half}}, {}, [](ReaderContext& context) {
                return std::make_unique<Ams2Reader>(context, Ams2Names{named("ams2")});
            }};
}

SimKindUnderTest raceRoom() {
    PageImage page(43996);
    page.i(0, 3).i(8, 2008).i(12, 328).i(2008, 1);
    return {"raceroom", {{named("r3e"), page, rubbishFrom(2012, 43996)}}, {}, [](ReaderContext&) {
                return std::make_unique<RaceRoomReader>(RaceRoomNames{named("r3e")});
            }};
}

SimKindUnderTest ets2() {
    PageImage page(32768);
    page.put(0, uint8_t{1}).i(40, 12);
    return {
        "ets2", {{named("ets2"), page, rubbishFrom(504, 2556)}}, {}, [](ReaderContext& context) {
            return std::make_unique<Ets2Reader>(context, Ets2Names{named("ets2")});
        }};
}

SimKindUnderTest lmu() {
    PageImage page(324824);
    page.i(40, 1).i(44, 1).put(128464, uint8_t{1}).put(128466, uint8_t{1}).put(128480, 10.0);
    putRaceInfo({page, 1632}, 1);
    RecordImage car{page, 2192};
    putScored(car, 7, 1000, 1, "GT3");
    car.u8(196, 1);
    const std::string map = named("lmu"), event = map + "_event";
    const std::string lock = map + "_lock", lockEvent = map + "_lock_event";
    const auto heldLock = [](uint8_t* bytes) { putRaw(bytes, 4, uint32_t{1}); };
    return {"lmu",
            {{map, page, rubbishFrom(128468, 324824)}, {lock, PageImage(8), heldLock}},
            {event, lockEvent},
            [=](ReaderContext& context) {
                return std::make_unique<LmuReader>(context, LmuNames{map, event, lock, lockEvent});
            }};
}

SimKindUnderTest rf2() {
    PageImage scoring(75312), telemetry(241680);
    putRaceInfo({scoring, 12}, 1);
    RecordImage car{scoring, 560};
    putScored(car, 7, 1000, 1, "GT3");
    car.u8(196, 1);
    telemetry.i(12, 1).i(16, 7).put(28, 10.0);
    const auto begun = [](uint8_t* bytes) {
        putRaw(bytes, 0, uint32_t{1}); // and the second version word stays behind
        std::memset(bytes + 16, 0x5A, 1000);
    };
    const Rf2Names names{named("rf2_telemetry"), named("rf2_scoring")};
    return {"rf2",
            {{names.telemetry, telemetry, begun}, {names.scoring, scoring}},
            {},
            [=](ReaderContext& context) { return std::make_unique<Rf2Reader>(context, names); }};
}

SimKindUnderTest ac() {
    const AcNames names{named("ac_physics"), named("ac_graphics"), named("ac_static")};
    PageImage physics(kAcSizes.physics), graphics(kAcSizes.graphics);
    physics.i(0, 1);
    graphics.i(4, kAcLive);
    return {"ac",
            {{names.physics, physics, rubbishFrom(4, kAcSizes.physics)},
             {names.graphics, graphics},
             {names.statics, PageImage(kAcSizes.statics)}},
            {},
            [=](ReaderContext& context) { return std::make_unique<AcReader>(context, names); }};
}

SimKindUnderTest acEvo() {
    const AcEvoNames names{named("evo_physics"), named("evo_graphics"), named("evo_static")};
    PageImage physics(kAcEvoSizes.physics);
    physics.i(0, 1);
    return {"acevo",
            {{names.physics, physics, rubbishFrom(4, kAcEvoSizes.physics)},
             {names.graphics, PageImage(kAcEvoSizes.graphics)},
             {names.statics, PageImage(kAcEvoSizes.statics)}},
            {},
            [=](ReaderContext& context) { return std::make_unique<AcEvoReader>(context, names); }};
}

/// A sim in a process of its own: writes a record, then half of the next at a word, then waits to
/// be killed.
class SimProcess {
public:
    explicit SimProcess(const SimKindUnderTest& sim) {
        if (pipe(toSim_) != 0 || pipe(fromSim_) != 0) return;
        pid_ = fork();
        if (pid_ == 0) run(sim);
        EXPECT_TRUE(hear());
    }
    ~SimProcess() {
        killed();
        for (const int end : {toSim_[0], toSim_[1], fromSim_[0], fromSim_[1]})
            ::close(end);
    }
    void writeHalf() {
        EXPECT_EQ(write(toSim_[1], "h", 1), 1);
        EXPECT_TRUE(hear());
    }
    void killed() {
        if (pid_ <= 0) return;
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }

private:
    bool hear() const {
        char byte = 0;
        return read(fromSim_[0], &byte, 1) == 1 && byte == 'k';
    }
    [[noreturn]] void run(const SimKindUnderTest& sim) const {
        std::deque<SharedMapWriter> maps;
        std::deque<NamedEvent> events;
        bool whole = true;
        for (const std::string& name : sim.events)
            whole = events.emplace_back().create(name) && whole;
        for (const Object& object : sim.objects) {
            SharedMapWriter& map = maps.emplace_back();
            whole = map.create(object.name, object.page.bytes.size()) && whole;
            if (whole) std::memcpy(map.data(), object.page.bytes.data(), object.page.bytes.size());
        }
        char byte = 0;
        if (!whole || write(fromSim_[1], "k", 1) != 1 || read(toSim_[0], &byte, 1) != 1) _exit(1);
        for (size_t i = 0; i < maps.size(); ++i)
            sim.objects[i].half(maps[i].data());
        if (write(fromSim_[1], "k", 1) != 1) _exit(1);
        for (;;)
            pause();
    }

    pid_t pid_ = -1;
    int toSim_[2] = {-1, -1}, fromSim_[2] = {-1, -1};
};

/// AC EVO's reader also asks whether the program runs: here it does all the time.
bool evoRuns(std::vector<std::string>& names) {
    names = {"AssettoCorsaEVO.exe"};
    return true;
}

struct Desk : ReaderDesk {
    std::vector<SimKindUnderTest> sims = {ams2(), raceRoom(), ets2(), lmu(), rf2(), ac(), acEvo()};
    std::vector<Reader> readers;

    Desk() {
        context.lister = evoRuns;
        for (const SimKindUnderTest& sim : sims)
            readers.push_back(sim.reader(context));
    }
    ~Desk() {
        for (const SimKindUnderTest& sim : sims) {
            for (const Object& object : sim.objects)
                shm_unlink(("/" + object.name).c_str());
            for (const std::string& name : sim.events)
                shm_unlink(("/" + name).c_str());
        }
    }
    /// Which sims can be opened now, by name.
    std::string found() {
        std::string names;
        for (size_t i = 0; i < readers.size(); ++i)
            if (readers[i]->open()) names += std::string(names.empty() ? "" : " ") + sims[i].what;
        return names;
    }
    /// Polls until the reader lets go; how many it took.
    int pollsUntilGone(SimReader& reader) {
        int polls = 0;
        for (; reader.isConnected() && polls < 1000; ++polls) {
            advance(clock, 1 / 30.0);
            reader.poll(frame);
        }
        return polls;
    }
};

TEST(ReaderSwitch, LeftoversHideNoSimAndAKilledOneIsLetGo) {
    Desk desk;
    EXPECT_EQ(desk.found(), "");
    std::vector<size_t> order;
    for (size_t i = 0; i < desk.sims.size(); ++i)
        order.push_back(i);
    for (size_t i = desk.sims.size(); i > 0; --i) // and back, over everybody's leftovers
        order.push_back(i - 1);
    for (const size_t i : order) {
        SCOPED_TRACE(desk.sims[i].what);
        SimReader& reader = *desk.readers[i];
        SimProcess sim(desk.sims[i]);
        EXPECT_EQ(desk.found(), desk.sims[i].what);
        advance(desk.clock, 1 / 30.0);
        reader.poll(desk.frame);
        EXPECT_TRUE(reader.isConnected());
        sim.writeHalf();
        sim.killed();
        EXPECT_LE(desk.pollsUntilGone(reader), 151);
        EXPECT_EQ(desk.found(), "");
    }
}

} // namespace
} // namespace vt::test
