#pragma once

#include "net/transport/EnetPump.h"
#include "net/transport/ResultCodes.h"

#include <QElapsedTimer>
#include <QHostAddress>
#include <QString>
#include <memory>
#include <vector>

namespace tarvex {

class Dialogs;

// The client side of a session: one connection to a host. Connect starts an attempt whose
// outcome arrives as ConnectComplete (DPN_OK, or the refusal's result code); once admitted,
// messages flow until TerminateSession (DPNERR_HOSTTERMINATEDSESSION when the host closed the
// session or removed this player, DPNERR_CONNECTIONLOST when it went silent). Events arrive
// on the event loop's thread, one at a time, in order. After CloseClient nothing more is
// reported.
class ClientSession final : public EnetPump {
    Q_OBJECT

public:
    explicit ClientSession(std::shared_ptr<Dialogs> dialogs, QObject* parent = nullptr);
    ~ClientSession() override;

    // Prepares the connection's endpoint. On failure the critical message box titled
    // "DirectPlayInit" is shown and false returned.
    bool DirectPlayInit(quint16 port);
    // Starts joining the host at `address`:`port` as `name`. The password only feeds the
    // proof of the handshake; `application_guid` is this program's own unless a test asks
    // otherwise. A host name is looked up without waiting for it. A start failure (no address
    // at all) shows the critical box titled "mdlDirectPlayConnect" and returns false; the
    // outcome of a started attempt is ConnectComplete, DPNERR_ADDRESSING for a name that
    // could not be found.
    bool Connect(const QString& address, quint16 port, const QString& name, const QString& password,
                 const QString& application_guid = QLatin1String(dpn::ApplicationGuid));
    // Sends to the host; `flags` as for HostSession::SendTo. Ignored unless admitted.
    void Send(const QByteArray& bytes, quint32 timeout_ms, quint32 flags);
    // The session name the host gave on admission.
    QString GetApplicationDesc() const { return m_session_name; }
    // Leaves the session or abandons the attempt; no event follows, and Closed is emitted
    // once so that the window that received the events can go.
    void CloseClient();

    bool IsConnected() const { return m_state == State::Admitted; }
    bool IsConnecting() const { return m_state == State::Connecting; }
    dpn::PlayerId LocalPlayerId() const { return m_player_id; }
    dpn::PlayerId HostPlayerId() const { return m_host_player_id; }
    int PlayerLimit() const { return m_player_limit; }
    // Round-trip time to the host in whole milliseconds, 0 when not connected.
    quint32 RoundTripMs() const;

signals:
    void ConnectComplete(dpn::ResultCode result);
    void Receive(dpn::PlayerId sender, const QByteArray& bytes);
    void TerminateSession(dpn::ResultCode result);
    void Closed();

protected:
    void Handle(const EnetEvent& event) override;
    void Tick() override;

private:
    enum class State { Idle, Connecting, Admitted, Ended };

    void Dial(const QHostAddress& address, quint16 port);
    void Fail(dpn::ResultCode code);
    void OnHandshake(const QByteArray& bytes);
    void EndAttempt(dpn::ResultCode code);

    std::shared_ptr<Dialogs> m_dialogs;
    State m_state = State::Idle;
    ENetPeer* m_peer = nullptr;
    QString m_name;
    QString m_password;
    QString m_application_guid;
    QString m_session_name;
    dpn::PlayerId m_player_id = 0;
    dpn::PlayerId m_host_player_id = 0;
    int m_player_limit = 0;
    // Messages on the other lanes that arrived before the accept.
    std::vector<QByteArray> m_early;
    QElapsedTimer m_attempt_clock;
    // Tells a name look-up's answer from the attempt it was for.
    quint64 m_attempt = 0;
    bool m_closing = false;
};

} // namespace tarvex
