#pragma once

#include "net/transport/Handshake.h"
#include "net/transport/ResultCodes.h"

#include <QByteArray>
#include <QList>
#include <QTest>
#include <enet/enet.h>
#include <functional>

namespace tarvex::test {

// A bare ENet endpoint on a loopback address, standing in for the other side of a session:
// it sends exactly what a test wants, as fast and in the order it wants, and does the join
// handshake itself when asked. One thread at a time may use it.
class RawPeer {
public:
    struct Packet {
        ENetPeer* from = nullptr;
        quint8 channel = 0;
        QByteArray bytes;
    };

    explicit RawPeer(const char* address = "127.0.0.1", quint16 listen_port = 0, size_t peers = 1) {
        ENetAddress bind;
        enet_address_set_host_ip(&bind, address);
        bind.port = listen_port;
        m_host = enet_host_create(&bind, peers, 3, 0, 0);
    }
    ~RawPeer() {
        if (m_host) {
            enet_host_destroy(m_host);
        }
    }
    RawPeer(const RawPeer&) = delete;
    RawPeer& operator=(const RawPeer&) = delete;

    ENetHost* host() const { return m_host; }

    ENetPeer* Connect(quint16 port) {
        ENetAddress address;
        enet_address_set_host_ip(&address, "127.0.0.1");
        address.port = port;
        ENetPeer* peer = enet_host_connect(m_host, &address, 3, 0);
        enet_host_flush(m_host);
        return peer;
    }

    // Queues a packet; `flush` sends it at once.
    void Send(ENetPeer* peer, const QByteArray& bytes, quint8 channel = 0, bool reliable = true,
              bool flush = true) {
        ENetPacket* packet = enet_packet_create(bytes.constData(), size_t(bytes.size()),
                                                reliable ? ENET_PACKET_FLAG_RELIABLE : 0);
        if (enet_peer_send(peer, channel, packet) != 0) {
            enet_packet_destroy(packet);
        }
        if (flush) {
            enet_host_flush(m_host);
        }
    }

    // Reads what has arrived, waiting up to `wait_ms` for the first event. Every packet is
    // kept in `received`, every disconnect's data in `disconnects`; a challenge is answered
    // with a hello for `hello_name` and `hello_password` while `answer_challenges` is set.
    void Serve(int wait_ms = 0) {
        ENetEvent event;
        while (enet_host_service(m_host, &event, enet_uint32(wait_ms)) > 0) {
            wait_ms = 0;
            if (event.type == ENET_EVENT_TYPE_CONNECT) {
                ++connects;
            } else if (event.type == ENET_EVENT_TYPE_DISCONNECT) {
                disconnects << event.data;
            } else if (event.type == ENET_EVENT_TYPE_RECEIVE) {
                Packet packet{event.peer, event.channelID,
                              QByteArray(reinterpret_cast<const char*>(event.packet->data),
                                         qsizetype(event.packet->dataLength))};
                enet_packet_destroy(event.packet);
                const auto nonce = handshake::ParseChallenge(packet.bytes);
                if (nonce && answer_challenges) {
                    Send(packet.from,
                         handshake::BuildHello({QLatin1String(dpn::ApplicationGuid), hello_name,
                                                handshake::PasswordProof(*nonce, hello_password)}));
                }
                accepts += handshake::ParseAccept(packet.bytes).has_value();
                received << packet;
            }
        }
    }

    // Runs the event loop and this endpoint until `done` holds.
    bool ServeUntil(const std::function<bool()>& done, int timeout_ms = 10000) {
        return QTest::qWaitFor(
            [&] {
                Serve();
                return done();
            },
            timeout_ms);
    }

    // Joins the host on `port` and waits for its accept and its welcome; the peer, or null.
    ENetPeer* Join(quint16 port, const QString& name, const QString& password = {}) {
        hello_name = name;
        hello_password = password;
        answer_challenges = true;
        const int accepted = accepts;
        ENetPeer* peer = Connect(port);
        if (!ServeUntil([&] { return accepts > accepted && HasReceived(2); })) {
            return nullptr;
        }
        return peer;
    }

    bool HasReceived(quint8 type) const {
        for (const Packet& packet : received) {
            if (!packet.bytes.isEmpty() && quint8(packet.bytes[0]) == type) {
                return true;
            }
        }
        return false;
    }

    bool answer_challenges = false;
    QString hello_name;
    QString hello_password;
    int connects = 0;
    int accepts = 0;
    QList<quint32> disconnects;
    QList<Packet> received;

private:
    ENetHost* m_host = nullptr;
};

} // namespace tarvex::test
