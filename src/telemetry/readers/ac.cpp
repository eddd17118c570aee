#include "telemetry/readers/ac.h"

#include "telemetry/readers/ac_reader.h"

namespace vt {

std::unique_ptr<SimReader> makeAcReader(ReaderContext& context) {
    return std::make_unique<AcReader>(context);
}

std::unique_ptr<SimReader> makeAcRallyReader(ReaderContext& context) {
    return std::make_unique<AcRallyReader>(context);
}

} // namespace vt
