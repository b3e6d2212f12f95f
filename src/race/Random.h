#pragma once

#include <functional>

namespace tarvex {

// Where the race draws come from: a uniform number in [0, 1). Tests pass a fixed sequence.
using RandomSource = std::function<double()>;

// The system's generator.
RandomSource SystemRandom();

// Uniform over low..high inclusive: the integer part of r * (high - low + 1), plus low.
int RandomInt(const RandomSource& random, int low, int high);

} // namespace tarvex
