#include "app/GameOptions.h"

#include "app/SettingsFile.h"
#include "app/Tarvex.h"

#include <array>

namespace tarvex {

namespace {

template <std::uint8_t Settings::*Field>
std::uint8_t& Option(StoredSettings& stored) {
    return stored.settings.*Field;
}

template <std::uint8_t RaceSettings::*Field>
std::uint8_t& Race(StoredSettings& stored) {
    return stored.race.*Field;
}

constexpr std::array kControls{
    OptionControl{"chkVote", OptionScope::HostKept, Option<&Settings::VoteAllowed>},
    OptionControl{"chkClock", OptionScope::HostSent, Option<&Settings::ClockWhenPaused>},
    OptionControl{"chkGhost", OptionScope::HostSent, Option<&Settings::GhostsDisabled>},
    OptionControl{"chkCheat", OptionScope::HostSent, Option<&Settings::CheatProtection>},
    OptionControl{"chkPenal", OptionScope::HostSent, Race<&RaceSettings::PenaltiesDisabled>},
    OptionControl{"chkSetup", OptionScope::HostSent, Race<&RaceSettings::SetupsAllowed>},
    OptionControl{"cmbCompress", OptionScope::HostSent, Option<&Settings::Compression>},
    OptionControl{"chkTag", OptionScope::Player, Option<&Settings::ShowNameTag>},
    OptionControl{"scrNameO", OptionScope::Player, Option<&Settings::NameOpacity>},
    OptionControl{"scrNameH", OptionScope::Player, Option<&Settings::NameHeight>},
    OptionControl{"scrCTime", OptionScope::Player, Option<&Settings::ChatSeconds>},
    OptionControl{"chkCGhost", OptionScope::Player, Option<&Settings::ShowGhost>},
    OptionControl{"chkSplit", OptionScope::Player, Option<&Settings::ShowSplits>},
    OptionControl{"chkSBox", OptionScope::Player, Option<&Settings::ShowAheadBehind>},
    OptionControl{"chkJQ", OptionScope::Player, Option<&Settings::ShowJoinQuit>},
    OptionControl{"proSlot", OptionScope::Player, Option<&Settings::ProfileSlot>},
    OptionControl{"proBypass", OptionScope::Player, Option<&Settings::BypassProfile>},
};

} // namespace

std::span<const OptionControl> GameOptions::Controls() {
    return kControls;
}

const OptionControl* GameOptions::Control(const QString& name) {
    for (const OptionControl& control : kControls) {
        if (name == QLatin1String(control.name)) {
            return &control;
        }
    }
    return nullptr;
}

QStringList GameOptions::CompressionNames() {
    return {QStringLiteral("None (default)"), QStringLiteral("Low"),
            QStringLiteral("Medium"),         QStringLiteral("High"),
            QStringLiteral("Very High"),      QStringLiteral("Extremely High!")};
}

QStringList GameOptions::ProfileSlotNames() {
    QStringList names;
    for (int slot = 1; slot <= 10; ++slot) {
        names << QString::number(slot);
    }
    return names;
}

QString GameOptions::IntervalText(int milliseconds) {
    return QStringLiteral("Data Intervals: ") + QString::number(milliseconds) +
           QStringLiteral(" ms");
}

GameOptions::GameOptions(Tarvex& tarvex, QObject* parent)
    : QObject(parent)
    , m_tarvex(tarvex) {
    // The race link has stored the host's values by the time this runs: it was connected first.
    connect(&tarvex.client_side(), &ClientSide::GameDataReceived, this,
            &GameOptions::ServerOptionsChanged);
}

bool GameOptions::EditsServerOptions() const {
    return m_tarvex.IsHost;
}

bool GameOptions::Shows(const OptionControl& control) const {
    return control.scope != OptionScope::HostKept || EditsServerOptions();
}

bool GameOptions::Enables(const OptionControl& control) const {
    return control.scope == OptionScope::Player || EditsServerOptions();
}

int GameOptions::Value(const OptionControl& control) const {
    return control.field(m_tarvex.stored);
}

void GameOptions::Change(const OptionControl& control, int value) {
    if (control.scope != OptionScope::Player && !EditsServerOptions()) {
        return;
    }
    control.field(m_tarvex.stored) = std::uint8_t(value);
    if (control.scope == OptionScope::HostSent) {
        SendGameData();
    }
}

int GameOptions::DataInterval() const {
    return m_tarvex.settings.DataInterval;
}

void GameOptions::intScroll_Change(int milliseconds) {
    if (!EditsServerOptions()) {
        return;
    }
    m_tarvex.settings.DataInterval = std::int16_t(milliseconds);
    m_tarvex.ApplyDataInterval();
    SendGameData();
}

bool GameOptions::NameBarsEnabled() const {
    return m_tarvex.settings.ShowNameTag != 0;
}

QString GameOptions::GamePath() const {
    return m_tarvex.settings.GamePath;
}

void GameOptions::txtPath_Change(const QString& text) {
    m_tarvex.settings.GamePath = text;
}

std::optional<QString> GameOptions::Command2_Click() {
    const QString path = FindGameExecutable(m_tarvex);
    // A cancelled dialog, or one that somehow gave a lone character, is no path to a game.
    if (path.size() <= 1) {
        return std::nullopt;
    }
    m_tarvex.settings.GamePath = path;
    return path;
}

void GameOptions::SendGameData() {
    m_tarvex.server_side().SendGameData(m_tarvex.CurrentGameData());
}

} // namespace tarvex
