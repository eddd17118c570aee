// Plays the driver model as iRacing would: session text, variables, and buffers that take turns.
#include "iracing_model.h"
#include "iracing_publisher.h"

#include <cstdio>
#include <ctime>

namespace player {

namespace {

constexpr int32_t kTextRoom = 512 << 10; // as the sim keeps
constexpr int32_t kBuffers = 3;
constexpr double kTextPeriod = 1; // s; the sim writes its text no oftener

struct Player {
    IrPublisher publisher;
    IrModelWriter writer;
    const Options& options;
    std::vector<uint8_t> sample;
    std::string text;
    size_t lapsTold = 0;
    double textTime = 0; // s of the race
    time_t start = 0;

    Player(const IrModelChoices& choices, const Options& o)
        : writer(choices, IrTable::live), options(o) {}

    bool create() {
        vt::IrHeader& h = publisher.header;
        const std::vector<vt::IrVarHeader>& variables = writer.variables();
        h.ver = 2;
        h.tickRate = 60;
        h.sessionInfoOffset = static_cast<int32_t>(sizeof h);
        h.sessionInfoLen = kTextRoom;
        h.numVars = static_cast<int32_t>(variables.size());
        h.varHeaderOffset = h.sessionInfoOffset + h.sessionInfoLen;
        h.numBuf = kBuffers;
        h.bufLen = writer.sampleLength();
        const size_t table = variables.size() * sizeof(vt::IrVarHeader);
        size_t at = (static_cast<size_t>(h.varHeaderOffset) + table + 15) / 16 * 16;
        for (int32_t i = 0; i < kBuffers; ++i, at += static_cast<size_t>(h.bufLen))
            h.varBuf[i].bufOffset = static_cast<int32_t>(at);
        if (!publisher.create(at, options)) return false;
        publisher.write(static_cast<size_t>(h.varHeaderOffset), variables.data(), table);
        publisher.writeHeader();
        return true;
    }

    /// The text before its update count, so that who sees the count has the text.
    void tell(const model::Race& race) {
        text = irSessionText(race, {irSessionLine(race)}, start, "");
        text.resize(kTextRoom - 1 < text.size() ? kTextRoom - 1 : text.size());
        text.push_back('\0');
        publisher.write(sizeof(vt::IrHeader), text.data(), text.size());
        std::atomic_thread_fence(std::memory_order_seq_cst);
        publisher.header.sessionInfoUpdate += 1;
        publisher.writeHeader();
        lapsTold = race.laps.size();
        textTime = race.time;
    }

    bool next(const model::Race& race) {
        const bool first = text.empty();
        if (first) {
            start = std::time(nullptr);
            writer.begin(race, 0, 0);
            tell(race);
        } else if (race.laps.size() > lapsTold && race.time - textTime >= kTextPeriod) {
            tell(race);
        }
        writer.fill(race, sample);
        if (first) publisher.connect(sample);
        publisher.publish(sample, options);
        return true;
    }
};

} // namespace

int playIRacingModel(const Options& options) {
    IrModelChoices choices;
    if (!parseIrModelChoices(options.extra, choices)) {
        std::fprintf(stderr, "sim_player: cannot use \"%s\"\n", options.extra.c_str());
        return 2;
    }
    Player player(choices, options);
    if (!player.create()) {
        std::fprintf(stderr, "sim_player: cannot make the shared memory\n");
        return 1;
    }
    const int code =
        playModel(options, "iRacing", [&](const model::Race& race) { return player.next(race); });
    player.publisher.disconnect();
    return code;
}

} // namespace player
