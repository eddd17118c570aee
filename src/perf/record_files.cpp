#include "perf/record_files.h"

#include "base/json_read.h"
#include "platform/random_file.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

using Json = nlohmann::json;

constexpr uint64_t kMaxFileBytes = 1u << 30;
constexpr int kMaxDepth = 32; // records have 4

/// Notes what the store asks of each entry: keys of the objects in the array, and of their summary.
class HeadReader : public nlohmann::json_sax<Json> {
public:
    explicit HeadReader(RecordEntries& entries) : entries_(entries) {}

    bool isArray() const { return rootIsArray_; }

    bool null() override { return scalar(); }
    bool boolean(bool) override { return scalar(); }
    bool number_integer(int64_t value) override { return number(static_cast<double>(value)); }
    bool number_unsigned(uint64_t value) override { return number(static_cast<double>(value)); }
    bool number_float(double value, const std::string&) override { return number(value); }
    bool string(std::string& value) override {
        scalar();
        if (depth_ != 2) return true;
        SessionHead& head = entries_.back().head;
        if (key_ == "date") head.date = value;
        if (key_ == "traceFile") head.traceFile = value;
        if (key_ == "source") head.source = value;
        if (key_ == "carName") entries_.back().carName = value;
        if (key_ == "trackName") entries_.back().trackName = value;
        return true;
    }
    bool binary(binary_t&) override { return false; }
    bool start_object(size_t) override {
        scalar();
        if (depth_ == 1) entries_.back().isObject = true;
        if (depth_ == 2) inSummary_ = key_ == "summary";
        return ++depth_ <= kMaxDepth;
    }
    bool end_object() override {
        if (--depth_ == 2) inSummary_ = false;
        return true;
    }
    bool start_array(size_t) override {
        scalar();
        if (depth_ == 0) rootIsArray_ = true;
        return ++depth_ <= kMaxDepth;
    }
    bool end_array() override {
        --depth_;
        return true;
    }
    bool key(std::string& value) override {
        if (depth_ == 2 || (depth_ == 3 && inSummary_)) key_ = value;
        return true;
    }
    bool parse_error(size_t, const std::string&, const Json::exception&) override { return false; }

private:
    /// A value begins; at depth 1 it is an entry.
    bool scalar() {
        if (depth_ == 1) entries_.emplace_back();
        return true;
    }
    bool number(double value) {
        scalar();
        if (depth_ == 3 && inSummary_ && key_ == "bestLapTime") {
            const auto best = static_cast<float>(value);
            if (best > 0 && std::isfinite(best)) entries_.back().head.bestLap = best;
        }
        if (depth_ != 2) return true;
        RecordEntry& entry = entries_.back();
        const int whole = toInt(Json(value), 0);
        if (key_ == "trackId") entry.head.trackId = whole;
        if (key_ == "simId") entry.head.simId = whole;
        if (key_ == "totalLaps") entry.head.laps = whole;
        if (key_ == "gps") entry.head.gps = whole;
        if (key_ == "version") {
            entry.head.version = whole;
            entry.hasVersion = true;
        }
        return true;
    }

    RecordEntries& entries_;
    std::string key_;
    int depth_ = 0;
    bool inSummary_ = false, rootIsArray_ = false;
};

/// Where the entries of a valid array begin and end.
void placeEntries(std::string_view text, RecordEntries& entries) {
    size_t index = 0;
    int depth = 0;
    bool inside = false; // of an entry
    const auto end = [&](size_t at) {
        if (!inside || index >= entries.size()) return;
        size_t stop = at;
        while (stop > entries[index].begin &&
               std::string_view(" \t\r\n").find(text[stop - 1]) != std::string_view::npos)
            --stop;
        entries[index].length = stop - entries[index].begin;
        ++index;
        inside = false;
    };
    for (size_t at = 0; at < text.size(); ++at) {
        const char c = text[at];
        if (depth == 1 && c == ',') {
            end(at);
            continue;
        }
        if (depth == 1 && c == ']') end(at);
        if (c == ' ' || c == '\n' || c == '\r' || c == '\t') continue;
        if (depth == 1 && !inside && c != ']' && index < entries.size()) {
            entries[index].begin = at;
            inside = true;
        }
        if (c == '"') {
            for (++at; at < text.size() && text[at] != '"'; ++at)
                if (text[at] == '\\') ++at;
        } else if (c == '{' || c == '[') {
            ++depth;
        } else if (c == '}' || c == ']') {
            --depth;
        }
    }
}

void appendIndented(std::string& out, std::string_view object) {
    for (const char c : object) {
        out += c;
        if (c == '\n') out += "  "; // inside strings line ends are escaped
    }
}

} // namespace

bool scanRecords(std::string_view text, RecordEntries& entries) {
    entries.clear();
    HeadReader reader(entries);
    if (!Json::sax_parse(text.begin(), text.end(), &reader) || !reader.isArray()) {
        entries.clear();
        return false;
    }
    placeEntries(text, entries);
    return true;
}

RecordState RecordFiles::read(const std::string& path, RecordFile& out) {
    out = {path, {}, {}};
    RandomFile file;
    if (!file.open(path)) return pathExists(path) ? RecordState::blocked : RecordState::missing;
    Known now;
    now.size = file.size();
    now.modifiedNs = file.modifiedNs();
    if (now.size > kMaxFileBytes) return RecordState::blocked;
    out.text.resize(now.size);
    if (!file.readAt(0, out.text.data(), out.text.size())) return RecordState::blocked;
    Known& known = known_[path];
    if (known.state == RecordState::missing || known.size != now.size ||
        known.modifiedNs != now.modifiedNs) {
        known = std::move(now);
        known.state =
            scanRecords(out.text, known.entries) ? RecordState::good : RecordState::corrupt;
    }
    out.entries = known.entries;
    return known.state;
}

RecordState RecordFiles::entries(const std::string& path, const FolderEntry* listed,
                                 const RecordEntries*& out) {
    static const RecordEntries none;
    out = &none;
    const auto found = known_.find(path);
    RecordState state = RecordState::missing;
    if (listed && found != known_.end() && found->second.size == listed->size &&
        found->second.modifiedNs == listed->modifiedNs) {
        state = found->second.state;
    } else {
        RecordFile file;
        state = read(path, file);
    }
    if (state == RecordState::good) out = &known_[path].entries;
    return state;
}

bool RecordFiles::write(const std::string& path, const std::string& text) {
    known_.erase(path);
    if (writeFileAtomic(path, text)) return true;
    removeFile(path + ".tmp"); // on a full disk its space is needed
    return false;
}

bool RecordFiles::rewrite(const RecordFile& file, const std::vector<size_t>& keep,
                          std::string_view added) {
    if (keep.empty() && added.empty()) {
        known_.erase(file.path);
        return removeFile(file.path);
    }
    std::string text;
    text.reserve(file.text.size() + added.size() * 5 / 4 + 64);
    RecordEntries entries;
    text += '[';
    for (const size_t index : keep) {
        text += entries.empty() ? "\n  " : ",\n  ";
        entries.push_back(file.entries[index]);
        entries.back().begin = text.size();
        text += file.entryText(index);
    }
    if (!added.empty()) {
        RecordEntries one;
        if (!scanRecords("[" + std::string(added) + "]", one) || one.size() != 1) return false;
        text += entries.empty() ? "\n  " : ",\n  ";
        entries.push_back(one.front());
        entries.back().begin = text.size();
        appendIndented(text, added);
        entries.back().length = text.size() - entries.back().begin;
    }
    text += "\n]\n";
    if (!write(file.path, text)) return false;
    RandomFile written;
    if (!written.open(file.path) || written.size() != text.size()) return true; // changed already
    known_[file.path] = {written.size(), written.modifiedNs(), RecordState::good,
                         std::move(entries)};
    return true;
}

bool RecordFiles::replace(const RecordFile& file, size_t index, std::string_view entry) {
    const RecordEntry& old = file.entries[index];
    std::string text = file.text.substr(0, old.begin);
    appendIndented(text, entry);
    text.append(file.text, old.begin + old.length, std::string::npos);
    return write(file.path, text);
}

} // namespace vt
