#include "RaceHarness.h"

#include "platform/linux/MonotonicClock.h"

#include <QDir>
#include <QTimer>

namespace tarvex::test {

RaceHarness::RaceHarness(double time_scale)
    : m_time_scale(time_scale) {
    session.prepare_platform = [this](Player& player, Platform& platform) {
        PreparePlatform(player, platform);
    };
}

void RaceHarness::PreparePlatform(Player& player, Platform& platform) {
    const QString folder = QDir(player.folder.Path()).filePath(QStringLiteral("game"));
    LayOutGameFolder(folder);
    sim::Options options;
    options.autopilot = true;
    options.pace = m_pending.pace;
    options.seed = m_pending.seed;
    options.false_start = m_pending.false_start;
    options.after_finish =
        m_pending.vote ? sim::AfterFinish::VoteRestart : sim::AfterFinish::Nothing;
    player.machine =
        std::make_shared<GameMachine>(player.platform.desktop, m_next_pid, folder, options);
    m_next_pid += 100;
    player.machine->SetTimeScale(m_time_scale);
    platform.memory = player.machine->ProcessMemoryOf();
    platform.shell = player.machine;
    // Waits inside the race loop count real time.
    platform.clock = std::make_shared<MonotonicClock>();
}

void RaceHarness::WireGame(Player& player) {
    Tarvex& tarvex = *player.tarvex;
    tarvex.settings.GamePath = player.machine->GamePath();
    // The profile menu is answered by the menu automation.
    tarvex.settings.BypassProfile = 1;
    tarvex.settings.ProfileSlot = 0;
    // The others' cars shown as ghosts, as a fresh install has them.
    tarvex.settings.ShowGhost = 1;
    tarvex.settings.GhostModel = 6;
}

bool RaceHarness::StartHost(const Driver& driver, int player_limit) {
    m_pending = driver;
    if (!session.StartHost(driver.name, player_limit)) {
        return false;
    }
    Player& host = session.Host();
    WireGame(host);
    RaceChoices& choices = host->host_race;
    choices.FillCombos();
    choices.LoadOld();
    // The short yard course: a stage is driven in seconds.
    choices.cmbCountry.Pick(6);
    choices.cmbStage.Pick(1);
    return true;
}

Player& RaceHarness::Join(const Driver& driver) {
    m_pending = driver;
    Player& player = session.Join(driver.name, {}, [this](Player& joining) {
        WireGame(joining);
        joining->client_race.FillCombos();
    });
    return player;
}

std::vector<Player*> RaceHarness::Everyone() {
    std::vector<Player*> players{&session.Host()};
    for (const auto& client : session.Clients()) {
        players.push_back(client.get());
    }
    return players;
}

bool RaceHarness::AllReady(const std::vector<Player*>& players) {
    for (Player* player : players) {
        (*player)->chkReady().SetTicked(true);
    }
    Tarvex& host = *session.Host();
    return SessionHarness::WaitFor([&] {
        for (Player* player : players) {
            const int slot = (*player)->IsHost ? 0 : (*player)->LocalSlot;
            if (host.roster[slot].Status != std::uint8_t(PlayerStatus::Ready)) {
                return false;
            }
        }
        return true;
    });
}

void RaceHarness::Start() {
    session.Host()->host_control().cmdStart_Click();
}

bool RaceHarness::WaitForStart(int timeout_ms) {
    Tarvex& host = *session.Host();
    return SessionHarness::WaitFor([&] { return host.flags.StartGiven == 1; }, timeout_ms);
}

bool RaceHarness::WaitForFinish(const std::vector<Player*>& players, int timeout_ms) {
    Tarvex& host = *session.Host();
    return SessionHarness::WaitFor(
        [&] {
            for (Player* player : players) {
                const int slot = (*player)->IsHost ? 0 : (*player)->LocalSlot;
                if (host.roster[slot].Status != std::uint8_t(PlayerStatus::Finished)) {
                    return false;
                }
            }
            return true;
        },
        timeout_ms);
}

void RaceHarness::SetMenusDriven(Player& player, bool driven) {
    QTimer& menus = player->bridge().mnuTimer();
    driven ? menus.start() : menus.stop();
}

} // namespace tarvex::test
