#pragma once

#include <QString>

namespace tarvex {

// The two start cues, "TEST" and "GO".
class Sound {
public:
    virtual ~Sound() = default;
    virtual void Play(const QString& cue) = 0;
};

} // namespace tarvex
