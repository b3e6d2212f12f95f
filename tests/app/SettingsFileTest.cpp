#include "app/SettingsFile.h"

#include "TempFolder.h"
#include "TestRegistry.h"
#include "app/ProfileFile.h"
#include "app/Tarvex.h"
#include "platform/fake/FakePlatform.h"

#include <QTest>

using namespace tarvex;

namespace {

// A Tarvex with fake platform in its own folder, optionally with a settings file.
struct Fixture {
    test::TempFolder folder;
    FakePlatform fakes;
    Tarvex tarvex{fakes.AsPlatform(), folder.Path()};

    explicit Fixture(const QByteArray& ini = {}) {
        if (!ini.isNull()) {
            folder.Write("Tarvex.ini", ini);
        }
    }
    QString Printed() {
        QString text;
        QTextStream out(&text);
        PrintSettings(tarvex, out);
        return text;
    }
    // The printed value of one key.
    QString Printed(const QString& section, const QString& key) {
        const QString prefix = section + u' ' + key + u'=';
        for (const QString& line : Printed().split(u'\n')) {
            if (line.startsWith(prefix)) {
                return line.mid(prefix.size());
            }
        }
        return QStringLiteral("<absent>");
    }
};

// Every key a save may write set to a recognisable value, so a save's effect on each shows.
QByteArray EveryKeyFile() {
    QByteArray ini = "[MAIN]\n";
    for (const char* key : {"PNUM",          "GNAME",  "NAME",  "HOST",   "PORT",  "BROADCASTIP",
                            "BROADCASTPORT", "CGNAME", "CNAME", "CHOST",  "CPORT", "GPATH",
                            "LISTSERVER",    "PUBLIC", "JQ",    "SBOX",   "SPLIT", "CTIME",
                            "DGHOST",        "NAMEH",  "NAMEO", "GHOSTS", "CHEAT", "INTERVAL",
                            "COMPRESS",      "CLOCK",  "VOTE",  "SAUTO",  "SRATE"}) {
        ini += QByteArray(key) + "=file\n";
    }
    ini += "[GAME]\n";
    for (const char* key :
         {"GMODEL",  "ITAG",     "IPRO",  "PROID", "COUNTRY", "STAGE",   "STAGEID",
          "WEATHER", "2WEATHER", "HUMID", "WEAR",  "DAMAGE",  "PENALTY", "SETUP",
          "CAR",     "TRANS",    "TYRE",  "CCAR",  "CTRANS",  "CTYRE"}) {
        ini += QByteArray(key) + "=file\n";
    }
    return ini;
}

} // namespace

class SettingsFileTest : public QObject {
    Q_OBJECT

private slots:
    void loadedValues_data() {
        QTest::addColumn<QByteArray>("ini");
        QTest::addColumn<QString>("section");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* name, const QByteArray& ini, const char* section,
                            const char* key, const QString& expected) {
            QTest::newRow(name) << ini << QString::fromLatin1(section) << QString::fromLatin1(key)
                                << expected;
        };
        row("old server name is upgraded", "[MAIN]\nGNAME=Tarvex 2.1 Server", "MAIN", "GNAME",
            "Tarvex 3.0 Server");
        row("client's old server name too", "[MAIN]\nCGNAME=Tarvex 2.0 Server", "MAIN", "CGNAME",
            "Tarvex 3.0 Server");
        row("own server name stays", "[MAIN]\nGNAME=Tarvex 2.3 Server", "MAIN", "GNAME",
            "Tarvex 2.3 Server");
        row("unconvertible byte keeps its value", "[MAIN]\nPUBLIC=abc", "MAIN", "PUBLIC", "0");
        row("empty byte takes the default", "[MAIN]\nPUBLIC=", "MAIN", "PUBLIC", "1");
        row("interval overflow keeps its value", "[MAIN]\nINTERVAL=70000", "MAIN", "INTERVAL", "0");
        row("interval is signed", "[MAIN]\nINTERVAL=-20", "MAIN", "INTERVAL", "-20");
        row("byte above 255", "[GAME]\nCOUNTRY=256", "GAME", "COUNTRY", "0");
        row("byte at 255", "[GAME]\nCOUNTRY=255", "GAME", "COUNTRY", "255");
        row("negative byte", "[GAME]\nWEAR=-1", "GAME", "WEAR", "0");
        row("fraction rounds half to even", "[GAME]\nWEAR=2.5", "GAME", "WEAR", "2");
        row("stored stage 0 is 10", "[GAME]\nSTAGEID=0", "GAME", "STAGEID", "10");
        row("stored ghost model 0 is 6", "[GAME]\nGMODEL=0", "GAME", "GMODEL", "6");
        row("empty name tag is on", "[GAME]\nITAG=", "GAME", "ITAG", "1");
        row("name tag off", "[GAME]\nITAG=0", "GAME", "ITAG", "0");
        row("host and client cars apart", "[GAME]\nCAR=3\nCCAR=5", "GAME", "CCAR", "5");
        row("empty player count", "[MAIN]\nPNUM=", "MAIN", "PNUM", "12");
        row("player count is text", "[MAIN]\nPNUM=abc", "MAIN", "PNUM", "abc");
        row("only 3MSG given", "[QUICKMSG]\n3MSG=Go go go", "QUICKMSG", "3MSG", "Go go go");
        row("the others take theirs", "[QUICKMSG]\n3MSG=Go go go", "QUICKMSG", "4MSG", ":-)");
        row("empty 3MSG", "[QUICKMSG]\n3MSG=", "QUICKMSG", "3MSG", "Nice Pass!");
        row("lower-case key and section", "[quickmsg]\n1msg=hi", "QUICKMSG", "1MSG", "hi");
        row("text cut at 255 characters", "[MAIN]\nNAME=" + QByteArray(300, 'n'), "MAIN", "NAME",
            QString(255, u'n'));
        row("listing server", "[MAIN]\nLISTSERVER=127.0.0.1:1004", "MAIN", "LISTSERVER",
            "127.0.0.1:1004");
        row("garbage file", QByteArray("\xff\xfe\x00garbage=[=]\n[MAIN", 21), "MAIN", "PORT",
            "2005");
    }

    void loadedValues() {
        QFETCH(QByteArray, ini);
        QFETCH(QString, section);
        QFETCH(QString, key);
        QFETCH(QString, expected);
        Fixture f(ini);
        LoadSettings(f.tarvex, LoadMode::Quiet);
        QCOMPARE(f.Printed(section, key), expected);
    }

    // A client never writes the host's race and server keys, a host never the client's car,
    // and the listing server only the host, once it is set; everything else keeps its place
    // and foreign content survives.
    void saveWritesTheRoleKeySet_data() {
        QTest::addColumn<bool>("host");
        QTest::newRow("host") << true;
        QTest::newRow("client") << false;
    }

    void saveWritesTheRoleKeySet() {
        QFETCH(bool, host);
        Fixture f("; kept comment\n" + EveryKeyFile() + "[OTHER]\nX=1\n");
        f.tarvex.IsHost = host;
        SaveSettings(f.tarvex); // nothing loaded: every written key takes the record's value
        const ProfileFile saved(SettingsFilePath(f.folder.Path()));
        const QStringList host_only = {
            "COUNTRY", "STAGE",    "STAGEID",  "WEATHER", "2WEATHER", "HUMID", "WEAR",
            "DAMAGE",  "PENALTY",  "SETUP",    "CAR",     "TRANS",    "TYRE",  "GHOSTS",
            "CHEAT",   "INTERVAL", "COMPRESS", "CLOCK",   "VOTE",     "SAUTO", "SRATE"};
        const QStringList client_only = {"CCAR", "CTRANS", "CTYRE"};
        for (const SettingKey& row : SettingKeys()) {
            const QString key = QLatin1String(row.key);
            const bool untouched = key == QLatin1String("LISTSERVER") ||
                                   (host ? client_only.contains(key) : host_only.contains(key));
            const QString value = saved.Value(QLatin1String(row.section), key);
            if (untouched) {
                QVERIFY2(value == QLatin1String("file"), qPrintable(key));
            } else {
                QVERIFY2(value != QLatin1String("file"), qPrintable(key));
            }
        }
        const QByteArray bytes = f.folder.Read("Tarvex.ini");
        QVERIFY(bytes.startsWith("; kept comment\n[MAIN]\nPNUM=\n"));
        QVERIFY(bytes.endsWith("[OTHER]\nX=1\n\n[QUICKMSG]\n1MSG=\n2MSG=\n3MSG=\n4MSG=\n5MSG=\n"
                               "6MSG=\n7MSG=\n8MSG=\n9MSG=\n"));

        f.tarvex.settings.ListServer = QStringLiteral("127.0.0.1:1004");
        SaveSettings(f.tarvex);
        QCOMPARE(ProfileFile(SettingsFilePath(f.folder.Path())).Value("MAIN", "LISTSERVER"),
                 host ? QStringLiteral("127.0.0.1:1004") : QStringLiteral("file"));
    }

    // A fresh start saved: every default, in the save order of each role.
    void newFileHasTheSaveOrder() {
        Fixture f;
        QVERIFY(!LoadSettings(f.tarvex, LoadMode::Quiet)); // no game, but every default
        f.tarvex.settings.PlayerName = "Anna";
        f.tarvex.race.Country = 3;
        f.tarvex.stored.client_car.Car = 7;
        f.tarvex.IsHost = false;
        SaveSettings(f.tarvex);
        QCOMPARE(f.folder.Read("Tarvex.ini"),
                 QByteArray("[MAIN]\nPNUM=12\nGNAME=Tarvex 3.0 Server\nNAME=Anna\nHOST=localhost\n"
                            "PORT=2005\nBROADCASTIP=255.255.255.255\nBROADCASTPORT=1002\n"
                            "CGNAME=Tarvex 3.0 Server\nCNAME=User\nCHOST=localhost\nCPORT=2005\n"
                            "GPATH=\nPUBLIC=1\nJQ=1\nSBOX=1\nSPLIT=1\nCTIME=10\nDGHOST=1\n"
                            "NAMEH=1\nNAMEO=8\n\n[GAME]\nGMODEL=6\nITAG=1\nIPRO=0\n"
                            "PROID=0\nCCAR=7\nCTRANS=0\nCTYRE=0\n\n[QUICKMSG]\n1MSG=Good Race!\n"
                            "2MSG=Bad Race!\n3MSG=Nice Pass!\n4MSG=:-)\n5MSG=:-(\n6MSG=Good Fun!\n"
                            "7MSG=Weeeee!\n8MSG=Eat my dust!\n9MSG=My car is damaged!\n"));
        // A host's save of the same record adds its keys after the client's ones.
        f.tarvex.IsHost = true;
        SaveSettings(f.tarvex);
        const QByteArray bytes = f.folder.Read("Tarvex.ini");
        QVERIFY(bytes.contains("CTYRE=0\nCOUNTRY=3\nSTAGE=0\nWEATHER=0\n2WEATHER=0\nHUMID=0\n"
                               "WEAR=0\nCAR=0\nTRANS=0\nTYRE=0\nDAMAGE=0\nSTAGEID=10\nPENALTY=0\n"
                               "SETUP=0\n\n[QUICKMSG]"));
        QVERIFY(bytes.contains("NAMEO=8\nGHOSTS=0\nCHEAT=0\nINTERVAL=150\nCOMPRESS=0\n"
                               "CLOCK=1\nVOTE=1\nSAUTO=1\nSRATE=25\n\n[GAME]"));
    }

    void saveAndLoadRoundTrip() {
        Fixture f;
        LoadSettings(f.tarvex, LoadMode::Quiet);
        f.tarvex.IsHost = true;
        Settings& s = f.tarvex.settings;
        s.ServerName = "Dunes at dusk";
        s.DataInterval = -300;
        s.ListServer = "127.0.0.1:1004";
        s.QuickMessages[9] = QString::fromUtf8("F\xc3\xbcnf!");
        f.tarvex.race.StageId = 71;
        f.tarvex.stored.host_car.Tyre = 6;
        SaveSettings(f.tarvex);
        const QString saved = f.Printed();

        Fixture again(f.folder.Read("Tarvex.ini"));
        LoadSettings(again.tarvex, LoadMode::Quiet);
        QCOMPARE(again.Printed(), saved);
    }

    void longValuesAreRefusedOneByOne() {
        Fixture f;
        LoadSettings(f.tarvex, LoadMode::Quiet);
        f.tarvex.settings.PlayerName = QString(255, u'a');
        f.tarvex.settings.HostAddress = QString(256, u'b');
        f.tarvex.settings.QuickMessages[1] = QString(256, u'c');
        SaveSettings(f.tarvex);
        const auto& messages = f.fakes.dialogs->messages;
        QCOMPARE(messages.size(), 2);
        QCOMPARE(messages[0].title, QStringLiteral("Tarvex"));
        QCOMPARE(messages[0].text,
                 QStringLiteral("Can't write more than 255 characters for key or value."));
        const ProfileFile saved(SettingsFilePath(f.folder.Path()));
        QCOMPARE(saved.Value("MAIN", "NAME"), QString(255, u'a'));
        QCOMPARE(saved.Value("MAIN", "HOST"), QString());
        QCOMPARE(saved.Value("MAIN", "PORT"), QStringLiteral("2005")); // the save went on
        QCOMPARE(saved.Value("QUICKMSG", "2MSG"), QStringLiteral("Bad Race!"));

        WriteINI(f.tarvex, "MAIN", QString(256, u'k'), "v");
        QCOMPARE(f.fakes.dialogs->messages.size(), 3);
        WriteINI(f.tarvex, "MAIN", "NAME", "Bo");
        QCOMPARE(ReadINI(f.tarvex, "main", "name"), QStringLiteral("Bo"));
    }

    // Unlike a refused key, a file that cannot be written at all is worth telling the user.
    void unwritableFolderIsReported() {
        test::TempFolder parent;
        parent.Write("file", "x");
        FakePlatform fakes;
        Tarvex tarvex(fakes.AsPlatform(), parent.File("file"));
        LoadSettings(tarvex, LoadMode::Quiet);
        SaveSettings(tarvex);
        QCOMPARE(fakes.dialogs->messages.size(), 1);
        QCOMPARE(fakes.dialogs->messages[0].icon, Dialogs::Icon::Warning);
        QVERIFY(fakes.dialogs->messages[0].text.startsWith(
            QStringLiteral("Tarvex could not save its settings to ")));
        QCOMPARE(tarvex.settings.PlayerName, QStringLiteral("User"));
    }

    void gameExecutableFromTheRegistry() {
        Fixture f;
        QDir().mkpath(f.folder.File("game"));
        f.folder.Write("game/DuneholtRally", "elf");
        f.fakes.registry->Set(RegistryRoot::LocalMachine,
                              "SOFTWARE\\Corvid Games\\Duneholt Rally\\InstallPath", {},
                              f.folder.File("game"));
        QVERIFY(LoadSettings(f.tarvex));
        QCOMPARE(f.tarvex.settings.GamePath, f.folder.File("game/DuneholtRally"));
        QVERIFY(f.fakes.dialogs->requests.isEmpty());
    }

    void lostGameAsksInItsFolder() {
        Fixture f("[MAIN]\nGPATH=/nowhere/games/DuneholtRally\n");
        f.folder.Write("DuneholtRally", "elf");
        f.fakes.dialogs->answers << f.folder.File("DuneholtRally");
        QVERIFY(LoadSettings(f.tarvex));
        QCOMPARE(f.tarvex.settings.GamePath, f.folder.File("DuneholtRally"));
        QCOMPARE(f.fakes.dialogs->requests.size(), 1);
        const Dialogs::FileRequest& request = f.fakes.dialogs->requests[0];
        QCOMPARE(request.title, QStringLiteral("Find Game Executable"));
        QCOMPARE(request.folder, QStringLiteral("/nowhere/games"));
        QCOMPARE(request.file_name, QStringLiteral("DuneholtRally"));
        QVERIFY(request.filter.startsWith(QStringLiteral("Executable (")));
    }

    void noGameEndsTheStart() {
        Fixture f;
        QVERIFY(!LoadSettings(f.tarvex)); // the dialog is cancelled
        QCOMPARE(f.fakes.dialogs->requests.size(), 1);
        QCOMPARE(f.fakes.dialogs->requests[0].folder, f.folder.Path());
        QVERIFY(f.tarvex.settings.GamePath.isEmpty());
        QVERIFY(!QFile::exists(f.folder.File("Tarvex.ini"))); // nothing was saved
    }

    void paths() {
        QCOMPARE(SettingsFilePath("/"), QStringLiteral("/Tarvex.ini"));
        QCOMPARE(SettingsFilePath("/opt/tarvex"), QStringLiteral("/opt/tarvex/Tarvex.ini"));
        test::TempFolder folder;
        QCOMPARE(ProgramFolder(folder.File("cfg"), "/usr/bin"), folder.File("cfg"));
        QCOMPARE(ProgramFolder({}, folder.Path()), folder.Path());
        QVERIFY(ProgramFolder({}, folder.File("missing")).endsWith(QStringLiteral("/Tarvex")));
    }
};

TARVEX_TEST(SettingsFileTest);
#include "SettingsFileTest.moc"
