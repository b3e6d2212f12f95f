#pragma once

#include <cstdint>
#include <vector>

namespace tarvex {

// How a row's lag bar looks for a lag byte: level + 1 vertical strokes in one colour, green for
// a good link, yellow for a fair one, red for a poor one.
struct LagBar {
    int level = 0;            // 0..5
    std::uint32_t colour = 0; // 0xRRGGBB
    // Where the strokes stand, in the bar's own units (twips: 15 to a pixel), left to right.
    std::vector<int> stroke_x;
};

// `width` is the bar's width in the same units as the stroke positions.
LagBar ShowPing(std::uint8_t lag, int width);

} // namespace tarvex
