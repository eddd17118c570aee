// Record files that other hands wrote: the list of entries, and each of them as a session.
#include "perf/record_files.h"
#include "perf/session_json.h"

#include <nlohmann/json.hpp>

#include <cstdlib>

using namespace vt;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    RecordFile file;
    file.text.assign(reinterpret_cast<const char*>(data), size);
    if (scanRecords(file.text, file.entries)) {
        const auto whole = nlohmann::json::parse(file.text);
        if (whole.size() != file.entries.size()) abort();
        for (size_t i = 0; i < whole.size(); ++i)
            if (nlohmann::json::parse(file.entryText(i), nullptr, false) != whole[i]) abort();
    }
    SessionRecord record, again;
    if (!parseSessionText(file.text, record)) return 0;
    const std::string text = sessionToJson(record);
    if (!parseSessionText(text, again) || sessionToJson(again) != text) abort();
    return 0;
}
