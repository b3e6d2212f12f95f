// Latency of the session layer over loopback: the reliable round trip (client -> host -> client,
// both reliable) and the one-way time of an unreliable message, through the same code paths
// the program uses (socket notifier, event queue, flush after send). Host and client share one
// thread here, as in the multi-instance tests.
#include "FreePort.h"
#include "net/transport/ClientSession.h"
#include "net/transport/HostSession.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <vector>

using namespace tarvex;

namespace {

struct Figures {
    double median_us;
    double p99_us;
};

Figures Summarise(std::vector<qint64> ns) {
    std::sort(ns.begin(), ns.end());
    auto at = [&](double q) {
        return ns[std::min(ns.size() - 1, size_t(q * double(ns.size())))];
    };
    return {at(0.5) / 1000.0, at(0.99) / 1000.0};
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const int samples = argc > 1 ? std::max(10, atoi(argv[1])) : 2000;

    HostSession host(nullptr);
    ClientSession client(nullptr);
    const quint16 port = test::FreeUdpPort();
    if (!host.InitServer(QStringLiteral("Bench"), 12, port, QString())) {
        return 1;
    }
    QElapsedTimer clock;
    clock.start();
    std::vector<qint64> round_trips;
    std::vector<qint64> one_way;
    qint64 sent_at = 0;

    // The host echoes reliable messages and time-stamps unreliable ones.
    QObject::connect(&host, &HostSession::Receive, [&](dpn::PlayerId from, const QByteArray& b) {
        if (b.startsWith('G')) {
            host.SendTo(from, b, 0, dpn::SendReliable);
        } else if (b.startsWith('U')) {
            one_way.push_back(clock.nsecsElapsed() - sent_at);
        }
    });

    int unreliable_sent = 0;
    auto send_unreliable = [&] {
        ++unreliable_sent;
        sent_at = clock.nsecsElapsed();
        client.Send(QByteArray("U-car-state-like-payload-of-thirty-six-b"), 250,
                    dpn::SendUnreliable);
    };
    auto send_reliable = [&] {
        sent_at = clock.nsecsElapsed();
        client.Send(QByteArray("G-chat-line"), 0, dpn::SendReliable);
    };

    QTimer pace; // spaced sends, as the program's timers make them
    pace.setInterval(1);
    QObject::connect(&client, &ClientSession::Receive, [&](dpn::PlayerId, const QByteArray& b) {
        if (!b.startsWith('G')) {
            return;
        }
        round_trips.push_back(clock.nsecsElapsed() - sent_at);
        if (int(round_trips.size()) >= samples) {
            pace.start();
            return;
        }
        QTimer::singleShot(1, send_reliable);
    });
    QObject::connect(&pace, &QTimer::timeout, [&] {
        if (int(one_way.size()) >= samples) {
            app.quit();
            return;
        }
        send_unreliable();
    });
    QObject::connect(&client, &ClientSession::ConnectComplete, [&](dpn::ResultCode result) {
        if (result != 0) {
            app.exit(1);
            return;
        }
        send_reliable();
    });
    client.Connect(QStringLiteral("127.0.0.1"), port, QStringLiteral("Bench"), QString());
    QTimer::singleShot(120000, &app, [&] { app.exit(2); });
    const int rc = app.exec();
    if (rc != 0 || round_trips.empty() || one_way.empty()) {
        std::fprintf(stderr, "benchmark did not complete (%d)\n", rc);
        return 1;
    }
    const Figures rt = Summarise(round_trips);
    const Figures ow = Summarise(one_way);
    std::printf("transport, loopback, %d samples each\n", samples);
    std::printf("  reliable round trip:   median %8.1f us   p99 %8.1f us\n", rt.median_us,
                rt.p99_us);
    // Sending goes on until enough have arrived, so the count sent shows what was lost.
    std::printf("  unreliable one-way:    median %8.1f us   p99 %8.1f us  (%zu of %d arrived)\n",
                ow.median_us, ow.p99_us, one_way.size(), unreliable_sent);
    host.CloseServer();
    return 0;
}
