#include "net/transport/ClientSession.h"

#include "net/Messages.h"
#include "net/transport/Handshake.h"
#include "platform/Dialogs.h"

#include <QByteArray>
#include <QHostAddress>
#include <QHostInfo>
#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcTransport)

namespace tarvex {

namespace {
// What a host may send on its other lanes before its accept has arrived on the reliable one.
constexpr size_t MaximumEarlyPackets = 64;
} // namespace

ClientSession::ClientSession(std::shared_ptr<Dialogs> dialogs, QObject* parent)
    : EnetPump(parent)
    , m_dialogs(std::move(dialogs)) {}

ClientSession::~ClientSession() {
    m_closing = true; // nobody is left to hear Closed
    CloseClient();
}

bool ClientSession::DirectPlayInit(quint16 port) {
    Q_UNUSED(port); // the host's port is given with the address when connecting
    Detach(0);
    m_state = State::Idle;
    m_peer = nullptr;
    if (!EnsureEnetInitialised()) {
        ReportStartFailure(m_dialogs.get(), QStringLiteral("DirectPlayInit"), dpn::DPNERR_GENERIC,
                           QStringLiteral("The network layer could not start."));
        return false;
    }
    EnetHostPtr host(enet_host_create(nullptr, 1, ChannelCount, 0, 0));
    if (!host) {
        ReportStartFailure(m_dialogs.get(), QStringLiteral("DirectPlayInit"),
                           dpn::DPNERR_OUTOFMEMORY,
                           QStringLiteral("No network endpoint could be created."));
        return false;
    }
    Attach(std::move(host), MaxHostMessageBytes, MaxClientMessageBytes);
    return true;
}

bool ClientSession::Connect(const QString& address, quint16 port, const QString& name,
                            const QString& password, const QString& application_guid) {
    if (!DirectPlayInit(port)) {
        return false;
    }
    const QString host_name = address.trimmed();
    if (host_name.isEmpty()) {
        ReportStartFailure(m_dialogs.get(), QStringLiteral("mdlDirectPlayConnect"),
                           dpn::DPNERR_ADDRESSING,
                           QStringLiteral("The address \"%1\" could not be found.").arg(address));
        return false;
    }
    // The host seats at most this much of a name, so nothing more is sent.
    m_name = SeatedName(name);
    m_password = password;
    m_application_guid = application_guid;
    m_session_name.clear();
    m_early.clear();
    m_player_id = 0;
    m_host_player_id = 0;
    m_player_limit = 0;
    m_state = State::Connecting;
    m_attempt_clock.start();
    ++m_attempt;
    Arm(); // the attempt's deadline holds even while a host name is being looked up

    QHostAddress literal;
    if (literal.setAddress(host_name)) {
        Dial(literal, port);
        return true;
    }
    // A name can take seconds to look up; the window and the connect countdown go on meanwhile.
    QHostInfo::lookupHost(host_name, this,
                          [this, attempt = m_attempt, port](const QHostInfo& info) {
                              if (attempt != m_attempt || m_state != State::Connecting) {
                                  return; // the attempt was abandoned or replaced
                              }
                              for (const QHostAddress& found : info.addresses()) {
                                  if (found.protocol() == QAbstractSocket::IPv4Protocol) {
                                      Dial(found, port);
                                      return;
                                  }
                              }
                              qCWarning(lcTransport) << "host name" << info.hostName()
                                                     << "not found:" << info.errorString();
                              Fail(dpn::DPNERR_ADDRESSING);
                          });
    return true;
}

void ClientSession::Dial(const QHostAddress& address, quint16 port) {
    ENetAddress target;
    target.port = port;
    m_peer =
        address.protocol() == QAbstractSocket::IPv4Protocol &&
                enet_address_set_host_ip(&target, address.toString().toLatin1().constData()) == 0
            ? enet_host_connect(Host(), &target, ChannelCount, 0)
            : nullptr;
    if (m_peer == nullptr) {
        Fail(dpn::DPNERR_ADDRESSING);
        return;
    }
    // ENet would give up on a silent host after about 15 s; the attempt's own deadline (Tick)
    // decides instead, so ENet is told to wait longer than that.
    enet_peer_timeout(m_peer, ENET_PEER_TIMEOUT_LIMIT, Timeouts().connect_ms + 5000,
                      Timeouts().connect_ms + 5000);
    FlushSoon();
}

void ClientSession::Fail(dpn::ResultCode code) {
    // Reported like a refusal, in turn with whatever else is waiting to be handled.
    EnetEvent failed;
    failed.type = ENET_EVENT_TYPE_DISCONNECT;
    failed.data = code;
    Post(std::move(failed));
}

void ClientSession::Send(const QByteArray& bytes, quint32 timeout_ms, quint32 flags) {
    Q_UNUSED(timeout_ms);
    if (m_state != State::Admitted) {
        return;
    }
    SendMessage(std::span(&m_peer, 1), bytes, flags);
}

void ClientSession::CloseClient() {
    const bool was_open = Host() != nullptr;
    ++m_attempt;
    Detach(0);
    m_peer = nullptr;
    m_state = State::Idle;
    m_early.clear();
    if (was_open && !m_closing) {
        m_closing = true;
        emit Closed();
        m_closing = false;
    }
}

quint32 ClientSession::RoundTripMs() const {
    return m_state == State::Admitted && m_peer ? m_peer->roundTripTime : 0;
}

void ClientSession::Handle(const EnetEvent& event) {
    if (event.peer != m_peer) {
        return;
    }
    switch (event.type) {
    case ENET_EVENT_TYPE_CONNECT:
        ConfigurePeer(m_peer, Timeouts().silence_ms, false);
        break;
    case ENET_EVENT_TYPE_RECEIVE:
        if (m_state == State::Connecting && event.channel == ReliableChannel) {
            OnHandshake(event.bytes);
        } else if (m_state == State::Connecting) {
            // The host admitted this player and has already sent on another lane, which
            // overtook the accept: keep it for the session that is about to start.
            if (m_early.size() < MaximumEarlyPackets) {
                m_early.push_back(event.bytes);
            }
        } else if (m_state == State::Admitted) {
            emit Receive(m_host_player_id, event.bytes);
        }
        break;
    case ENET_EVENT_TYPE_DISCONNECT:
        m_peer = nullptr;
        if (m_state == State::Connecting) {
            // A refusal carries its result code; a host that stopped answering carries none.
            EndAttempt(event.data != 0 ? event.data : dpn::DPNERR_NORESPONSE);
        } else if (m_state == State::Admitted) {
            m_state = State::Ended;
            emit TerminateSession(event.data == dpn::DPNERR_HOSTTERMINATEDSESSION
                                      ? dpn::DPNERR_HOSTTERMINATEDSESSION
                                      : dpn::DPNERR_CONNECTIONLOST);
        }
        break;
    case ENET_EVENT_TYPE_NONE:
        break;
    }
}

void ClientSession::Tick() {
    if (m_state == State::Connecting &&
        m_attempt_clock.elapsed() >= qint64(Timeouts().connect_ms)) {
        if (m_peer) {
            enet_peer_reset(m_peer);
            m_peer = nullptr;
        }
        EndAttempt(dpn::DPNERR_NORESPONSE);
    }
}

qint64 ClientSession::NextDeadlineMs() const {
    return m_state == State::Connecting
               ? std::max<qint64>(qint64(Timeouts().connect_ms) - m_attempt_clock.elapsed(), 0)
               : -1;
}

void ClientSession::OnHandshake(const QByteArray& bytes) {
    if (const auto nonce = handshake::ParseChallenge(bytes)) {
        handshake::Hello hello;
        hello.application_guid = m_application_guid;
        hello.nickname = m_name;
        hello.proof = handshake::PasswordProof(*nonce, m_password);
        SendPacket(m_peer, handshake::BuildHello(hello), ReliableChannel, true);
        return;
    }
    if (const auto accept = handshake::ParseAccept(bytes)) {
        m_player_id = accept->player_id;
        m_host_player_id = accept->host_player_id;
        m_session_name = Capped(OneLine(accept->session_name), MaxSessionNameChars);
        m_player_limit = accept->player_limit;
        m_state = State::Admitted;
        emit ConnectComplete(dpn::DPN_OK);
        std::vector<QByteArray> early;
        early.swap(m_early);
        for (const QByteArray& bytes : early) {
            if (m_state != State::Admitted) {
                break;
            }
            emit Receive(m_host_player_id, bytes);
        }
        return;
    }
    // Whatever answered is not a Tarvex host of any version this client understands.
    qCWarning(lcTransport) << "unexpected handshake packet from the host";
    enet_peer_disconnect_now(m_peer, 0);
    m_peer = nullptr;
    EndAttempt(dpn::DPNERR_INVALIDAPPLICATION);
}

void ClientSession::EndAttempt(dpn::ResultCode code) {
    m_state = State::Ended;
    emit ConnectComplete(code);
}

} // namespace tarvex
