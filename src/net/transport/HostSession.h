#pragma once

#include "net/transport/EnetPump.h"
#include "net/transport/ResultCodes.h"

#include <QElapsedTimer>
#include <QString>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <unordered_map>

namespace tarvex {

class Dialogs;

// The host side of a session: it listens on a UDP port, admits clients through the join
// handshake and carries messages between the host's own player and them.
//
// Nobody on the network can keep others out: there are more connection places than session
// places, a joiner has a few seconds to answer, one address may have only a few joins in
// progress, and an address that keeps guessing the password waits longer for every verdict.
//
// Channels: 0 reliable ordered (SendReliable), 1 reliable for urgent messages (SendUrgent),
// 2 unreliable (SendUnreliable). Events arrive on the thread that runs the event loop, one at a
// time and in arrival order per sender; the first CreatePlayer after InitServer is the host's
// own player.
class HostSession final : public EnetPump {
    Q_OBJECT

public:
    // Start failures are reported through `dialogs` (may be null: then only logged).
    explicit HostSession(std::shared_ptr<Dialogs> dialogs, QObject* parent = nullptr);
    ~HostSession() override;

    // Opens the session on `port` for at most `player_limit` players, the host included. An
    // empty `password` admits anyone with the right version. On failure the critical message
    // box "Error 0x<code>: <description>" titled "InitServer" is shown and false returned.
    bool InitServer(const QString& session_name, int player_limit, quint16 port,
                    const QString& password);
    bool IsHosting() const { return Host() != nullptr; }

    // Sends to one player, or to every admitted client with DPNID_ALL_PLAYERS_GROUP (the host's
    // own player never receives its own sends). `flags` is one of SendReliable, SendUnreliable,
    // SendUrgent. The time-out of unreliable sends needs no handling here: sends go out at the
    // end of the event loop's turn at the latest, so nothing waits long enough to expire.
    // Failures are silent, as callers never retry.
    void SendTo(dpn::PlayerId to, const QByteArray& bytes, quint32 timeout_ms, quint32 flags);
    // The same message to each of several players, as one packet that they share.
    void SendTo(std::span<const dpn::PlayerId> to, const QByteArray& bytes, quint32 timeout_ms,
                quint32 flags);

    // The nickname the player joined with, until its DestroyPlayer; empty for an unknown id.
    QString GetClientInfo(dpn::PlayerId id) const;
    // Round-trip time to the player in whole milliseconds; nothing for the host's own player,
    // an unknown id or a player whose connection has already ended.
    std::optional<quint32> GetConnectionInfo(dpn::PlayerId id) const;
    // Removes a client; its DestroyPlayer follows once it has gone. The client is told that
    // the host ended its session.
    void DestroyClient(dpn::PlayerId id);
    // Tells every client that the host ended the session, then closes. No event follows.
    void CloseServer();

    dpn::PlayerId HostPlayerId() const { return m_host_player; }
    // Players in the session, the host included (0 when not hosting).
    int PlayerCount() const;
    int PlayerLimit() const { return m_player_limit; }
    const QString& SessionName() const { return m_session_name; }
    quint16 Port() const;

signals:
    void CreatePlayer(dpn::PlayerId id);
    void DestroyPlayer(dpn::PlayerId id);
    void Receive(dpn::PlayerId sender, const QByteArray& bytes);

protected:
    void Handle(const EnetEvent& event) override;
    void Tick() override;
    qint64 NextDeadlineMs() const override;
    void Serviced() override;

private:
    struct Peer {
        quint32 connect_id = 0;
        quint32 address = 0;
        QByteArray nonce;
        // Joiners from one address are challenged a few at a time; the others wait their turn
        // in the order they came, with no deadline until they are challenged.
        qint64 connected_at_ms = 0;
        qint64 challenged_at_ms = -1;
        dpn::PlayerId id = 0; // 0 until admitted
        QString name;
        // A hello held back while its address waits out a run of wrong passwords.
        std::optional<QByteArray> held_hello;
        qint64 verdict_at_ms = 0;
        bool hello_seen = false;
        bool refused = false;
    };
    // What the host remembers of an address that guessed wrong.
    struct Guesses {
        int wrong = 0;
        qint64 last_wrong_ms = 0;
        qint64 next_verdict_ms = 0;
    };
    // A connect ENet has answered and is waiting to see acknowledged.
    struct Unacknowledged {
        quint32 connect_id = 0;
        quint32 address = 0;
        qint64 seen_at_ms = 0;
    };

    void OnConnect(ENetPeer* peer, quint32 connect_id);
    void Challenge(ENetPeer* peer, Peer& state);
    // Challenges the joiners waiting for a handshake from their address to end, where one has:
    // called wherever a handshake can end (a verdict, a joiner gone or given up).
    void ChallengeWaiting();
    void OnHandshake(ENetPeer* peer, Peer& state, const QByteArray& bytes);
    void Decide(ENetPeer* peer, Peer& state, const QByteArray& hello_bytes);
    void OnDisconnect(ENetPeer* peer);
    void Refuse(ENetPeer* peer, Peer& state, dpn::ResultCode code);
    // Handshakes under way from the address: joiners challenged and neither admitted nor
    // refused yet.
    int HandshakesFrom(quint32 address) const;
    dpn::PlayerId NewPlayerId();
    // The player's connection while it is still up, else null. Between the end of a connection
    // and its DestroyPlayer (a handler may be waiting) ENet may already have given the slot to
    // a newcomer, who must not receive what was meant for the player that left.
    ENetPeer* PeerOf(dpn::PlayerId id) const;
    static bool IsSameConnection(const ENetPeer* peer, const Peer& state);

    std::shared_ptr<Dialogs> m_dialogs;
    QElapsedTimer m_clock;
    QString m_session_name;
    QString m_password;
    int m_player_limit = 0;
    dpn::PlayerId m_host_player = 0;
    dpn::PlayerId m_next_id = 0;
    std::unordered_map<ENetPeer*, Peer> m_peers;
    std::map<dpn::PlayerId, ENetPeer*> m_players;
    std::unordered_map<ENetPeer*, Unacknowledged> m_unacknowledged;
    std::unordered_map<quint32, Guesses> m_guesses;
};

} // namespace tarvex
