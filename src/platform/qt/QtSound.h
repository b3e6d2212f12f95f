#pragma once

#include "platform/Sound.h"

#include <QHash>
#include <memory>

class QSoundEffect;

namespace tarvex {

// Plays the cues built into the program ("TEST", "GO") through Qt Multimedia, without waiting.
// A machine without an audio output stays silent: a sound effect there would report itself
// playing for ever.
class QtSound final : public Sound {
public:
    QtSound();
    ~QtSound() override;

    void Play(const QString& cue) override;

private:
    QHash<QString, QSoundEffect*> m_effects;
};

} // namespace tarvex
