// What a chat flood does to a real host: the `tarvex` program hosts (its windows drawn by the
// platform it finds), one honest client measures the clock exchange's round trip, and a raw
// ENet peer joins and sends chat lines at a fixed rate, joining again whenever it is removed.
// Printed: the honest client's round trip (median, 99th percentile) before and during the
// flood, and the host's CPU and resident memory before, during and after it.
#include "SessionSupport.h"
#include "net/transport/ClientSession.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace tarvex;
using namespace tarvex::bench;

namespace {

// Joins as "Flood" and sends `rate` chat lines a second until `stop`; joins again whenever the
// host removes it. Counts what it sent and how often it was removed.
void Flood(quint16 port, int rate, const std::atomic<bool>& stop, std::atomic<long>& sent,
           std::atomic<int>& removed) {
    ENetHost* host = enet_host_create(nullptr, 1, 3, 0, 0);
    ENetAddress address;
    enet_address_set_host_ip(&address, "127.0.0.1");
    address.port = port;
    const QByteArray line = Encode(ChatMsg{0, QStringLiteral("flood")});
    while (!stop) {
        ENetPeer* peer = enet_host_connect(host, &address, 3, 0);
        bool admitted = false;
        std::uint8_t slot = 0;
        const auto start = std::chrono::steady_clock::now();
        long sent_here = 0;
        while (!stop) {
            ENetEvent event;
            while (enet_host_service(host, &event, 0) > 0) {
                if (event.type == ENET_EVENT_TYPE_RECEIVE) {
                    const QByteArray bytes = PacketBytes(event.packet);
                    enet_packet_destroy(event.packet);
                    if (AnswerChallenge(peer, bytes, QStringLiteral("Flood"))) {
                        continue;
                    }
                    if (!bytes.isEmpty() && bytes[0] == char(MessageType::Welcome)) {
                        slot = std::uint8_t(bytes[1]);
                        admitted = true;
                    }
                } else if (event.type == ENET_EVENT_TYPE_DISCONNECT) {
                    peer = nullptr;
                }
            }
            if (peer == nullptr) {
                ++removed;
                break;
            }
            if (admitted) {
                const double elapsed =
                    std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
                QByteArray own = line;
                own[1] = char(slot);
                while (sent_here < long(elapsed * rate)) {
                    enet_peer_send(
                        peer, 0,
                        enet_packet_create(own.constData(), own.size(), ENET_PACKET_FLAG_RELIABLE));
                    ++sent_here;
                    ++sent;
                }
            }
            enet_host_flush(host);
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
    }
    enet_host_destroy(host);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const int rate = argc > 1 ? std::max(1, atoi(argv[1])) : 10000;
    const int flood_s = 10;
    const int quiet_s = 5;

    QTemporaryDir folder;
    const quint16 port = FreeUdpPort();
    QProcess host;
    if (!StartTarvex(host, TarvexFolder(folder.path(), QStringLiteral("host")),
                     QStringLiteral("-1::%1:Hostess:").arg(port))) {
        std::fprintf(stderr, "the host did not start\n");
        return 1;
    }
    ClientSession client(nullptr);
    QElapsedTimer clock;
    clock.start();
    std::vector<double> before_ms;
    std::vector<double> during_ms;
    std::vector<double>* samples = &before_ms;
    qint64 asked_at = -1;
    bool welcomed = false;
    QObject::connect(&client, &ClientSession::Receive, [&](dpn::PlayerId, const QByteArray& b) {
        if (b.isEmpty()) {
            return;
        }
        if (b[0] == char(MessageType::Welcome)) {
            welcomed = true;
        } else if (b[0] == char(MessageType::Sync) && asked_at >= 0) {
            samples->push_back(double(clock.nsecsElapsed() - asked_at) / 1e6);
            asked_at = -1;
        }
    });
    // The host may still be starting: try again until it answers.
    QElapsedTimer waiting;
    waiting.start();
    while (!welcomed && waiting.elapsed() < 20000) {
        if (!client.IsConnecting() && !client.IsConnected()) {
            client.Connect(QStringLiteral("127.0.0.1"), port, QStringLiteral("Honest"), QString());
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        usleep(20000);
    }
    if (!welcomed) {
        std::fprintf(stderr, "the host did not let the honest client in\n");
        return 1;
    }

    // Twenty clock requests a second, well inside a client's budget.
    QTimer ask;
    ask.setInterval(50);
    QObject::connect(&ask, &QTimer::timeout, [&] {
        if (asked_at < 0) {
            asked_at = clock.nsecsElapsed();
            client.Send(Encode(SyncMsg{}), 0, dpn::SendReliable);
        }
    });
    ask.start();
    auto run_for = [&](int seconds) {
        QElapsedTimer phase;
        phase.start();
        while (phase.elapsed() < seconds * 1000) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
            usleep(1000);
        }
    };

    const Usage start = UsageOf(host.processId());
    run_for(quiet_s);
    const Usage quiet = UsageOf(host.processId());
    std::atomic<bool> stop = false;
    std::atomic<long> sent = 0;
    std::atomic<int> removed = 0;
    samples = &during_ms;
    std::thread flooder(Flood, port, rate, std::cref(stop), std::ref(sent), std::ref(removed));
    double peak_rss = 0;
    QTimer sample_rss;
    sample_rss.setInterval(200);
    QObject::connect(&sample_rss, &QTimer::timeout,
                     [&] { peak_rss = std::max(peak_rss, UsageOf(host.processId()).rss_mb); });
    sample_rss.start();
    run_for(flood_s);
    stop = true;
    flooder.join();
    const Usage flooded = UsageOf(host.processId());
    std::vector<double> after_ms;
    samples = &after_ms;
    run_for(quiet_s);
    const Usage after = UsageOf(host.processId());
    const bool still_in = client.IsConnected();

    std::printf("flood: %ld chat lines in %d s (%.0f/s), flooder removed %d times\n", long(sent),
                flood_s, double(sent) / flood_s, int(removed));
    std::printf("honest client's clock round trip, before: p50 %.3f ms  p99 %.3f ms  (%zu)\n",
                Percentile(before_ms, 0.5), Percentile(before_ms, 0.99), before_ms.size());
    std::printf("honest client's clock round trip, during: p50 %.3f ms  p99 %.3f ms  (%zu)\n",
                Percentile(during_ms, 0.5), Percentile(during_ms, 0.99), during_ms.size());
    std::printf("honest client's clock round trip, after:  p50 %.3f ms  p99 %.3f ms  (%zu)\n",
                Percentile(after_ms, 0.5), Percentile(after_ms, 0.99), after_ms.size());
    std::printf("host CPU: %.1f %% before, %.1f %% during, %.1f %% after\n",
                100.0 * (quiet.cpu_s - start.cpu_s) / quiet_s,
                100.0 * (flooded.cpu_s - quiet.cpu_s) / flood_s,
                100.0 * (after.cpu_s - flooded.cpu_s) / quiet_s);
    std::printf("host RSS: %.1f MB before, %.1f MB peak during, %.1f MB after\n", quiet.rss_mb,
                peak_rss, after.rss_mb);
    std::printf("honest client still in the session: %s\n", still_in ? "yes" : "NO");
    host.kill();
    host.waitForFinished();
    return still_in ? 0 : 1;
}
