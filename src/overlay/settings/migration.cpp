#include "overlay/settings/migration.h"

#include "base/json_read.h"
#include "overlay/settings/app_config.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

using json = nlohmann::json;

constexpr const char* kFromWindows[] = {
    "battlebar",  "session",  "fuel",        "spotter",  "shiftlight", "pithelper", "trackmap",
    "deltatrace", "raceinfo", "chat",        "featured", "cover",      "recap",     "lmuEnergy",
    "lmuStint",   "haptics",  "performance", "dash",     "widget0",    "widget1",   "widget2",
    "widget3",    "widget4",  "widget5",     "widget6",  "widget7",    "widget8",   "widget9",
    "widget10",   "widget11", "relative"};

/// The object under `key`, or null.
const json* objectAt(const json& parent, const char* key) {
    if (!parent.is_object()) return nullptr;
    const auto found = parent.find(key);
    return found != parent.end() && found->is_object() ? &*found : nullptr;
}

void moveColumns(json& root, const char* oldKey, const char* overlay) {
    const auto old = root.find(oldKey);
    if (old == root.end() || !old->is_array()) return;
    json columns = *old;
    json& object = root[overlay];
    if (!object.is_object()) object = json::object();
    if (!object.contains("columns")) object["columns"] = std::move(columns);
}

double squaredDistance(PointI p, const RectI& r) {
    const double x = std::max({r.left - 0.0 - p.x, p.x - (r.right - 1.0), 0.0});
    const double y = std::max({r.top - 0.0 - p.y, p.y - (r.bottom - 1.0), 0.0});
    return x * x + y * y;
}

int scaled(int value, int from, int fromSize, int to, int toSize) {
    const double share = (static_cast<double>(value) - from) / fromSize;
    const double mapped = std::round(to + share * toSize);
    return static_cast<int>(std::clamp(mapped, -2147483648.0, 2147483647.0));
}

void moveKeys(json& object, const char* xKey, const char* yKey, const MonitorMove& move) {
    if (!object.is_object() || !object.contains(xKey) || !object.contains(yKey)) return;
    if (!object[xKey].is_number() || !object[yKey].is_number()) return;
    const PointI old = {toInt(object[xKey], 0), toInt(object[yKey], 0)};
    if (old.x == kNeverPlaced || old.y == kNeverPlaced) return;
    const PointI now = mapPointBetweenMonitors(old, move);
    if (now.x != old.x) object[xKey] = now.x;
    if (now.y != old.y) object[yKey] = now.y;
}

} // namespace

void migrateForm(json& root) {
    const json windows = root.contains("windows") ? root["windows"] : json();
    const bool hadSession = objectAt(root, "session") != nullptr;
    for (const char* key : kFromWindows) {
        const json* old = objectAt(windows, key);
        if (old && !objectAt(root, key)) root[key] = *old;
    }
    if (const json* panel = objectAt(root, "sessionPanel"); panel && !hadSession) {
        json session = objectAt(root, "session") ? root["session"] : json::object();
        session.update(*panel);
        root["session"] = std::move(session);
    }
    moveColumns(root, "relativeContent", "relative");
    moveColumns(root, "standingsContent", "standings");
}

PointI mapPointBetweenMonitors(PointI point, const MonitorMove& move) {
    if (move.before == move.after || move.before.size() != move.after.size()) return point;
    size_t nearest = 0;
    for (size_t i = 1; i < move.before.size(); ++i)
        if (squaredDistance(point, move.before[i]) < squaredDistance(point, move.before[nearest]))
            nearest = i;
    const RectI& from = move.before[nearest];
    const RectI& to = move.after[nearest];
    if (from.empty()) return point;
    return {scaled(point.x, from.left, from.width(), to.left, to.width()),
            scaled(point.y, from.top, from.height(), to.top, to.height())};
}

void migratePositions(json& root, const MonitorMove& move) {
    if (!root.is_object() || move.before == move.after) return;
    for (auto& value : root)
        moveKeys(value, "x", "y", move);
    if (const auto windows = root.find("windows"); windows != root.end() && windows->is_object())
        for (auto& value : *windows)
            moveKeys(value, "x", "y", move);
    moveKeys(root, "panelX", "panelY", move);
}

} // namespace vt
