#include "RaceHarness.h"

#include "TarvexPart.h"
#include "platform/linux/MonotonicClock.h"

#include <QDir>
#include <QTimer>

namespace tarvex::test {

namespace {

// Drives a player's game through its menus to the start line as the menu automation does,
// and applies the code patches when the game tick asks for them.
class MenuDriver : public QObject {
public:
    MenuDriver(Player& player)
        : m_player(player) {
        m_timer.setInterval(100);
        connect(&m_timer, &QTimer::timeout, this, &MenuDriver::Tick);
        m_timer.start();
    }

    bool driven = true;

    simtest::TarvexPart* Part() {
        GameMachine& machine = *m_player.machine;
        if (!machine.Running()) {
            m_part.reset();
            return nullptr;
        }
        // A game started again is another game, wherever it happens to live.
        if (!m_part || m_launch != machine.Launches()) {
            m_part = std::make_unique<simtest::TarvexPart>(*machine.memory(), *machine.game());
            m_launch = machine.Launches();
        }
        Tarvex& tarvex = *m_player.tarvex;
        simtest::Setup& setup = m_part->setup;
        setup.stage = tarvex.race.StageId;
        setup.weather = tarvex.race.WeatherPresetName.toStdString();
        setup.condition = tarvex.race.WeatherCondition;
        setup.humidity = tarvex.race.Humidity;
        setup.wear = tarvex.race.TyreWear;
        setup.damage = tarvex.race.Damage;
        setup.car = tarvex.LocalCar().Car;
        setup.trans = tarvex.LocalCar().Transmission;
        setup.tyre = tarvex.LocalCar().Tyre;
        return m_part.get();
    }

private:
    void Tick() {
        if (!driven) {
            return;
        }
        GameMachine& machine = *m_player.machine;
        if (machine.Running() &&
            m_player.platform.desktop->ForegroundWindow() == machine.Window()) {
            if (simtest::TarvexPart* part = Part()) {
                part->MenuTick();
            }
        }
    }

    Player& m_player;
    QTimer m_timer;
    std::unique_ptr<simtest::TarvexPart> m_part;
    int m_launch = 0;
};

} // namespace

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
    player.machine =
        std::make_shared<GameMachine>(player.platform.desktop, m_next_pid, folder, options);
    m_next_pid += 100;
    player.machine->SetTimeScale(m_time_scale);
    platform.memory = player.machine;
    platform.shell = player.machine;
    // Waits inside the race loop count real time.
    platform.clock = std::make_shared<MonotonicClock>();
}

void RaceHarness::WireGame(Player& player) {
    Tarvex& tarvex = *player.tarvex;
    tarvex.settings.GamePath = player.machine->GamePath();
    auto driver = std::make_unique<MenuDriver>(player);
    MenuDriver* menus = driver.get();
    m_drivers[&player] = std::move(driver);
    GameTickSteps& steps = tarvex.reader().Steps();
    steps.ApplyGamePatches = [menus, &tarvex] {
        if (simtest::TarvexPart* part = menus->Part()) {
            part->ApplyGamePatches(tarvex.cmdHook());
        }
    };
    steps.CloseGame = [&player] {
        player.platform.desktop->CloseWindow(player.machine->Window());
    };
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
    static_cast<MenuDriver*>(m_drivers.at(&player).get())->driven = driven;
}

} // namespace tarvex::test
