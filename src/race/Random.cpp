#include "race/Random.h"

#include <QRandomGenerator>
#include <cmath>

namespace tarvex {

RandomSource SystemRandom() {
    return [] {
        return QRandomGenerator::global()->generateDouble();
    };
}

int RandomInt(const RandomSource& random, int low, int high) {
    return int(std::floor(random() * double(high - low + 1))) + low;
}

} // namespace tarvex
