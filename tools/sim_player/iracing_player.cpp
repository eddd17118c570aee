// Plays a recording as iRacing would: the buffers take turns, each with a higher tick count, and
// the event tells that there is a new one.
#include "iracing_drive.h"
#include "iracing_publisher.h"

#include <algorithm>
#include <cstdio>

namespace player {

namespace {

bool startIrPublisher(IrPublisher& out, const IrImage& image, const Options& options) {
    if (!out.create(image.bytes.size(), options)) return false;
    out.header = image.header;
    out.header.status = 0;
    out.tick = image.tick;
    out.writeHeader(); // says that it is not connected until the rest is there
    out.write(sizeof out.header, image.bytes.data() + sizeof out.header,
              image.bytes.size() - sizeof out.header);
    return true;
}

void run(IrPublisher& publisher, const IrImage& image, const Options& options) {
    std::vector<uint8_t> sample = image.sample;
    IrDrive drive = startIrDrive(image);
    double time = drive.startTime;
    IrSampleWriter out{image.vars, sample};
    if (options.drive) stepIrDrive(drive, 0, out);
    publisher.connect(sample);
    const double dt = options.speed / options.hz;
    everyTick(options, [&](int64_t) {
        // Time passes also where nothing moves, as on a grid.
        time += dt;
        out.put("SessionTime", time);
        // A long step would jump over a whole pit visit.
        if (options.drive)
            for (double left = dt; left > 1e-9; left -= 1)
                stepIrDrive(drive, std::min(left, 1.0), out);
        publisher.publish(sample, options);
        return true;
    });
}

} // namespace

int playIRacing(const Options& options) {
    if (options.file.empty()) return playIRacingModel(options);
    IrImage image;
    std::string error;
    if (!loadIrImage(options.file, image, error)) {
        std::fprintf(stderr, "sim_player: %s\n", error.c_str());
        return 1;
    }
    IrPublisher publisher;
    if (!startIrPublisher(publisher, image, options)) {
        std::fprintf(stderr, "sim_player: cannot make the shared memory\n");
        return 1;
    }
    std::printf("iRacing at \"%s\"%s, %.4g samples a second; Ctrl+C ends it\n",
                image.text.trackName, options.drive ? ", cars driving" : "", options.hz);
    std::fflush(stdout);
    run(publisher, image, options);
    publisher.disconnect();
    return 0;
}

} // namespace player
