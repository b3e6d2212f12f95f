#pragma once

#include "net/Messages.h"
#include "net/Roster.h"
#include "net/transport/ResultCodes.h"

#include <QElapsedTimer>
#include <QObject>
#include <functional>

namespace tarvex {

class ClientSession;
struct SessionFlags;
struct Settings;

// A client's half of the session protocol: it mirrors the host's roster from the welcome, join,
// quit, status and lag messages, and hands everything else it hears to whoever handles it.
// Whatever a client says goes to the host; it hears its own words back only through the host's
// relay.
class ClientSide : public QObject {
    Q_OBJECT

public:
    ClientSide(ClientSession& client, Roster& roster, SessionFlags& flags, const Settings& settings,
               const QString& my_name, QObject* parent = nullptr);

    // Where the own row's car comes from when the welcome asks us to report it.
    void SetOwnCar(std::function<RowCar()> own_car) { m_own_car = std::move(own_car); }

    bool Welcomed() const { return m_welcomed; }

    void SendMsg(const QString& text);
    void SendGameStatus(PlayerStatus status);
    // The client's SendGameData: its car choice.
    void SendCarChoice(const RowCar& car);
    void SendCarState(const CarStateMsg& state);
    void SendTime(MessageType kind, float time);
    void SendFStart();
    void VoteRestart();
    void SendSync();

signals:
    void ChatLine(const QString& text, const QString& name);
    void SystemLine(const QString& text);
    // The host let us in: the roster is filled, the connect dialog can go.
    void Welcome();
    void SlotChanged(int slot);
    void CountChanged();
    void LagChanged(int slot);
    void StatusChanged(int slot);
    void CarChoiceChanged(int slot);
    void GameDataReceived(const tarvex::GameDataMsg& data);
    void CarStateReceived(const tarvex::CarStateMsg& state);
    void RaceStateReceived(std::uint8_t state);
    void ProgressReceived(int slot, std::uint8_t progress);
    void StartSignal();
    void TimeReceived(const tarvex::TimeMsg& time);
    void FalseStartReceived(int slot);
    void RestartCalled();
    void HostClock(std::int32_t host_clock);
    // The session is over and the rows are empty; the window stays.
    void SessionLost();

private:
    void Receive(dpn::PlayerId sender, const QByteArray& bytes);
    void TerminateSession(dpn::ResultCode result);

    void OnChat(WireReader& r);
    void OnWelcome(WireReader& r);
    void OnQuit(WireReader& r);
    void OnLagTable(WireReader& r);
    void OnJoin(WireReader& r);
    void OnGameStatus(WireReader& r);
    void OnCarChoice(WireReader& r);
    void OnCarState(WireReader& r);
    void OnProgress(WireReader& r);
    void OnTime(WireReader& r, MessageType kind);
    void OnFalseStart(WireReader& r);
    void OnSync(WireReader& r);

    // A message from the host that does not decode is counted and dropped.
    template <class Msg>
    std::optional<Msg> Checked(std::optional<Msg> msg, MessageType type) {
        if (!msg) {
            Broken(std::uint8_t(type));
        }
        return msg;
    }
    void Broken(std::uint8_t type);

    void Send(const QByteArray& bytes, SendOption option);
    template <class Msg>
    void SendToHost(const Msg& msg) {
        Send(Encode(msg), Msg::Option);
    }

    ClientSession& m_client;
    Roster& m_roster;
    SessionFlags& m_flags;
    const Settings& m_settings;
    const QString& m_my_name;
    std::function<RowCar()> m_own_car;
    bool m_welcomed = false;
    int m_broken = 0;
    QElapsedTimer m_broken_logged;
};

} // namespace tarvex
