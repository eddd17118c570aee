#include "app/readers.h"

#include "telemetry/readers/ac.h"
#include "telemetry/readers/ac_evo.h"
#include "telemetry/readers/ams2.h"
#include "telemetry/readers/beamng.h"
#include "telemetry/readers/dirt_rally2.h"
#include "telemetry/readers/ea_wrc.h"
#include "telemetry/readers/ets2.h"
#include "telemetry/readers/f1.h"
#include "telemetry/readers/lmu.h"
#include "telemetry/readers/raceroom.h"
#include "telemetry/readers/rf2.h"

namespace vt {

std::vector<std::unique_ptr<SimReader>> makeReaders(ReaderContext& context,
                                                    const IRacingWants& iracingWants) {
    std::vector<std::unique_ptr<SimReader>> readers;
    readers.push_back(makeIRacingReader(context.clock, iracingWants));
    for (const auto make :
         {makeLmuReader, makeAms2Reader, makeAccReader, makeAcEvoReader, makeAcReader,
          makeAcRallyReader, makeEts2Reader, makeBeamNgReader, makeF1Reader, makeDirtRally2Reader,
          makeEaWrcReader, makeRf2Reader, makeRaceRoomReader})
        readers.push_back(make(context));
    return readers;
}

} // namespace vt
