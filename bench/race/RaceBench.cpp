// Start skew: how far apart the games' clocks start after the one start signal, across 4 and 12
// games in one process, with the car released the moment the signal arrives and with the
// release left to the next polling tick. The floor is the spread of the signal's arrival at the
// copies themselves, measured in the same starts. Also: seconds from "Start" to the last car at
// the line.

#include "RaceHarness.h"

#include <QApplication>
#include <QElapsedTimer>
#include <algorithm>
#include <cstdio>
#include <map>
#include <vector>

using namespace tarvex;
using namespace tarvex::test;

namespace {

constexpr int kStarts = 5;
constexpr double kTimeScale = 2.0;

QElapsedTimer g_clock;

double NowMs() {
    return double(g_clock.nsecsElapsed()) / 1e6;
}

struct Spread {
    std::vector<double> values;
    void Add(const std::vector<double>& moments) {
        const auto [low, high] = std::minmax_element(moments.begin(), moments.end());
        values.push_back(*high - *low);
    }
    QString Text() const {
        std::vector<double> sorted = values;
        std::sort(sorted.begin(), sorted.end());
        return QStringLiteral("min %1  median %2  max %3 ms")
            .arg(sorted.front(), 0, 'f', 1)
            .arg(sorted[sorted.size() / 2], 0, 'f', 1)
            .arg(sorted.back(), 0, 'f', 1);
    }
};

// Where each game's clock starts, in real milliseconds: the first frame after its copy has the
// start signal tells it, from the countdown left and the game's speed.
class StartWatch {
public:
    explicit StartWatch(const std::vector<Player*>& players)
        : m_players(players) {
        for (Player* player : players) {
            player->machine->after_frame = [this, player](GameMachine& machine) {
                Frame(*player, machine);
            };
            QObject::connect(&(*player)->client_side(), &ClientSide::StartSignal,
                             [this, player] { m_arrival[player] = NowMs(); });
        }
        Player& host = *players.front();
        // The host's own copy has the signal the moment it sends it.
        QObject::connect(&host->host_control(), &HostRace::Changed, [this, &host] {
            const bool given = host->flags.StartGiven == 1;
            if (given && !m_host_given) {
                m_arrival[&host] = NowMs();
            }
            m_host_given = given;
        });
    }
    void Reset() {
        m_zero.clear();
        m_arrival.clear();
    }
    bool Complete() const {
        return m_zero.size() == m_players.size() && m_arrival.size() == m_players.size();
    }
    std::vector<double> Zeros() const { return Values(m_zero); }
    std::vector<double> Arrivals() const { return Values(m_arrival); }

private:
    void Frame(Player& player, GameMachine& machine) {
        if (player->flags.StartGiven != 1 || m_zero.count(&player)) {
            return;
        }
        const sim::Status status = machine.game()->GetStatus();
        if (status.in_stage && status.countdown < 6.99f && status.countdown > 0.0f) {
            m_zero[&player] = NowMs() + double(status.countdown) * 1000.0 / machine.TimeScale();
        }
    }
    static std::vector<double> Values(const std::map<Player*, double>& moments) {
        std::vector<double> values;
        for (const auto& [player, moment] : moments) {
            values.push_back(moment);
        }
        return values;
    }

    std::vector<Player*> m_players;
    std::map<Player*, double> m_zero;
    std::map<Player*, double> m_arrival;
    bool m_host_given = false;
};

void Run(int drivers, bool release_on_signal) {
    RaceHarness race(kTimeScale);
    if (!race.StartHost({QStringLiteral("Host"), 1.0, 1}, 12)) {
        std::fprintf(stderr, "no port\n");
        return;
    }
    for (int i = 1; i < drivers; ++i) {
        race.Join({QStringLiteral("Bot%1").arg(i), 1.0, std::uint32_t(i + 1)});
    }
    const std::vector<Player*> everyone = race.Everyone();
    for (Player* player : everyone) {
        player->machine->SetFrameInterval(5);
        (*player)->reader().SetReleaseOnSignal(release_on_signal);
    }
    StartWatch watch(everyone);
    race.AllReady(everyone);

    Spread skew;
    Spread arrival;
    Tarvex& host = *race.Host();
    const double pressed = NowMs();
    race.Start();
    double at_line = 0;
    SessionHarness::WaitFor(
        [&] {
            for (Player* player : everyone) {
                const int slot = (*player)->IsHost ? 0 : (*player)->LocalSlot;
                if (host.roster[slot].Status < 4) {
                    return false;
                }
            }
            at_line = NowMs();
            return true;
        },
        120000);
    for (int start = 0; start < kStarts; ++start) {
        if (start > 0) {
            watch.Reset();
            host.host_control().DoRestart();
            SessionHarness::WaitFor([&] { return host.flags.StartGiven == 0; }, 20000);
        }
        if (!SessionHarness::WaitFor([&] { return watch.Complete(); }, 120000)) {
            std::fprintf(stderr, "start %d did not complete\n", start + 1);
            return;
        }
        skew.Add(watch.Zeros());
        arrival.Add(watch.Arrivals());
    }
    std::printf("%2d games, release %-16s skew %s   (floor: signal arrival %s)\n", drivers,
                release_on_signal ? "on arrival:" : "at next poll:", qPrintable(skew.Text()),
                qPrintable(arrival.Text()));
    std::printf("%2d games: Start to the last car at the line: %.1f s (game time x%.0f)\n", drivers,
                (at_line - pressed) / 1000.0, kTimeScale);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    g_clock.start();
    for (int drivers : {4, 12}) {
        for (bool release : {true, false}) {
            Run(drivers, release);
        }
    }
    return 0;
}
