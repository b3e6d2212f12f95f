#include "platform/linux/WineRegistry.h"

#include "TempFolder.h"
#include "TestRegistry.h"

#include <QTest>

using namespace tarvex;

namespace {

// A system.reg as Wine writes it: doubled backslashes in key names, a timestamp after the
// header, escaped strings, other value types, and keys whose names share a prefix.
const QByteArray kHive = "WINE REGISTRY Version 2\n"
                         ";; All keys relative to \\\\Machine\n"
                         "\n"
                         "#arch=win32\n"
                         "\n"
                         "[Software\\\\Corvid Games\\\\Duneholt Rally] 1700000000\n"
                         "#time=1d9d3f1a2b3c4d5\n"
                         "\"Version\"=dword:00000003\n"
                         "\n"
                         "[Software\\\\Corvid Games\\\\Duneholt Rally\\\\InstallPath] 1700000001\n"
                         "#time=1d9d3f1a2b3c4d6\n"
                         "@=\"C:\\\\Games\\\\Duneholt Rally\"\n"
                         "\"Quoted \\\"name\\\"\"=\"a\\\"b\"\n"
                         "\"Expand\"=str(2):\"%ProgramFiles%\\\\Duneholt\"\n"
                         "\"Binary\"=hex:01,02,03\n"
                         "\"WithNul\"=\"abc\\0def\"\n"
                         "\"Wide\"=\"caf\\x00e9\"\n"
                         "\n"
                         "[Software\\\\Corvid Games\\\\Duneholt Rally\\\\InstallPath2] 1700000002\n"
                         "@=\"wrong key\"\n";

} // namespace

class WineRegistryTest : public QObject {
    Q_OBJECT

private slots:
    void lookups_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QVariant>("expected");

        const QString install =
            QStringLiteral("SOFTWARE\\Corvid Games\\Duneholt Rally\\InstallPath");
        QTest::newRow("default value, key case differs")
            << install << QString() << QVariant(QStringLiteral("C:\\Games\\Duneholt Rally"));
        QTest::newRow("dword") << QStringLiteral("software\\corvid games\\duneholt rally")
                               << QStringLiteral("version") << QVariant(quint32(3));
        QTest::newRow("escaped name and value")
            << install << QStringLiteral("Quoted \"name\"") << QVariant(QStringLiteral("a\"b"));
        QTest::newRow("expand string is another type")
            << install << QStringLiteral("Expand") << QVariant();
        QTest::newRow("binary is another type")
            << install << QStringLiteral("Binary") << QVariant();
        QTest::newRow("string ends at NUL")
            << install << QStringLiteral("WithNul") << QVariant(QStringLiteral("abc"));
        QTest::newRow("hex escape")
            << install << QStringLiteral("Wide") << QVariant(QStringLiteral("caf\u00e9"));
        QTest::newRow("missing value") << install << QStringLiteral("Nope") << QVariant();
        QTest::newRow("missing key")
            << QStringLiteral("SOFTWARE\\Corvid Games\\Other") << QString() << QVariant();
        QTest::newRow("prefix of a longer key is not that key")
            << QStringLiteral("SOFTWARE\\Corvid Games\\Duneholt Rally\\InstallPat") << QString()
            << QVariant();
    }

    void lookups() {
        QFETCH(QString, key);
        QFETCH(QString, name);
        QFETCH(QVariant, expected);
        QCOMPARE(WineRegistry::ValueFromHive(kHive, key, name), expected);
    }

    void readsThePrefixHiveFiles() {
        test::TempFolder prefix;
        prefix.Write(QStringLiteral("system.reg"), kHive);
        WineRegistry registry(prefix.Path());
        const QString install =
            QStringLiteral("SOFTWARE\\Corvid Games\\Duneholt Rally\\InstallPath");
        QCOMPARE(registry.Value(RegistryRoot::LocalMachine, install, {}).toString(),
                 QStringLiteral("C:\\Games\\Duneholt Rally"));
        // user.reg is absent, and HKEY_CLASSES_ROOT has no hive file of its own.
        QVERIFY(!registry.Value(RegistryRoot::CurrentUser, install, {}).isValid());
        QVERIFY(!registry.Value(RegistryRoot::ClassesRoot, install, {}).isValid());
    }

    void environmentPrefix() {
        test::TempFolder prefix;
        prefix.Write(QStringLiteral("system.reg"), kHive);
        qputenv("WINEPREFIX", prefix.Path().toLocal8Bit());
        WineRegistry registry;
        const QVariant value = registry.Value(
            RegistryRoot::LocalMachine, QStringLiteral("SOFTWARE\\Corvid Games\\Duneholt Rally"),
            QStringLiteral("Version"));
        qunsetenv("WINEPREFIX");
        QCOMPARE(value, QVariant(quint32(3)));
        QCOMPARE(WineRegistry::DefaultPrefix(), QDir::homePath() + QStringLiteral("/.wine"));
    }
};

TARVEX_TEST(WineRegistryTest);
#include "WineRegistryTest.moc"
