// Strength of a field and what the present places would do to a rating.
#include "race/race_text.h"
#include "race/relative_model.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr double kRatingScale = 2308.3120654223417; // 1600 / ln 2

double weakness(int rating) {
    return std::exp(-static_cast<double>(rating) / kRatingScale);
}

/// Sum over a field, in the order in which the cars come.
struct FieldStrength {
    int count = 0;
    double sum = 0;

    void add(const CarRow& row) {
        if (row.irating <= 0) return;
        ++count;
        sum += weakness(row.irating);
    }
    uint32_t value() const {
        if (count == 0 || !(sum > 0)) return 0;
        const double strength = std::max(0.0, kRatingScale * std::log(count / sum));
        return static_cast<uint32_t>(strength + 0.5);
    }
};

/// Chance of the car of weakness `q` to finish before the one of weakness `e`.
double expectedAgainst(double q, double e) {
    const double den = (1 - e) * q + (1 - q) * e;
    return den > 0 ? (1 - q) * e / den : 0.5;
}

} // namespace

uint32_t strengthOfField(const std::vector<const CarRow*>& rows) {
    FieldStrength field;
    for (const CarRow* row : rows)
        field.add(*row);
    return field.value();
}

uint32_t classStrength(const SimFrame& frame, std::string_view className) {
    FieldStrength field;
    for (const CarRow& row : frame.cars)
        if (className.empty() || textOf(row.carClass) == className) field.add(row);
    return field.value();
}

std::vector<const CarRow*> ratingFieldOf(const SimFrame& frame) {
    const CarRow* player = playerRow(frame);
    const std::string_view wanted = player ? textOf(player->carClass) : std::string_view();
    std::vector<const CarRow*> field;
    for (const CarRow& row : frame.cars)
        if (row.position > 0 && (wanted.empty() || textOf(row.carClass) == wanted))
            field.push_back(&row);
    return field;
}

bool projectRatingGain(const std::vector<const CarRow*>& rows, int carIdx, int& gain) {
    int count = 0;
    const CarRow* subject = nullptr;
    for (const CarRow* row : rows) {
        if (row->irating < 1) continue;
        ++count;
        if (!subject && row->carIdx == carIdx) subject = row;
    }
    if (count < 2 || !subject) return false;

    const double q = weakness(subject->irating);
    double expected = 0;
    int place = 1;
    for (const CarRow* row : rows) {
        if (row == subject || row->irating < 1) continue;
        expected += expectedAgainst(q, weakness(row->irating));
        if (row->position > 0 && subject->position > 0 && row->position < subject->position)
            ++place;
    }
    place = std::clamp(place, 1, count);
    const double n = count;
    const double raw = (n - place - expected - (n / 2 - place) / 100) * 200 / n;
    gain = static_cast<int>(std::lround(raw)); // halves away from zero
    return true;
}

int ratingGainOf(const SimFrame& frame, const CarRow& row, bool& known) {
    known = false;
    if (row.irating < 1) return 0;
    const std::string_view wanted = textOf(row.carClass);
    std::vector<const CarRow*> field;
    field.reserve(frame.cars.size());
    for (const CarRow& other : frame.cars)
        if (other.position > 0 && (wanted.empty() || textOf(other.carClass) == wanted))
            field.push_back(&other);
    int gain = 0;
    known = projectRatingGain(field, row.carIdx, gain);
    return known ? gain : 0;
}

} // namespace vt
