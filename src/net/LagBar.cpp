#include "net/LagBar.h"

#include <algorithm>
#include <cmath>

namespace tarvex {

LagBar ShowPing(std::uint8_t lag, int width) {
    LagBar bar;
    // Three lag bytes (21 ms) to a step of 51: a level every 119 ms, full red from 595 ms.
    bar.level = std::min(int(lag) * 3, 255) / 51;
    if (bar.level <= 1) {
        bar.colour = 0x00FF00;
    } else if (bar.level <= 3) {
        bar.colour = 0xFFFF00;
    } else {
        bar.colour = 0xFF0000;
    }
    const int unit = int(std::lround(width / 7.0));
    for (int k = 0; k <= bar.level; ++k) {
        bar.stroke_x.push_back(k * unit + 30);
    }
    return bar;
}

} // namespace tarvex
