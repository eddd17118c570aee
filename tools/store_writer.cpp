// Commits made-up sessions of three laps into a store until it is killed, and sweeps it now and
// then; prints the date of each session behind its commit. `kill_store` starts it.
//
//     store_writer STORE FIRST_SECOND
#include "perf/perf_store.h"
#include "support/perf_samples.h"

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "store_writer STORE FIRST_SECOND\n");
        return 2;
    }
    vt::PerfStore store(argv[1]);
    const vt::TraceFile trace = vt::test::sampleTrace(700, 3);
    for (int second = std::atoi(argv[2]);; ++second) {
        const std::string date = vt::test::dateAfter(second);
        const vt::CommitOutcome outcome =
            store.commit(vt::test::sampleSession(date.c_str()), &trace, 0);
        if (!outcome.stored) return 1;
        std::printf("%s\n", outcome.date.c_str());
        std::fflush(stdout);
        if (second % 5 == 4) store.sweepOrphans(vt::kSimIRacing);
        if (second % 11 == 10) store.cullHistory(100000);
    }
}
