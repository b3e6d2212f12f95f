#pragma once

#include "platform/Sound.h"

#include <QStringList>

namespace tarvex {

class FakeSound final : public Sound {
public:
    void Play(const QString& cue) override { played.append(cue); }
    QStringList played;
};

} // namespace tarvex
