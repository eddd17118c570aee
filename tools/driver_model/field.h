// Who drives what: invented classes, cars, teams and people.
#pragma once
#include "driver_model/driver_model.h"

namespace model {

/// `count` classes, 1..4, the quickest first.
std::vector<CarClass> makeClasses(int count);

/// Names, numbers and classes of all cars; the places of the others stay as they are.
void makeField(Race& race);

/// A number from 0 to 1 that is the same for the same race, car and lap, however it is stepped.
double chance(const Race& race, int car, int lap, uint32_t salt);

/// The same with a bell curve of spread 1, at most 2.5 to either side.
double bellChance(const Race& race, int car, int lap, uint32_t salt);

} // namespace model
