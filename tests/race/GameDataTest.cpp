#include "race/GameData.h"

#include "TestRegistry.h"
#include "net/transport/ClientSession.h"
#include "net/transport/HostSession.h"
#include "platform/fake/FakeDialogs.h"
#include "race/RaceCatalogue.h"

#include <QHostAddress>
#include <QTest>
#include <QUdpSocket>
#include <memory>

using namespace tarvex;

namespace {

StoredSettings HostStored() {
    StoredSettings stored;
    stored.host_car = {6, 1, 2};
    RaceSettings& race = stored.race;
    race.Country = 3;
    race.StageIndex = 4;
    race.StageId = 45;
    race.WeatherMode = 1;
    race.WeatherCondition = 2;
    race.WeatherPreset = 6;
    race.Humidity = 1;
    race.TyreWear = 2;
    race.Damage = 3;
    race.PenaltiesDisabled = 1;
    race.SetupsAllowed = 0;
    Settings& settings = stored.settings;
    settings.DataInterval = 300;
    settings.Compression = 4;
    settings.GhostsDisabled = 1;
    settings.CheatProtection = 0;
    settings.ClockWhenPaused = 1;
    settings.RateAuto = 0;
    settings.Rate = 40;
    return stored;
}

quint16 FreeUdpPort() {
    QUdpSocket probe;
    probe.bind(QHostAddress::LocalHost, 0);
    return probe.localPort();
}

// One side of a session with its own settings and race controls, wired as a race window
// wires them: changes go out at once, received game data and car choices are applied.
struct Host {
    std::shared_ptr<FakeDialogs> dialogs = std::make_shared<FakeDialogs>();
    HostSession session{dialogs};
    StoredSettings stored = HostStored();
    RaceChoices choices{RaceChoices::Form::Host, stored.race, stored.host_car, [] {
                            return 0.7;
                        }};
    int created = 0;

    Host() {
        choices.SendGameData = [this] {
            session.SendTo(dpn::DPNID_ALL_PLAYERS_GROUP, Encode(MakeGameData(stored)), 0,
                           dpn::SendReliable);
        };
        QObject::connect(&session, &HostSession::CreatePlayer, [this] { ++created; });
        QObject::connect(
            &session, &HostSession::Receive, [this](dpn::PlayerId, const QByteArray& bytes) {
                WireReader reader(bytes);
                if (MessageType(reader.U8()) != MessageType::CarChoice) {
                    return;
                }
                if (const auto msg = CarChoiceMsg::decode(reader)) {
                    choices.ShowCar(msg->slot, {msg->car, msg->transmission, msg->tyre});
                }
            });
        choices.FillCombos();
        choices.LoadOld();
    }
};

struct Client {
    std::shared_ptr<FakeDialogs> dialogs = std::make_shared<FakeDialogs>();
    ClientSession session{dialogs};
    StoredSettings stored;
    RaceChoices choices{RaceChoices::Form::Client, stored.race, stored.client_car, [] {
                            return 0.0;
                        }};
    int slot;
    int game_data = 0;

    explicit Client(int local_slot)
        : slot(local_slot) {
        stored.settings.RateAuto = 0;
        stored.settings.Rate = 99;
        stored.client_car = {1, 0, 0};
        choices.SetLocalSlot(slot);
        choices.DisableHostControls();
        choices.SendGameData = [this] {
            if (session.IsConnected()) {
                session.Send(Encode(MakeCarChoice(slot, stored.client_car)), 0, dpn::SendReliable);
            }
        };
        QObject::connect(&session, &ClientSession::Receive,
                         [this](dpn::PlayerId, const QByteArray& bytes) {
                             WireReader reader(bytes);
                             if (MessageType(reader.U8()) != MessageType::GameData) {
                                 return;
                             }
                             if (const auto msg = GameDataMsg::decode(reader)) {
                                 ShowGameData(*msg, stored, choices);
                                 ++game_data;
                             }
                         });
        choices.FillCombos();
        choices.LoadOld();
    }
};

} // namespace

class GameDataTest : public QObject {
    Q_OBJECT

private slots:
    void host_message_bytes() {
        const QByteArray expected("\x08"
                                  "\x06\x01\x02"             // host car, transmission, tyre
                                  "\x03\x04\x2D"             // France, 5th stage, stage 45
                                  "\x01\x02\x06\x01\x02\x03" // weather, preset, humidity..
                                  "\x01\x00"                 // penalties, setups
                                  "\x2C\x01"                 // 300 ms
                                  "\x04\x01\x00\x01"         // compression .. clock
                                  "\x28",                    // rate 40
                                  22);
        QCOMPARE(Encode(MakeGameData(HostStored())), expected);

        StoredSettings automatic = HostStored();
        automatic.settings.RateAuto = 1;
        QCOMPARE(Encode(MakeGameData(automatic)).back(), '\0');

        CarSelection car{7, 1, 5};
        QCOMPARE(Encode(MakeCarChoice(11, car)), QByteArray("\x09\x0B\x07\x01\x05", 5));
    }

    void client_rate_rule_data() {
        QTest::addColumn<int>("rate");
        QTest::addColumn<int>("stored_rate");
        QTest::addColumn<int>("rate_auto");
        QTest::newRow("0 means automatic") << 0 << 99 << 1;
        QTest::newRow("a rate is taken") << 40 << 40 << 0;
    }

    void client_rate_rule() {
        QFETCH(int, rate);
        GameDataMsg msg = MakeGameData(HostStored());
        msg.rate = std::uint8_t(rate);
        StoredSettings client;
        client.settings.Rate = 99;
        client.settings.RateAuto = 0;
        client.client_car = {2, 1, 4};
        ApplyGameData(msg, client);
        QTEST(int(client.settings.Rate), "stored_rate");
        QTEST(int(client.settings.RateAuto), "rate_auto");
        QCOMPARE(client.settings.DataInterval, std::int16_t(300));
        QCOMPARE(client.race.StageId, std::uint8_t(45));
        QCOMPARE(client.host_car.Car, std::uint8_t(6));
        QCOMPARE(client.client_car.Car, std::uint8_t(2));
    }

    void race_header_and_roster() {
        const RaceHeader header = DescribeRace(HostStored().race);
        QCOMPARE(header.StageName, QStringLiteral("Joux Verte II"));
        QCOMPARE(header.WeatherName, QStringLiteral("Random Weather"));
        QCOMPARE(header.DamageName, QStringLiteral("Realistic"));
        QVERIFY(header.PenaltiesDisabled);
        QVERIFY(!header.SetupsAllowed);

        RaceSettings race;
        CarSelection car;
        RaceChoices choices(RaceChoices::Form::Host, race, car, [] { return 0.0; });
        choices.ShowCar(4, {3, 1, 6});
        Roster roster;
        roster.Occupy(4, 77, QStringLiteral("Di"));
        roster[4].Status = 2;
        const auto entries = ResultRoster(roster, choices);
        QVERIFY(entries[4].InUse);
        QCOMPARE(entries[4].Status, std::uint8_t(2));
        QCOMPARE(entries[4].Name, QStringLiteral("Di"));
        QCOMPARE(entries[4].Car, QStringLiteral("Mitsubishi Lancer Evo VII"));
        QCOMPARE(entries[4].Transmission, QStringLiteral("Manual"));
        QCOMPARE(entries[4].Tyre, QStringLiteral("Snow"));
        QVERIFY(!entries[5].InUse);

        // A new race record starts everyone at the line and counts the Ready players.
        roster[4].Distance = 812.5f;
        roster.Occupy(0, 1, QStringLiteral("Ann"));
        roster[0].Status = 1;
        roster[0].Distance = 3.0f;
        Results results;
        QCOMPARE(NewRaceResult(results, roster, choices, HostStored().race,
                               QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5)), true),
                 1);
        QCOMPARE(roster[4].Distance, 0.0f);
        QCOMPARE(roster[0].Distance, 0.0f);
        QCOMPARE(results.Race(1).DriverName[4], QStringLiteral("Di"));
        QCOMPARE(results.Race(1).DriverName[0], QString());
        QCOMPARE(results.Race(1).StageName, QStringLiteral("Joux Verte II"));
        QCOMPARE(results.Race(1).PenaltiesText, QStringLiteral("True"));
    }

    // The host edits the race; both clients end up with every field, propose their own tyre
    // for the new conditions and tell the host, whose rows then show it.
    void round_trip_to_two_clients() {
        Host host;
        const quint16 port = FreeUdpPort();
        QVERIFY(host.session.InitServer(QStringLiteral("Round Trip"), 12, port, QString()));
        QTRY_COMPARE(host.created, 1);
        Client first(1);
        Client second(2);
        for (Client* client : {&first, &second}) {
            QVERIFY(client->session.Connect(QStringLiteral("127.0.0.1"), port,
                                            QStringLiteral("Player %1").arg(client->slot),
                                            QString()));
            QTRY_VERIFY(client->session.IsConnected());
        }
        QTRY_COMPARE(host.created, 3);

        host.choices.cmbCountry.Pick(1); // England
        host.choices.cmbStage.Pick(2);   // Chirdonhead
        host.choices.cmbWeather.Pick(3); // 22O_N_heavyfog_heavycloud
        host.choices.cmbHumid.Pick(2);   // Wet
        host.choices.cmbWear.Pick(1);    // Normal
        host.choices.optWeather.Pick(1); // Random, draws bad (0.7)
        host.choices.optDam.Pick(2);     // Reduced
        host.choices.pCar[0].Pick(4);    // Peugeot 206
        host.choices.pTrans[0].Pick(0);  // Auto
        QCOMPARE(host.stored.host_car.Tyre, std::uint8_t(GravelWet));
        QCOMPARE(host.stored.race.WeatherCondition, std::uint8_t(2));

        for (Client* client : {&first, &second}) {
            const RaceSettings& got = client->stored.race;
            QTRY_COMPARE(got.Damage, std::uint8_t(2));
            QTRY_COMPARE(client->stored.host_car.Transmission, std::uint8_t(0));
            QCOMPARE(got.Country, std::uint8_t(1));
            QCOMPARE(got.StageIndex, std::uint8_t(2));
            QCOMPARE(got.StageId, std::uint8_t(22));
            QCOMPARE(got.WeatherMode, std::uint8_t(1));
            QCOMPARE(got.WeatherCondition, std::uint8_t(2));
            QCOMPARE(got.WeatherPreset, std::uint8_t(3));
            QCOMPARE(got.WeatherPresetName, QStringLiteral("22O_N_heavyfog_heavycloud"));
            QCOMPARE(got.Humidity, std::uint8_t(2));
            QCOMPARE(got.TyreWear, std::uint8_t(1));
            QCOMPARE(got.PenaltiesDisabled, std::uint8_t(1));
            QCOMPARE(got.SetupsAllowed, std::uint8_t(0));
            QCOMPARE(client->stored.host_car.Car, std::uint8_t(4));
            QCOMPARE(client->stored.host_car.Tyre, std::uint8_t(GravelWet));
            const Settings& options = client->stored.settings;
            QCOMPARE(options.DataInterval, std::int16_t(300));
            QCOMPARE(options.Compression, std::uint8_t(4));
            QCOMPARE(options.GhostsDisabled, std::uint8_t(1));
            QCOMPARE(options.CheatProtection, std::uint8_t(0));
            QCOMPARE(options.ClockWhenPaused, std::uint8_t(1));
            QCOMPARE(options.Rate, std::uint8_t(40));
            QCOMPARE(options.RateAuto, std::uint8_t(0));

            // The client's display follows, including the host's row.
            QCOMPARE(client->choices.cmbStage.CurrentText(),
                     QStringLiteral("Chirdonhead       [7000m]"));
            QCOMPARE(client->choices.optWeather.Index(), 1);
            QCOMPARE(client->choices.pCar[0].Index(), 4);
            QCOMPARE(client->choices.WeatherPicture(), 4);
            // Its own tyre follows the conditions and reaches the host.
            QCOMPARE(client->stored.client_car.Tyre, std::uint8_t(GravelWet));
            QTRY_COMPARE(host.choices.pTyre[client->slot].Index(), int(GravelWet));
            QCOMPARE(host.choices.pCar[client->slot].Index(), 1);
        }
        // The host's own row is never touched by what the clients send.
        QCOMPARE(host.choices.pCar[0].Index(), 4);

        for (Client* client : {&first, &second}) {
            client->session.CloseClient();
        }
        host.session.CloseServer();
    }
};

TARVEX_TEST(GameDataTest);
#include "GameDataTest.moc"
