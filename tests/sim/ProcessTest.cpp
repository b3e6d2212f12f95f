#include "TempFolder.h"
#include "TestRegistry.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTest>
#include <cstring>
#include <sys/uio.h>
#include <time.h>
#include <xcb/xcb.h>

// The DuneholtRally executable as another program meets it: a process with a window on the X
// display, memory at fixed addresses and a status file. (Keys, hook clicks, the intro window and
// forced writes into code pages are met by Tarvex's own game-process tests.)
namespace {

QString Executable() {
    return qEnvironmentVariable("TARVEX_BINARY_DIR") + "/sim/DuneholtRally";
}

class XDisplay {
public:
    XDisplay()
        : m_conn(xcb_connect(nullptr, nullptr)) {}
    ~XDisplay() { xcb_disconnect(m_conn); }
    bool Ok() const { return m_conn && !xcb_connection_has_error(m_conn); }
    xcb_connection_t* Conn() const { return m_conn; }
    xcb_window_t Root() const { return xcb_setup_roots_iterator(xcb_get_setup(m_conn)).data->root; }

    xcb_atom_t Atom(const char* name) const {
        auto reply = xcb_intern_atom_reply(
            m_conn, xcb_intern_atom(m_conn, 0, std::uint16_t(std::strlen(name)), name), nullptr);
        const xcb_atom_t atom = reply ? reply->atom : 0;
        free(reply);
        return atom;
    }
    QByteArray Property(xcb_window_t window, xcb_atom_t property, xcb_atom_t type) const {
        auto reply = xcb_get_property_reply(
            m_conn, xcb_get_property(m_conn, 0, window, property, type, 0, 256), nullptr);
        QByteArray value;
        if (reply) {
            value = QByteArray(static_cast<const char*>(xcb_get_property_value(reply)),
                               xcb_get_property_value_length(reply));
            free(reply);
        }
        return value;
    }
    // The top-level window whose WM_CLASS class part equals `window_class`, or 0.
    xcb_window_t FindByClass(const QByteArray& window_class) const {
        auto tree = xcb_query_tree_reply(m_conn, xcb_query_tree(m_conn, Root()), nullptr);
        xcb_window_t found = 0;
        if (tree) {
            const xcb_window_t* children = xcb_query_tree_children(tree);
            for (int i = 0; i < xcb_query_tree_children_length(tree) && !found; ++i) {
                const QList<QByteArray> parts =
                    Property(children[i], XCB_ATOM_WM_CLASS, XCB_ATOM_STRING).split('\0');
                if (parts.size() >= 2 && parts[1] == window_class) {
                    found = children[i];
                }
            }
            free(tree);
        }
        return found;
    }
    std::uint32_t Pid(xcb_window_t window) const {
        const QByteArray value = Property(window, Atom("_NET_WM_PID"), XCB_ATOM_CARDINAL);
        std::uint32_t pid = 0;
        if (value.size() == 4) {
            std::memcpy(&pid, value.constData(), 4);
        }
        return pid;
    }
    void Close(xcb_window_t window) const {
        xcb_client_message_event_t message;
        std::memset(&message, 0, sizeof message);
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window;
        message.type = Atom("WM_PROTOCOLS");
        message.data.data32[0] = Atom("WM_DELETE_WINDOW");
        message.data.data32[1] = XCB_CURRENT_TIME;
        xcb_send_event(m_conn, 0, window, XCB_EVENT_MASK_NO_EVENT,
                       reinterpret_cast<const char*>(&message));
        xcb_flush(m_conn);
    }

private:
    xcb_connection_t* m_conn;
};

QByteArray ReadRemote(qint64 pid, std::uint32_t address, std::size_t size) {
    QByteArray buffer(qsizetype(size), '\0');
    iovec local{buffer.data(), size};
    iovec remote{reinterpret_cast<void*>(std::uintptr_t(address)), size};
    if (process_vm_readv(pid_t(pid), &local, 1, &remote, 1, 0) != ssize_t(size)) {
        return {};
    }
    return buffer;
}

// A copy of the executable in its own folder, as scripts/game-folder lays it out.
struct GameFolder {
    tarvex::test::TempFolder folder;
    QString exe;
    GameFolder() {
        exe = folder.File("DuneholtRally");
        QFile::copy(Executable(), exe);
        QFile::setPermissions(exe, QFile::permissions(Executable()));
    }
};

qint64 MonotonicMs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return qint64(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

bool WaitForLine(const QString& path, const QByteArray& needle, int ms) {
    return QTest::qWaitFor(
        [&] {
            QFile file(path);
            return file.open(QIODevice::ReadOnly) && file.readAll().contains(needle);
        },
        ms);
}

} // namespace

class ProcessTest : public QObject {
    Q_OBJECT

private slots:
    void optionsWindowAndStatusLines_data();
    void optionsWindowAndStatusLines();
    void gameFolderHoldsTheStockArchive();
};

void ProcessTest::optionsWindowAndStatusLines_data() {
    QTest::addColumn<QString>("config");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("build");
    QTest::newRow("default build") << "" << QStringList() << 3;
    QTest::newRow("build from the folder's file") << "--build 2\n" << QStringList() << 2;
    QTest::newRow("command line wins") << "build=2\n# a comment\n"
                                       << QStringList({"--build", "4"}) << 4;
}

void ProcessTest::optionsWindowAndStatusLines() {
    QFETCH(QString, config);
    QFETCH(QStringList, arguments);
    QFETCH(int, build);
    XDisplay display;
    QVERIFY(display.Ok());
    GameFolder game;
    if (!config.isEmpty()) {
        game.folder.Write("DuneholtRally.cfg", config.toUtf8());
    }
    const QString status = game.folder.File("status.jsonl");
    const qint64 started = MonotonicMs();
    QProcess process;
    process.start(game.exe, arguments + QStringList({"--status", status}));
    QVERIFY(process.waitForStarted());
    xcb_window_t window = 0;
    QVERIFY(
        QTest::qWaitFor([&] { return (window = display.FindByClass("D3D Window")) != 0; }, 10000));
    QCOMPARE(qint64(display.Pid(window)), process.processId());
    QCOMPARE(display.Property(window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING),
             QByteArray("Duneholt Rally"));
    const char build_bytes[] = {0, 0x10, char(0x8B), char(0xE8), 0};
    QCOMPARE(ReadRemote(process.processId(), 0x4860F5, 1), QByteArray(1, build_bytes[build]));

    // Lines only when something changes, each stamped with this machine's monotonic clock.
    QVERIFY(WaitForLine(status, "\"attached\"", 5000));
    QTest::qWait(1000); // a game left alone writes no further lines
    const qint64 now = MonotonicMs();
    display.Close(window);
    QVERIFY(process.waitForFinished(5000));
    QCOMPARE(process.exitCode(), 0);
    QFile file(status);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = file.readAll().trimmed().split('\n');
    QVERIFY(!lines.isEmpty() && lines.size() < 10);
    qint64 previous = started;
    for (const QByteArray& line : lines) {
        QVERIFY(line.startsWith("{\"t\":"));
        const QJsonObject object = QJsonDocument::fromJson(line).object();
        const qint64 t = qint64(object["t"].toDouble());
        QVERIFY2(t >= previous && t <= now, line.left(40));
        previous = t;
        QCOMPARE(object["build"].toInt(), build);
        QCOMPARE(object["menu"].toInt(), 0);
    }
}

void ProcessTest::gameFolderHoldsTheStockArchive() {
    tarvex::test::TempFolder folder;
    const QString dir = folder.File("game");
    QProcess script;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("BUILD_DIR", qEnvironmentVariable("TARVEX_BINARY_DIR"));
    script.setProcessEnvironment(env);
    script.start(qEnvironmentVariable("TARVEX_SOURCE_DIR") + "/scripts/game-folder",
                 {dir, "--autopilot", "--seed", "7", "--pace", "1.05"});
    QVERIFY(script.waitForFinished(60000));
    QCOMPARE(script.exitCode(), 0);
    QVERIFY(QFileInfo(dir + "/DuneholtRally").isExecutable());
    QVERIFY(QFileInfo(dir + "/CARS").isDir());
    QFile cfg(dir + "/DuneholtRally.cfg");
    QVERIFY(cfg.open(QIODevice::ReadOnly));
    QVERIFY(cfg.readAll().contains("--autopilot\n--seed 7\n--pace 1.05\n"));

    QProcess unzip;
    unzip.start("unzip", {"-t", dir + "/physics.dhz"});
    QVERIFY(unzip.waitForFinished(30000));
    QCOMPARE(unzip.exitCode(), 0);

    // The recorded CRC-32 of every member, from the central directory.
    QFile archive(dir + "/physics.dhz");
    QVERIFY(archive.open(QIODevice::ReadOnly));
    const QByteArray bytes = archive.readAll();
    auto u16 = [&bytes](qsizetype at) {
        return quint32(quint8(bytes[at])) | quint32(quint8(bytes[at + 1])) << 8;
    };
    auto u32 = [&](qsizetype at) {
        return u16(at) | u16(at + 2) << 16;
    };
    QMap<QString, quint32> recorded;
    const qsizetype end = bytes.lastIndexOf(QByteArray::fromHex("504b0506"));
    QVERIFY(end > 0);
    qsizetype at = qsizetype(u32(end + 16));
    while (u32(at) == 0x02014B50) {
        const quint32 name_length = u16(at + 28);
        const QString name = QString::fromLatin1(bytes.mid(at + 46, name_length));
        recorded[name] = u32(at + 16);
        at += 46 + name_length + u16(at + 30) + u16(at + 32);
    }
    QCOMPARE(recorded.size(), 115);
    const char* const files[] = {
        "common.lsp",          "gravel.lsp",   "repair.ini",          "r_gravel.lsp",
        "r_snow.lsp",          "r_tarmac.lsp", "setups/d_gravel.lsp", "setups/d_snow.lsp",
        "setups/d_tarmac.lsp", "snow.lsp",     "tarmac.lsp"};
    const QStringList cars = {
        "c_xsara F14804E4 06D0BA20 E9002DD9 F773B910 0D1FDE52 2DB458FC E4F80021 B5B74D99 "
        "192FF9E2 AAA55A59 3E74DFCF",
        "h_accent AA1EC735 C3331543 E9002DD9 F608ABC2 A1DE5A89 7D84C2A3 D6FE7AE2 B9D84288 "
        "F6E85F5E 000A2313 693B684E",
        "mg_zr 09659CF8 122B7D50 52DF2F0B AF955BCE 356B01AA 7E451570 4522153B 43C9E33C 0E578789 "
        "3CB9F352 B30176A5",
        "m_lancer C97221DA 628F92CF E9002DD9 7C90E931 07FBA417 A2D5994D 2FC02D16 2076F4B3 "
        "D5B6BCE8 02876574 4B8CB9FF",
        "p_206 F1A68B17 DE1C8DD8 E9002DD9 3EF70A59 FBB57283 3B74E435 98036C35 62E5B62C CCBCDCBF "
        "F7C06234 751A4661",
        "s_i2000 DAA77CE2 0075106A E9002DD9 4702AB6F F6474627 2B0E2A7F CA0E7700 2D9CC0F3 "
        "85E08938 AC342982 DBF5365A",
        "s_i2003 CEB77B50 0075106A E9002DD9 899A2E28 3BB2AAD4 A09B513B CA0E7700 2D9CC0F3 "
        "85E08938 AC342982 68333C6B",
        "t_coroll 97B38775 4854A856 E9002DD9 F77A9D47 E0D93200 9D4E4345 2F75016E 43C9E33C "
        "0E578789 C252CEBD 46997149"};
    QMap<QString, quint32> expected;
    for (const QString& row : cars) {
        const QStringList parts = row.split(' ');
        const QString folder_name = "Physics/" + parts[0] + "/";
        expected[folder_name] = 0;
        expected[folder_name + "setups/"] = 0;
        for (int i = 0; i < 11; ++i) {
            expected[folder_name + files[i]] = parts[i + 1].toUInt(nullptr, 16);
        }
    }
    const QStringList others = {"localphysics.lsp 58F54AC0",
                                "michelin/ 0",
                                "michelin/tyres.lsp 5A0949CE",
                                "pirelli/ 0",
                                "pirelli/tyres.lsp 5A0949CE",
                                "physics.dat E8C47DA3",
                                "school/ 0",
                                "school/gravel.lsp A187068B",
                                "school/sfgravel.lsp AD535385",
                                "school/tarmac.lsp CF2AC546",
                                "physics.lsp 3BBA3193"};
    for (const QString& row : others) {
        expected["Physics/" + row.section(' ', 0, 0)] = row.section(' ', 1, 1).toUInt(nullptr, 16);
    }
    QCOMPARE(recorded, expected);
}

TARVEX_TEST(ProcessTest);
#include "ProcessTest.moc"
