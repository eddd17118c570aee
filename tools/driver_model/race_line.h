// The line that a car takes round an empty circuit, and how fast a class can take it.
#pragma once
#include "driver_model/driver_model.h"

namespace model {

inline constexpr double kGravity = 9.80665;

/// The line of least curvature that keeps `margin` metres from the edges.
RaceLine findRaceLine(const Circuit& circuit, double margin);

/// The centre line in the same terms.
RaceLine centreLine(const Circuit& circuit);

/// Lateral and braking acceleration that the tyres can give, m/s².
double gripAt(const CarClass& c, double speed, double rain);

/// Acceleration on full throttle without the drag, m/s²: tyres of the driven axle or power.
double driveAt(const CarClass& c, double speed, double rain);

/// Reachable speed at each point of the circuit along the line, m/s.
std::vector<double> reachableSpeeds(const Circuit& circuit, const RaceLine& line, const CarClass& c,
                                    double rain);

} // namespace model
