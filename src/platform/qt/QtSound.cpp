#include "platform/qt/QtSound.h"

#include <QAudioDevice>
#include <QMediaDevices>
#include <QSoundEffect>
#include <QUrl>

namespace tarvex {

QtSound::QtSound() = default;

QtSound::~QtSound() {
    qDeleteAll(m_effects);
}

void QtSound::Play(const QString& cue) {
    if (QMediaDevices::audioOutputs().isEmpty()) {
        return;
    }
    QSoundEffect*& effect = m_effects[cue];
    if (!effect) {
        // Unknown cues play nothing, as a missing sound resource would.
        effect = new QSoundEffect;
        effect->setSource(
            QUrl(QStringLiteral("qrc:/sounds/") + cue.toLower() + QStringLiteral(".wav")));
    }
    effect->play();
}

} // namespace tarvex
