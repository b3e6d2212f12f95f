// How long a host holds what one player says before everyone else has it: one sender, the
// other players of a full session listening, chat lines (relayed to all 11 clients) and car
// states (forwarded to the 10 others). Host-added latency is the time from the sender's send
// to the arrival of the host's last copy, both read from the kernel's clock: the arrival is
// the receiving socket's own time stamp, so how soon this benchmark gets round to reading a
// socket does not count. The same is measured for a bare ENet relay built into this program
// (run as a process of its own, as the host is), which sets the floor.
//
//   bench_relay [samples per kind]       default 1000
#include "SessionSupport.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <array>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>

using namespace tarvex;
using namespace tarvex::bench;

namespace {

constexpr int Clients = 11;

qint64 RealNs() {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    return qint64(now.tv_sec) * 1000000000 + now.tv_nsec;
}

// The floor: a plain ENet host that hands chat to everyone and a car state to everyone but its
// sender, one shared packet and one flush per message, with nothing else to do.
int RunRawRelay(quint16 port) {
    if (enet_initialize() != 0) {
        return 1;
    }
    ENetAddress address{ENET_HOST_ANY, port};
    ENetHost* host = enet_host_create(&address, 16, 3, 0, 0);
    if (!host) {
        return 1;
    }
    for (;;) {
        ENetEvent event;
        if (enet_host_service(host, &event, 1000) <= 0) {
            continue;
        }
        if (event.type == ENET_EVENT_TYPE_CONNECT) {
            enet_peer_throttle_configure(event.peer, ENET_PEER_PACKET_THROTTLE_INTERVAL,
                                         ENET_PEER_PACKET_THROTTLE_SCALE, 0);
        } else if (event.type == ENET_EVENT_TYPE_RECEIVE) {
            const bool chat = event.packet->dataLength > 0 &&
                              event.packet->data[0] == std::uint8_t(MessageType::Chat);
            ENetPacket* copy = enet_packet_create(event.packet->data, event.packet->dataLength,
                                                  chat ? ENET_PACKET_FLAG_RELIABLE : 0);
            for (size_t i = 0; i < host->peerCount; ++i) {
                ENetPeer* peer = &host->peers[i];
                if (peer->state == ENET_PEER_STATE_CONNECTED && (chat || peer != event.peer)) {
                    enet_peer_send(peer, chat ? 0 : 2, copy);
                }
            }
            if (copy->referenceCount == 0) {
                enet_packet_destroy(copy);
            }
            enet_packet_destroy(event.packet);
            enet_host_flush(host);
        }
    }
}

// One player of a session, seen from this benchmark.
struct Client {
    ENetHost* host = nullptr;
    ENetPeer* peer = nullptr;
    std::uint8_t slot = 0;
    bool joined = false;
    qint64 arrival_ns = -1;
};

struct Figures {
    std::vector<double> last_us;
    std::vector<double> first_us;
    int lost = 0;
};

// A host and its 11 clients. The bare relay needs no handshake and decodes nothing.
struct Session {
    bool tarvex = false;
    std::vector<Client> clients = std::vector<Client>(Clients);
    std::uint8_t compression = 0;
    Figures chat;
    Figures car;
};

std::array<Session, 2> g_sessions;
QByteArray g_marker;

// Runs for every datagram as it is read, before ENet looks at it: the one that carries the
// current sample gets the time the kernel stamped on its arrival.
int ENET_CALLBACK StampArrival(ENetHost* host, ENetEvent*) {
    for (Session& session : g_sessions) {
        for (Client& client : session.clients) {
            if (client.host != host || client.arrival_ns >= 0 || g_marker.isEmpty()) {
                continue;
            }
            const QByteArrayView datagram(host->receivedData, qsizetype(host->receivedDataLength));
            timespec stamp;
            if (datagram.indexOf(g_marker) >= 0 && ioctl(host->socket, SIOCGSTAMPNS, &stamp) == 0) {
                client.arrival_ns = qint64(stamp.tv_sec) * 1000000000 + stamp.tv_nsec;
            }
        }
    }
    return 0;
}

void Drain(Session& session, Client& client) {
    ENetEvent event;
    while (enet_host_service(client.host, &event, 0) > 0) {
        if (event.type == ENET_EVENT_TYPE_CONNECT) {
            enet_peer_throttle_configure(client.peer, ENET_PEER_PACKET_THROTTLE_INTERVAL,
                                         ENET_PEER_PACKET_THROTTLE_SCALE, 0);
            client.joined |= !session.tarvex;
        } else if (event.type == ENET_EVENT_TYPE_RECEIVE) {
            const QByteArray bytes = PacketBytes(event.packet);
            enet_packet_destroy(event.packet);
            if (!session.tarvex || bytes.isEmpty() ||
                AnswerChallenge(client.peer, bytes, QStringLiteral("Listener"))) {
                continue;
            }
            if (bytes[0] == char(MessageType::Welcome) && bytes.size() > 1) {
                client.slot = std::uint8_t(bytes[1]);
                client.joined = true;
            } else if (bytes[0] == char(MessageType::GameData)) {
                WireReader r(bytes);
                r.U8();
                if (const auto data = GameDataMsg::decode(r)) {
                    session.compression = data->compression;
                }
            }
        }
    }
}

void Send(Client& client, const QByteArray& bytes, bool reliable) {
    enet_peer_send(client.peer, reliable ? 0 : 2,
                   enet_packet_create(bytes.constData(), size_t(bytes.size()),
                                      reliable ? ENET_PACKET_FLAG_RELIABLE : 0));
}

// Serves the sockets of every client of both sessions until `done` or `ms` have passed.
template <class Done>
bool ServeUntil(const Done& done, int ms) {
    const qint64 until = RealNs() + qint64(ms) * 1000000;
    std::vector<pollfd> fds;
    for (const Session& session : g_sessions) {
        for (const Client& client : session.clients) {
            if (client.host) {
                fds.push_back({client.host->socket, POLLIN, 0});
            }
        }
    }
    while (!done()) {
        const qint64 left_ms = (until - RealNs()) / 1000000;
        if (left_ms < 0) {
            return false;
        }
        poll(fds.data(), fds.size(), int(std::min<qint64>(left_ms, 20)));
        for (Session& session : g_sessions) {
            for (Client& client : session.clients) {
                if (client.host) {
                    Drain(session, client);
                }
            }
        }
    }
    return true;
}

// Seats 11 players with the host on `port`, one at a time as players arrive: a host lets one
// address have only a few joins going.
bool Join(Session& session, quint16 port) {
    ENetAddress address;
    enet_address_set_host_ip(&address, "127.0.0.1");
    address.port = port;
    for (Client& client : session.clients) {
        client.host = enet_host_create(nullptr, 1, 3, 0, 0);
        client.host->intercept = StampArrival;
        // The first request turns the socket's arrival stamps on.
        timespec unused;
        ioctl(client.host->socket, SIOCGSTAMPNS, &unused);
        client.peer = enet_host_connect(client.host, &address, 3, 0);
        if (!ServeUntil([&] { return client.joined; }, 20000)) {
            std::fprintf(stderr, "not every player got in\n");
            return false;
        }
    }
    if (session.tarvex) {
        // Car states go to players on the stage; the others would get progress messages.
        for (Client& client : session.clients) {
            Send(client, Encode(GameStatusMsg{client.slot, 4}), true);
            enet_host_flush(client.host);
        }
    }
    return true;
}

// One message from one client, timed until every copy the host sends on has arrived.
void Sample(Session& session, int id, bool is_chat) {
    Client& sender = session.clients[size_t((id / 4) % Clients)];
    QByteArray bytes;
    if (is_chat) {
        g_marker = '#' + QByteArray::number(id) + '#';
        bytes = Encode(
            ChatMsg{sender.slot, QStringLiteral("relay sample ") + QString::fromLatin1(g_marker)});
    } else {
        CarStateMsg state;
        state.compression = session.compression;
        state.slot = sender.slot;
        state.sent_at = 0x5A000000 + id;
        state.distance = float(id);
        state.progress = 42;
        bytes = Encode(state);
        g_marker = bytes.left(6); // type, slot and the unique sent-at
    }
    for (Client& client : session.clients) {
        client.arrival_ns = -1;
    }
    Send(sender, bytes, is_chat);
    const qint64 sent_ns = RealNs();
    enet_host_flush(sender.host);
    const auto arrived = [&] {
        return std::all_of(session.clients.begin(), session.clients.end(), [&](const Client& c) {
            return (!is_chat && &c == &sender) || c.arrival_ns >= 0;
        });
    };
    Figures& figures = is_chat ? session.chat : session.car;
    if (ServeUntil(arrived, 500)) {
        qint64 first = std::numeric_limits<qint64>::max();
        qint64 last = 0;
        for (const Client& client : session.clients) {
            if (client.arrival_ns >= 0) {
                first = std::min(first, client.arrival_ns);
                last = std::max(last, client.arrival_ns);
            }
        }
        figures.last_us.push_back(double(last - sent_ns) / 1000.0);
        figures.first_us.push_back(double(first - sent_ns) / 1000.0);
    } else {
        ++figures.lost;
    }
    g_marker.clear();
    // Spaced as players are: well inside every client's budget for chat and car states.
    ServeUntil([] { return false; }, 4);
}

void Row(const char* what, const Figures& raw, const Figures& tarvex, bool first) {
    const auto& r = first ? raw.first_us : raw.last_us;
    const auto& t = first ? tarvex.first_us : tarvex.last_us;
    const double r50 = Percentile(r, 0.5), r99 = Percentile(r, 0.99);
    const double t50 = Percentile(t, 0.5), t99 = Percentile(t, 0.99);
    std::printf("  %-26s %8.1f %8.1f   %8.1f %8.1f   %6.2fx %6.2fx\n", what, r50, r99, t50, t99,
                t50 / r50, t99 / r99);
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--raw-relay") == 0) {
        return RunRawRelay(quint16(atoi(argv[2])));
    }
    QCoreApplication app(argc, argv);
    const int samples = argc > 1 ? std::max(10, atoi(argv[1])) : 1000;
    if (enet_initialize() != 0) {
        return 1;
    }

    // Both hosts run side by side and the samples alternate between them, so that whatever
    // else the machine is doing weighs on both alike.
    Session& raw = g_sessions[0];
    Session& tarvex = g_sessions[1];
    tarvex.tarvex = true;
    QTemporaryDir folder;
    QProcess relay;
    QProcess host;
    const quint16 raw_port = FreeUdpPort();
    relay.setProcessChannelMode(QProcess::ForwardedChannels);
    relay.start(QCoreApplication::applicationFilePath(),
                {QStringLiteral("--raw-relay"), QString::number(raw_port)});
    const quint16 port = FreeUdpPort();
    if (!relay.waitForStarted(5000) ||
        !StartTarvex(host, TarvexFolder(folder.path(), QStringLiteral("host")),
                     QStringLiteral("-1::%1:Hostess:").arg(port)) ||
        !Join(raw, raw_port) || !Join(tarvex, port)) {
        return 1;
    }
    ServeUntil([] { return false; }, 500);
    for (int id = 0; id < 4 * samples; ++id) {
        Sample(id % 2 == 0 ? raw : tarvex, id, id % 4 < 2);
    }
    for (Session& session : g_sessions) {
        for (Client& client : session.clients) {
            enet_peer_disconnect_now(client.peer, 0);
            enet_host_destroy(client.host);
        }
    }
    for (QProcess* process : {&relay, &host}) {
        process->kill();
        process->waitForFinished();
    }

    std::printf("relay: host + %d clients on loopback, %d samples per kind; microseconds from the "
                "sender's send\n",
                Clients, samples);
    std::printf("  %-26s %8s %8s   %8s %8s   %7s %7s\n", "", "raw p50", "raw p99", "tvx p50",
                "tvx p99", "p50", "p99");
    Row("chat, last of 11 copies", raw.chat, tarvex.chat, false);
    Row("car state, last of 10", raw.car, tarvex.car, false);
    Row("chat, first copy", raw.chat, tarvex.chat, true);
    Row("car state, first copy", raw.car, tarvex.car, true);
    std::printf("  lost: raw %d chat %d car, tarvex %d chat %d car\n", raw.chat.lost, raw.car.lost,
                tarvex.chat.lost, tarvex.car.lost);
    return 0;
}
