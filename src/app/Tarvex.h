#pragma once

#include "app/Settings.h"
#include "net/transport/ClientSession.h"
#include "net/transport/HostSession.h"
#include "platform/Platform.h"

#include <QObject>
#include <QString>

namespace tarvex {

// One running copy of Tarvex: its settings, session, race and game bridge. Nothing of it is
// program-wide, so a test can run a host and several clients side by side in one process.
class Tarvex : public QObject {
    Q_OBJECT

public:
    // `config_folder` is where Tarvex.ini and template.htm live (the "program folder").
    Tarvex(Platform platform, QString config_folder, QObject* parent = nullptr);
    ~Tarvex() override;

    const Platform& platform() const { return m_platform; }
    const QString& ConfigFolder() const { return m_config_folder; }

    StoredSettings stored;
    Settings& settings = stored.settings;
    RaceSettings& race = stored.race;

    // 1 when this copy runs the server; decides which keys a save writes.
    bool IsHost = false;

    // Session values the connect dialog sets.
    QString MyName;
    // Empty means none. Only ever typed or given on the command line, never stored.
    QString SessionPassword;
    std::uint8_t LocalSlot = 0;
    std::uint8_t MaxPlayerCount = 0;

    // The session transport: the server side on the host, the client side when joining. Both
    // exist for the whole run; only the one of the chosen role is ever opened.
    HostSession& server() { return *m_server; }
    ClientSession& client() { return *m_client; }

    // The car choice of the local player in the role it plays now.
    CarSelection& LocalCar() { return IsHost ? stored.host_car : stored.client_car; }

private:
    Platform m_platform;
    QString m_config_folder;
    HostSession* m_server;
    ClientSession* m_client;
};

} // namespace tarvex
