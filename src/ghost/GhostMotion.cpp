#include "ghost/GhostMotion.h"

namespace tarvex {

namespace {

// Distance per millisecond over an interval. Two samples with the same sender time, or a
// sender clock that went backwards, say nothing about speed: the car counts as standing.
Vec3 Velocity(Vec3 from, Vec3 to, std::int32_t interval_ms) {
    if (interval_ms <= 0) {
        return {};
    }
    const float ms = float(interval_ms);
    return {(to.x - from.x) / ms, (to.y - from.y) / ms, (to.z - from.z) / ms};
}

std::int32_t Difference(std::uint32_t later, std::uint32_t earlier) {
    return std::int32_t(later - earlier);
}

} // namespace

void GhostMotion::Receive(std::int32_t sent_at, Vec3 position, const Quaternion& orientation,
                          std::uint32_t now) {
    const std::int32_t offset = Difference(now, std::uint32_t(sent_at));
    if (offset < m_min_offset) {
        m_min_offset = offset;
    }
    if (m_sample_count == SamplesBeforeShown - 1) {
        // Nothing has been shown yet: the first blend starts where the car is, instead of
        // sweeping in from the origin of the world.
        m_shown_position = position;
        m_shown_orientation = orientation;
    }

    m_position[Older] = m_position[Previous];
    m_sent_at[Older] = m_sent_at[Previous];
    m_start_orientation = m_shown_orientation;
    m_position[Previous] = m_position[Newest];
    m_sent_at[Previous] = m_sent_at[Newest];
    m_start_position = m_shown_position;
    m_sent_at[Newest] = sent_at;
    m_target_orientation = orientation;
    m_position[Newest] = position;

    // Until three samples are in, the history still holds zero times and positions.
    if (m_sample_count >= 2) {
        m_older_velocity = Velocity(
            m_position[Older], m_position[Previous],
            Difference(std::uint32_t(m_sent_at[Previous]), std::uint32_t(m_sent_at[Older])));
        m_latest_velocity = Velocity(
            m_position[Previous], m_position[Newest],
            Difference(std::uint32_t(m_sent_at[Newest]), std::uint32_t(m_sent_at[Previous])));
    } else {
        m_older_velocity = {};
        m_latest_velocity = {};
    }
    m_velocity_change = m_latest_velocity - m_older_velocity;

    Extrapolate(now);
    m_blend_count = 0;
    if (m_sample_count < SamplesBeforeShown) {
        ++m_sample_count;
    }
}

std::int32_t GhostMotion::Interval(std::uint32_t now) const {
    const std::uint32_t sender_now = now - std::uint32_t(m_min_offset) + std::uint32_t(LeadMs);
    return Difference(sender_now, std::uint32_t(m_sent_at[Previous]));
}

void GhostMotion::Extrapolate(std::uint32_t now) {
    const float dt = float(Interval(now));
    const Vec3 predicted_velocity = m_velocity_change * dt + m_older_velocity;
    const Vec3 half_step = (predicted_velocity - m_older_velocity) * 0.5f;
    m_target_position = m_velocity_change * dt + half_step + m_position[Newest];
}

void GhostMotion::Advance(std::uint32_t now, std::uint32_t elapsed_ms) {
    const std::int32_t dt = Interval(now);
    // A sender clock that is not yet past the sample before the newest gives no pace: the
    // blend waits rather than dividing by nothing or running backwards.
    if (dt > 0) {
        m_blend_clock += (1000.0f / float(dt)) * 1.5f * float(elapsed_ms);
    }
}

void GhostMotion::Blend(std::uint32_t now) {
    if (m_blend_clock > 1000.0f && m_blend_count < MaxExtraBlends) {
        m_start_position = m_shown_position;
        m_start_orientation = m_shown_orientation;
        m_target_orientation = m_shown_orientation;
        Extrapolate(now);
        m_blend_clock = 0.0f;
        ++m_blend_count;
    }
    const float s = m_blend_clock * 0.001f;
    const Vec3 position = Vec3Lerp(m_start_position, m_target_position, s);
    const Quaternion orientation =
        QuaternionNormalize(QuaternionSlerp(m_start_orientation, m_target_orientation, s));
    if (IsFinite(position) && IsFinite(orientation)) {
        m_shown_position = position;
        m_shown_orientation = orientation;
        return;
    }
    // Samples far apart in space and close in time can overflow the extrapolation; rather than
    // carry an infinity into every later blend, the ghost settles on the newest sample.
    m_shown_position = m_start_position = m_target_position = m_position[Newest];
    m_shown_orientation = m_start_orientation = m_target_orientation =
        QuaternionNormalize(m_target_orientation);
    m_blend_clock = 0.0f;
}

Matrix GhostMotion::WorldMatrix() const {
    Matrix w = MatrixRotationQuaternion(m_shown_orientation);
    w.m[3][0] = m_shown_position.x;
    w.m[3][1] = m_shown_position.y;
    w.m[3][2] = m_shown_position.z;
    return w;
}

} // namespace tarvex
