#pragma once

#include "ghost/d3dmath.h"

#include <climits>
#include <cstdint>

// How one ghost follows the samples of a remote car. Samples carry the sender's millisecond
// clock; the ghost runs on a blend clock that goes from 0 to 1000 over one blend, from the pose
// shown when the blend began to a target. Each sample starts a blend towards the newest
// position moved on by the change of velocity; between samples an ended blend is followed by
// an extrapolated one, up to five, after which the ghost goes on along the line of the last.
//
// Clocks are 32-bit millisecond counts; differences are taken as 32-bit wrapping values, so a
// sender whose clock passes 2^32 is followed smoothly.
namespace tarvex {

class GhostMotion {
public:
    static constexpr int SamplesBeforeShown = 4;
    static constexpr int MaxExtraBlends = 5;
    // The sender's clock is read this far ahead of the newest sample, so the blend aims at
    // where the car is about to be rather than where it was.
    static constexpr std::int32_t LeadMs = 100;

    // A received sample, taken in at the local time `now`.
    void Receive(std::int32_t sent_at, Vec3 position, const Quaternion& orientation,
                 std::uint32_t now);
    // Moves the blend clock on by `elapsed_ms` local milliseconds.
    void Advance(std::uint32_t now, std::uint32_t elapsed_ms);
    // Renews an ended blend, then interpolates the pose to show now.
    void Blend(std::uint32_t now);
    // The offsets are relearnt from the next samples (a new game run).
    void ForgetClockOffset() { m_min_offset = INT_MAX; }

    // Whether enough samples have arrived for the ghost to be drawn.
    bool Shown() const { return m_sample_count >= SamplesBeforeShown; }
    // The world matrix of the pose last blended: its rotation and the shown position.
    Matrix WorldMatrix() const;

    Vec3 ShownPosition() const { return m_shown_position; }
    Quaternion ShownOrientation() const { return m_shown_orientation; }
    Vec3 NewestPosition() const { return m_position[Newest]; }
    float BlendClock() const { return m_blend_clock; }
    int BlendCount() const { return m_blend_count; }
    int SampleCount() const { return m_sample_count; }
    std::int32_t MinOffset() const { return m_min_offset; }
    // The interval from the sample before the newest to the sender's clock as seen now.
    std::int32_t Interval(std::uint32_t now) const;

private:
    enum { Newest = 0, Previous = 1, Older = 2 };
    void Extrapolate(std::uint32_t now);

    Vec3 m_position[3];
    std::int32_t m_sent_at[3] = {};
    Vec3 m_older_velocity, m_latest_velocity, m_velocity_change;
    Vec3 m_start_position, m_target_position, m_shown_position;
    Quaternion m_start_orientation, m_target_orientation, m_shown_orientation;
    std::int32_t m_min_offset = INT_MAX;
    float m_blend_clock = 0;
    int m_blend_count = 0;
    int m_sample_count = 0;
};

} // namespace tarvex
