#include "SessionHarness.h"

#include "app/ClientFRM.h"
#include "app/ServerFRM.h"

#include <QTest>
#include <QUdpSocket>

namespace tarvex::test {

namespace {

// A UDP port nobody uses right now on the loopback address.
quint16 FreeLoopbackPort() {
    QUdpSocket probe;
    if (!probe.bind(QHostAddress::LocalHost, 0)) {
        return 0;
    }
    return probe.localPort();
}

} // namespace

SessionHarness::SessionHarness(QString session_name)
    : m_session_name(std::move(session_name)) {}

SessionHarness::~SessionHarness() {
    for (auto& client : m_clients) {
        client->tarvex->client().CloseClient();
    }
    if (m_host) {
        m_host->tarvex->server().CloseServer();
    }
}

std::unique_ptr<Player> SessionHarness::NewPlayer(const QString& name) {
    auto player = std::make_unique<Player>();
    Platform platform = player->platform.AsPlatform();
    if (prepare_platform) {
        prepare_platform(*player, platform);
    }
    player->tarvex = std::make_unique<Tarvex>(std::move(platform), player->folder.Path());
    Tarvex& tarvex = *player->tarvex;
    tarvex.MyName = name;
    tarvex.settings.ShowJoinQuit = 1;
    tarvex.settings.DataInterval = 150;
    // Nothing a test runs may announce itself beyond this machine.
    tarvex.settings.BroadcastAddress = QStringLiteral("127.0.0.1");
    tarvex.settings.PublicListing = 0;
    return player;
}

bool SessionHarness::StartHost(const QString& name, int player_limit, const QString& password) {
    m_host = NewPlayer(name);
    Tarvex& host = *m_host->tarvex;
    host.IsHost = true;
    host.MaxPlayerCount = std::uint8_t(player_limit);
    host.SessionPassword = password;
    // Another test may take the port between the probe and the bind: try a few.
    for (int attempt = 0; attempt < 5; ++attempt) {
        m_port = FreeLoopbackPort();
        if (m_port != 0 &&
            host.server().InitServer(m_session_name, player_limit, m_port, password)) {
            return WaitFor([&] { return host.roster[0].Occupied(); });
        }
    }
    return false;
}

Player& SessionHarness::Join(const QString& name, const QString& password,
                             const std::function<void(Player&)>& prepare) {
    m_clients.push_back(NewPlayer(name));
    Player& player = *m_clients.back();
    if (prepare) {
        prepare(player);
    }
    Tarvex& client = *player.tarvex;
    client.SessionPassword = password;
    if (client.client().Connect(QStringLiteral("127.0.0.1"), m_port, name, password)) {
        WaitFor([&] { return client.client_side().Welcomed(); });
    }
    return player;
}

bool SessionHarness::Leave(Player& player) {
    const std::int32_t id = player->roster[player->LocalSlot].PlayerId;
    player->client().CloseClient();
    return WaitFor([&] { return !m_host->tarvex->roster.SlotOf(id); });
}

std::unique_ptr<ServerFRM> SessionHarness::OpenHostWindow() {
    auto window = std::make_unique<ServerFRM>(*m_host->tarvex);
    window->setAttribute(Qt::WA_DeleteOnClose, false);
    window->PrepareSession(m_session_name);
    return window;
}

Player& SessionHarness::JoinWithWindow(const QString& name, std::unique_ptr<ClientFRM>& window,
                                       const std::function<void(Player&)>& prepare) {
    return Join(name, {}, [&](Player& player) {
        if (prepare) {
            prepare(player);
        }
        window = std::make_unique<ClientFRM>(*player);
        window->setAttribute(Qt::WA_DeleteOnClose, false);
    });
}

bool SessionHarness::WaitFor(const std::function<bool()>& done, int timeout_ms) {
    return QTest::qWaitFor(done, timeout_ms);
}

} // namespace tarvex::test
