#include "game/GameStateReader.h"

#include "app/Settings.h"
#include "game/GameMap.h"
#include "game/GameText.h"
#include "game/InfoText.h"
#include "game/RaceBlock.h"
#include "net/SessionFlags.h"
#include "results/Results.h"

#include <QScopeGuard>
#include <QTimer>
#include <array>
#include <bit>
#include <cmath>

namespace tarvex {

namespace {

// While the game is gone, its intro video must not stand in the way of the next start.
const QString kVideoWindowClass = QStringLiteral("DHRVideoPlayerDS");

namespace rb = gamemap::raceblock;

// The fields of the race block one polling tick reads, in one access.
enum Field { Distance, Time, PreStart, Countdown, FalseStarts, Splits, Split1, Split2, Finish };
constexpr std::array<std::uint32_t, 9> kFieldOffsets{
    rb::kDistanceDriven, rb::kRaceTime,        rb::kPreStartClock,
    rb::kStartCountdown, rb::kFalseStartCount, rb::kSplitsPassed,
    rb::kSplit1Time,     rb::kSplit2Time,      rb::kFinishFlag};

} // namespace

GameStateReader::GameStateReader(GameProcess& game, Desktop& desktop, const Settings& settings,
                                 Roster& roster, SessionFlags& flags, Results& results,
                                 QObject* parent)
    : QObject(parent)
    , m_game(game)
    , m_desktop(desktop)
    , m_settings(settings)
    , m_roster(roster)
    , m_flags(flags)
    , m_results(results)
    , m_snd_timer(new QTimer(this))
    , m_p_timer(new QTimer(this)) {
    m_snd_timer->setObjectName(QStringLiteral("sndTimer"));
    m_p_timer->setObjectName(QStringLiteral("pTimer"));
    m_p_timer->setInterval(InfoIntervalMs);
    connect(m_snd_timer, &QTimer::timeout, this, &GameStateReader::GameTick);
    connect(m_p_timer, &QTimer::timeout, this, &GameStateReader::ShowInfoText);
}

void GameStateReader::Start() {
    m_snd_timer->start();
    m_p_timer->start();
}

void GameStateReader::Stop() {
    m_snd_timer->stop();
    m_p_timer->stop();
}

void GameStateReader::Run(const std::function<void()>& step) {
    if (step) {
        step();
    }
}

std::uint32_t GameStateReader::GetRaceBlock() {
    return tarvex::GetRaceBlock(m_game, m_build);
}

std::int32_t GameStateReader::GetStageLength() {
    return tarvex::GetStageLength(m_game, m_build);
}

float GameStateReader::GetStageDistance() {
    if (m_finish_sent) {
        return float(GetStageLength());
    }
    const std::uint32_t block = GetRaceBlock();
    return block == 0 ? 0.0f : m_game.ReadGameSingle(block + rb::kDistanceDriven);
}

std::uint8_t GameStateReader::GetProgressPercent() {
    const float distance = GetStageDistance();
    const std::int32_t length = GetStageLength();
    if (length == 0) {
        return m_percent;
    }
    const double percent = std::trunc(double(distance) * (100.0 / double(length)));
    // What a byte cannot hold leaves the last good value in place.
    if (std::isfinite(percent) && percent >= 0 && percent <= 255) {
        m_percent = std::uint8_t(percent);
    }
    return m_percent;
}

void GameStateReader::GameTick() {
    // The waits inside a tick let other timers run; a polling tick must not start inside one.
    if (m_in_tick || !m_seat) {
        return;
    }
    m_in_tick = true;
    const auto leave = qScopeGuard([this] { m_in_tick = false; });

    m_game.FindGame();
    const bool running = m_game.Window() != 0;
    if (running && (m_build == 0 || m_game.ProcessId() != m_build_pid)) {
        m_build = CurrentBuild(m_game);
        m_build_pid = m_game.ProcessId();
    }
    if (m_settings.GhostsDisabled == 0 && running && m_game.IsGameForeground()) {
        Run(m_steps.SendCarState);
        Run(m_steps.GhostTick);
    }

    if (!running) {
        if (m_game_seen) {
            m_seat->UntickReady();
        }
        m_patches_applied = false;
        m_game_seen = false;
        Run(m_steps.ClearGhostsReady);
        const WindowHandle video = m_desktop.FindWindowByClass(kVideoWindowClass);
        if (video != 0) {
            m_game.TerminateWindowProcess(video);
        } else {
            emit NothingToWatch();
        }
        return;
    }
    // The game has only just appeared: give it a tick to come up.
    if (!m_game_seen) {
        m_game_seen = true;
        return;
    }
    if (!m_seat->ReadyTicked() || !m_seat->InLaunchedRace()) {
        Refuse();
        return;
    }
    if (!m_patches_applied) {
        PrepareGameRun();
    }
    if (m_game.IsGameForeground()) {
        DeriveRaceEvents();
    }
}

void GameStateReader::Refuse() {
    // The game may only be used for a launched race the player is Ready for.
    Run(m_steps.CloseGame);
    const bool ready = m_seat->ReadyTicked();
    emit SystemLine(m_seat->RaceLaunched() && !ready
                        ? QStringLiteral("* Error: You are not Ready")
                        : QStringLiteral("* Error: Server Has Not Started Game"));
    if (ready) {
        m_seat->UntickReady();
    } else {
        m_seat->SendGameStatus(PlayerStatus::Idle);
    }
    m_game.WaitMs(1000);
    m_game_seen = false;
    Run(m_steps.ClearGhostsReady);
}

void GameStateReader::PrepareGameRun() {
    m_seat->SendGameStatus(PlayerStatus::Loading);
    m_game.WaitMs(1000);
    Run(m_steps.CheckPhysicsArchive);
    Run(m_steps.ApplyGamePatches);
    m_patches_applied = true;
}

void GameStateReader::DeriveRaceEvents() {
    const std::uint32_t block = GetRaceBlock();
    if (block == 0) {
        return;
    }
    std::array<std::uint32_t, kFieldOffsets.size()> addresses{};
    for (std::size_t i = 0; i < addresses.size(); ++i) {
        addresses[i] = block + kFieldOffsets[i];
    }
    std::array<float, kFieldOffsets.size()> v{};
    m_game.ReadGameSingles(addresses, v);
    // A game that vanished in the middle of the tick tells nothing.
    if (m_game.LastResult() == 0) {
        return;
    }
    auto whole = [&v](Field field) {
        return std::bit_cast<std::int32_t>(v[field]);
    };

    const std::uint8_t was_in_stage = m_in_stage;
    if (v[Countdown] >= CountdownNotStarted || v[PreStart] >= 0.0f) {
        // Exactly 7.0 only on a stage just set up: everything reported belongs to the last one.
        if (v[Countdown] == CountdownNotStarted) {
            m_in_stage = 0;
            m_finish_sent = m_split1_sent = m_split2_sent = m_false_start_sent = false;
            m_flags.VoteCast = false;
        }
    } else {
        m_in_stage = 1;
    }
    if (m_in_stage == 1 && was_in_stage != 1) {
        m_seat->SendGameStatus(PlayerStatus::Driving);
    }

    if (whole(Finish) == 1 && !m_finish_sent) {
        ReportTime(MessageType::Finish, v[Time]);
        m_seat->SendGameStatus(PlayerStatus::Finished);
        m_finish_sent = true;
    } else if (v[Split1] > 0.0f && !m_split1_sent && whole(Splits) >= 1) {
        // A driver who was away from the game past both splits still gets the first one
        // reported: the game keeps its time.
        ReportTime(MessageType::Split1, v[Split1]);
        m_split1_sent = true;
    } else if (v[Split2] > 0.0f && !m_split2_sent && whole(Splits) >= 2) {
        ReportTime(MessageType::Split2, v[Split2]);
        m_split2_sent = true;
    } else if (whole(FalseStarts) >= 1 && !m_false_start_sent) {
        m_results.RecordFalseStart(m_seat->LocalSlot());
        m_seat->SendFalseStart();
        m_false_start_sent = true;
    }

    if (m_flags.StartGiven == 0 && m_in_stage == 1) {
        m_game.WriteGameSingle(block + rb::kStartCountdown, CountdownHeld);
    }
    Run(m_steps.PollMenuFlags);
}

void GameStateReader::ReportTime(MessageType kind, float seconds) {
    m_results.RecordTime(int(kind), m_seat->LocalSlot(), seconds);
    m_seat->SendTime(kind, seconds);
}

void GameStateReader::ReleaseStart() {
    if (!m_release_on_signal || m_in_stage != 1) {
        return;
    }
    if (const std::uint32_t block = GetRaceBlock()) {
        m_game.WriteGameSingle(block + rb::kStartCountdown, CountdownHeld);
    }
}

void GameStateReader::ShowInfoText() {
    if (!m_seat || !m_game.IsGameForeground()) {
        return;
    }
    const int local = m_seat->LocalSlot();
    m_roster[local].Distance = GetStageDistance();
    const std::uint8_t percent = GetProgressPercent();
    m_results.RecordPercent(local, percent);
    // After the finish the place is what it was on the line.
    if (!m_finish_sent) {
        m_position_text = PositionText(RacePosition(m_roster, local), m_flags.ParticipantCount);
    }
    InfoTextInput input;
    input.position_text = m_position_text;
    input.eta_seconds = m_seat->RestartSecondsLeft();
    input.percent = percent;
    input.ahead = CarAhead(m_roster, local);
    input.behind = CarBehind(m_roster, local);
    m_info_text = BuildInfoText(m_roster, local, input);

    const std::uint32_t block = GetRaceBlock();
    if (block == 0) {
        return;
    }
    if (const std::uint32_t buffer = gamemap::InfoTextBuffer(m_build)) {
        m_game.WriteGameLong(block + rb::kInfoTextB, std::int32_t(buffer));
        m_game.WriteGameLong(block + rb::kInfoTextA, std::int32_t(buffer));
        WriteGameText(m_game, buffer, m_info_text);
    }
    m_game.WriteGameSingle(block + rb::kInfoBoxTime,
                           m_settings.ShowAheadBehind == 1 ? 99.0f : 0.0f);
}

void GameStateReader::cmdHook_Click() {
    Run(m_steps.GhostTick);
    Run(m_steps.PollGameKeys);
}

} // namespace tarvex
