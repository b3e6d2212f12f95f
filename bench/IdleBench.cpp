// What a full session costs the machine while nobody does anything: a host and 11 clients,
// each a process of its own, joined and then left alone. Printed per copy: how often its
// threads were woken (voluntary context switches a second, every thread counted) and its
// processor use. The floor is a bare ENet host and 11 bare ENet clients built into this
// program, serving their sockets as ENet's own examples do (waiting up to a second in
// enet_host_service) and sending the same lag round every 5 s.
//
//   bench_idle [seconds]       default 30
#include "SessionSupport.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QNetworkDatagram>
#include <QTemporaryDir>
#include <QThread>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>

using namespace tarvex;
using namespace tarvex::bench;

namespace {

constexpr int Clients = 11;
constexpr int LagRoundMs = 5000;
constexpr int JoinSpacingMs = 300;

// The bare host: admits everyone, tells how many are in, and sends every player a lag table
// (as unreliable as the program's) every 5 s.
int RunRawHost(quint16 port) {
    ENetAddress address{ENET_HOST_ANY, port};
    ENetHost* host = enet_initialize() == 0 ? enet_host_create(&address, 16, 3, 0, 0) : nullptr;
    if (!host) {
        return 1;
    }
    int joined = 0;
    const QByteArray lag_table(13, '\0');
    enet_uint32 next_round = enet_time_get() + LagRoundMs;
    for (;;) {
        const enet_uint32 now = enet_time_get();
        if (ENET_TIME_GREATER_EQUAL(now, next_round)) {
            ENetPacket* packet = enet_packet_create(lag_table.constData(), 13, 0);
            enet_host_broadcast(host, 2, packet);
            enet_host_flush(host);
            next_round = now + LagRoundMs;
        }
        ENetEvent event;
        if (enet_host_service(host, &event, std::min<enet_uint32>(1000, next_round - now)) <= 0) {
            continue;
        }
        if (event.type == ENET_EVENT_TYPE_CONNECT) {
            std::printf("joined %d\n", ++joined);
            std::fflush(stdout);
        } else if (event.type == ENET_EVENT_TYPE_RECEIVE) {
            enet_packet_destroy(event.packet);
        }
    }
}

int RunRawClient(quint16 port) {
    ENetHost* host = enet_initialize() == 0 ? enet_host_create(nullptr, 1, 3, 0, 0) : nullptr;
    if (!host) {
        return 1;
    }
    ENetAddress address;
    enet_address_set_host_ip(&address, "127.0.0.1");
    address.port = port;
    enet_host_connect(host, &address, 3, 0);
    for (;;) {
        ENetEvent event;
        if (enet_host_service(host, &event, 1000) > 0 && event.type == ENET_EVENT_TYPE_RECEIVE) {
            enet_packet_destroy(event.packet);
        }
    }
}

struct Copy {
    std::unique_ptr<QProcess> process = std::make_unique<QProcess>();
    Usage before;
    Usage after;
};

// Players in the session as its host tells the public listing; -1 before the first datagram.
int ListedPlayers(QUdpSocket& listing, int last) {
    while (listing.hasPendingDatagrams()) {
        const QByteArray datagram = listing.receiveDatagram().data();
        if (datagram.size() > 2 && datagram[0] == 5) {
            last = std::uint8_t(datagram[2]);
        }
    }
    return last;
}

void Spin(int ms) {
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < ms) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        QThread::msleep(20);
    }
}

template <class Ready>
bool WaitFor(const Ready& ready, int ms) {
    QElapsedTimer clock;
    clock.start();
    while (!ready()) {
        if (clock.elapsed() > ms) {
            return false;
        }
        Spin(100);
    }
    return true;
}

// Leaves the session alone for `seconds` and takes each copy's use before and after.
void Watch(std::vector<Copy>& copies, int seconds) {
    Spin(2000); // the joins' own traffic dies down
    for (Copy& copy : copies) {
        copy.before = UsageOf(copy.process->processId());
    }
    Spin(seconds * 1000);
    for (Copy& copy : copies) {
        copy.after = UsageOf(copy.process->processId());
    }
}

struct PerCopy {
    double host_wakeups, host_cpu, client_wakeups, client_cpu, client_wakeups_max;
};

PerCopy Summarise(const std::vector<Copy>& copies, int seconds) {
    PerCopy result{};
    for (size_t i = 0; i < copies.size(); ++i) {
        const double wakeups = double(copies[i].after.wakeups - copies[i].before.wakeups) / seconds;
        const double cpu = 100.0 * (copies[i].after.cpu_s - copies[i].before.cpu_s) / seconds;
        if (i == 0) {
            result.host_wakeups = wakeups;
            result.host_cpu = cpu;
        } else {
            result.client_wakeups += wakeups / Clients;
            result.client_cpu += cpu / Clients;
            result.client_wakeups_max = std::max(result.client_wakeups_max, wakeups);
        }
    }
    return result;
}

void Stop(std::vector<Copy>& copies) {
    for (Copy& copy : copies) {
        copy.process->kill();
        copy.process->waitForFinished();
    }
}

bool MeasureRaw(int seconds, PerCopy& figures) {
    const quint16 port = FreeUdpPort();
    std::vector<Copy> copies(1 + Clients);
    QProcess& host = *copies[0].process;
    host.start(QCoreApplication::applicationFilePath(),
               {QStringLiteral("--raw-host"), QString::number(port)});
    if (!host.waitForStarted(5000)) {
        return false;
    }
    // Spaced as the program's clients are below, and as players arrive: clients that all
    // started in the same millisecond would keep their timers in step by chance.
    for (int i = 1; i <= Clients; ++i) {
        copies[size_t(i)].process->start(QCoreApplication::applicationFilePath(),
                                         {QStringLiteral("--raw-client"), QString::number(port)});
        Spin(JoinSpacingMs);
    }
    QByteArray said;
    const bool in = WaitFor(
        [&] {
            said += host.readAllStandardOutput();
            return said.contains("joined " + QByteArray::number(Clients) + '\n');
        },
        20000);
    if (in) {
        Watch(copies, seconds);
        figures = Summarise(copies, seconds);
    }
    Stop(copies);
    return in;
}

bool MeasureTarvex(int seconds, PerCopy& figures) {
    QTemporaryDir folder;
    const quint16 port = FreeUdpPort();
    QUdpSocket listing;
    listing.bind(QHostAddress::LocalHost, 0);
    std::vector<Copy> copies(1 + Clients);
    // The host tells the listing, on this machine only, how many players it has: that is how
    // this benchmark knows everyone is in, and still in at the end.
    const QString host_folder =
        TarvexFolder(folder.path(), QStringLiteral("host"), listing.localPort());
    if (!StartTarvex(*copies[0].process, host_folder,
                     QStringLiteral("-1::%1:Hostess:").arg(port))) {
        return false;
    }
    int players = -1;
    // One at a time: a host lets one address have only a few joins going.
    for (int i = 1; i <= Clients; ++i) {
        const QString name = QStringLiteral("Idle%1").arg(i);
        StartTarvex(*copies[size_t(i)].process, TarvexFolder(folder.path(), name),
                    QStringLiteral("-2:127.0.0.1:%1:%2:").arg(port).arg(name));
        Spin(JoinSpacingMs);
    }
    if (!WaitFor([&] { return (players = ListedPlayers(listing, players)) == 1 + Clients; },
                 30000)) {
        std::fprintf(stderr, "only %d players got in\n", players);
        Stop(copies);
        return false;
    }
    Watch(copies, seconds);
    figures = Summarise(copies, seconds);
    Spin(10500); // one more listing, to see that nobody left meanwhile
    players = ListedPlayers(listing, players);
    Stop(copies);
    if (players != 1 + Clients) {
        std::fprintf(stderr, "players left while idle: %d in at the end\n", players);
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--raw-host") == 0) {
        return RunRawHost(quint16(atoi(argv[2])));
    }
    if (argc == 3 && std::strcmp(argv[1], "--raw-client") == 0) {
        return RunRawClient(quint16(atoi(argv[2])));
    }
    QCoreApplication app(argc, argv);
    const int seconds = argc > 1 ? std::max(2, atoi(argv[1])) : 30;
    PerCopy raw{}, tarvex{};
    if (!MeasureRaw(seconds, raw) || !MeasureTarvex(seconds, tarvex)) {
        std::fprintf(stderr, "the session did not come together\n");
        return 1;
    }
    std::printf("idle: host + %d clients, each a process, %d s; per copy\n", Clients, seconds);
    std::printf("  %-22s %10s %10s %10s\n", "", "raw", "tarvex", "ratio");
    const auto row = [](const char* what, double r, double t, const char* unit) {
        std::printf("  %-22s %8.2f%-2s %8.2f%-2s %9.2fx\n", what, r, unit, t, unit, t / r);
    };
    row("host wakeups/s", raw.host_wakeups, tarvex.host_wakeups, "");
    row("client wakeups/s", raw.client_wakeups, tarvex.client_wakeups, "");
    row("client wakeups/s, max", raw.client_wakeups_max, tarvex.client_wakeups_max, "");
    row("host CPU", raw.host_cpu, tarvex.host_cpu, " %");
    row("client CPU", raw.client_cpu, tarvex.client_cpu, " %");
    return 0;
}
