#pragma once

#include "net/InputGuard.h"
#include "net/Messages.h"
#include "net/Roster.h"
#include "net/transport/ResultCodes.h"

#include <QElapsedTimer>
#include <QObject>
#include <span>

class QTimer;

namespace tarvex {

class Clock;
class HostSession;
struct SessionFlags;
struct Settings;

// The host's half of the session protocol: it seats joining players, tells everyone about
// arrivals and departures, measures lag, relays what clients say to the others and forwards
// car states to the players on the stage. It trusts no client: a message that claims another
// player's slot, that only the host may send, or that does not decode exactly is dropped and
// never relayed; a client that sends more than its budget has it dropped too, and one that
// keeps it up is removed.
class ServerSide : public QObject {
    Q_OBJECT

public:
    static constexpr int PingIntervalMs = 5000;

    ServerSide(HostSession& server, Roster& roster, SessionFlags& flags, const Settings& settings,
               const QString& my_name, Clock& clock, QObject* parent = nullptr);

    // The host's own messages; "to all" reaches every client.
    void SendMsg(const QString& text);
    // A line the host makes up itself, as said by `slot` (12: nobody): shown here and sent to
    // everyone.
    void SendChatLine(std::uint8_t slot, const QString& text);
    // A line for the player in `to_slot` alone; the host's own player gets nothing, since a
    // message to oneself does not loop back.
    void SendChatTo(int to_slot, std::uint8_t slot, const QString& text);
    void SendGameStatus(PlayerStatus status);
    void SendGameData(const GameDataMsg& data);
    void SendRaceState(std::uint8_t state);
    void StartRace();
    void SendTime(MessageType kind, float time);
    void SendFStart();
    void DoRestart();
    // The host's own car state goes where a client's would.
    void SendCarState(const CarStateMsg& state);

    // The lag round: measure every player, show it, tell everyone.
    void pingTimer_Timer();

    // Removes the client in `slot`; the usual quit follows when the transport reports it gone.
    void Kick(int slot);

signals:
    void ChatLine(const QString& text, const QString& name);
    void SystemLine(const QString& text);
    // The slot's name, status, cars or occupancy changed.
    void SlotChanged(int slot);
    void CountChanged();
    void LagChanged(int slot);
    void StatusChanged(int slot);
    void CarChoiceChanged(int slot);
    // A newcomer needs the race settings: answer with SendGameData.
    void GameDataNeeded();
    void CarStateReceived(const tarvex::CarStateMsg& state);
    void TimeReceived(const tarvex::TimeMsg& time);
    void FalseStartReceived(int slot);
    void VoteReceived(int slot);

private:
    void CreatePlayer(dpn::PlayerId id);
    void DestroyPlayer(dpn::PlayerId id);
    void Receive(dpn::PlayerId sender, const QByteArray& bytes);

    void OnChat(WireReader& r, int sender, const QByteArray& bytes);
    void OnGameStatus(WireReader& r, int sender, const QByteArray& bytes);
    void OnCarChoice(WireReader& r, int sender, const QByteArray& bytes);
    void OnCarState(WireReader& r, int sender, const QByteArray& bytes);
    void OnTime(WireReader& r, MessageType kind, int sender, const QByteArray& bytes);
    void OnFalseStart(WireReader& r, int sender, const QByteArray& bytes);
    void OnVote(WireReader& r, int sender, const QByteArray& bytes);
    void OnSync(dpn::PlayerId sender);

    // A message that did not decode is counted against its sender and dropped.
    bool Readable(bool decoded, int sender, const QByteArray& bytes);
    // A slot field must name the sender's own slot.
    bool Speaks(int sender, std::uint8_t slot, const char* what);
    // Dropped input is summed up once a second, and persistent offenders removed.
    void Review();
    void ReviewInput();
    void ForwardCarState(int from_slot, std::uint8_t progress, const QByteArray& bytes);
    void Send(dpn::PlayerId to, const QByteArray& bytes, SendOption option);
    void Send(std::span<const dpn::PlayerId> to, const QByteArray& bytes, SendOption option);
    // What the host passes on goes on the wire before the host's own windows hear of it, so
    // that drawing a line or a row never delays the other players.
    void Relay(dpn::PlayerId to, const QByteArray& bytes, SendOption option);
    template <class Msg>
    void SendToAll(const Msg& msg) {
        Send(dpn::DPNID_ALL_PLAYERS_GROUP, Encode(msg), Msg::Option);
    }

    HostSession& m_server;
    Roster& m_roster;
    SessionFlags& m_flags;
    const Settings& m_settings;
    const QString& m_my_name;
    Clock& m_clock;
    QTimer* m_ping_timer;
    QTimer* m_review_timer;
    InputGuard m_guard;
    QElapsedTimer m_uptime;
};

} // namespace tarvex
