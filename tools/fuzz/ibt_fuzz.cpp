// Any bytes as a telemetry file: opened, its text searched, samples read from end to end.
#include "base/utf8.h"
#include "platform/file.h"
#include "telemetry/ibt/ibt_file.h"

#include <cstdlib>
#include <string>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string path = "/dev/shm/vt_ibt_fuzz_" + std::to_string(getpid());
    static const struct Remover {
        ~Remover() { vt::removeFile(path); }
    } remover;
    if (!vt::writeFileAtomic(path, {reinterpret_cast<const char*>(data), size})) return 0;
    vt::IbtFile file;
    if (!file.open(path)) return 0;
    if (!vt::utf8Valid(file.header().sessionText)) std::abort();
    const int32_t count = file.header().sampleCount;
    for (const int32_t i : {0, count / 2, count - 1, count}) {
        const vt::IrSample sample = file.sample(i);
        (void)sample;
    }
    return 0;
}
