#include "fairplay/PhysicsCheck.h"

#include "PhysicsArchive.h"
#include "TempFolder.h"
#include "TestRegistry.h"
#include "fairplay/PhysicsArchive.h"
#include "game/GameProcess.h"
#include "platform/fake/FakePlatform.h"

#include <QBuffer>
#include <QDir>
#include <QProcess>
#include <QRandomGenerator>
#include <QTest>
#include <QTextStream>
#include <zlib.h>

using namespace tarvex;

namespace {

struct Member {
    QByteArray name;
    QByteArray content;
};

void Put(QByteArray& out, std::uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        out.append(char((value >> (8 * i)) & 0xFF));
    }
}

// A plain ZIP of stored members, as any archiver writes it, with the members' real CRC-32.
QByteArray Zip(const std::vector<Member>& members) {
    QByteArray out;
    QByteArray directory;
    for (const Member& m : members) {
        const auto crc = std::uint32_t(crc32(
            0, reinterpret_cast<const Bytef*>(m.content.constData()), uInt(m.content.size())));
        const auto size = std::uint32_t(m.content.size());
        const auto offset = std::uint32_t(out.size());
        Put(out, 0x04034B50, 4);
        for (std::uint32_t v : {10u, 0u, 0u, 0u, 0u}) {
            Put(out, v, 2);
        }
        Put(out, crc, 4);
        Put(out, size, 4);
        Put(out, size, 4);
        Put(out, std::uint32_t(m.name.size()), 2);
        Put(out, 0, 2);
        out += m.name + m.content;

        Put(directory, 0x02014B50, 4);
        for (std::uint32_t v : {20u, 10u, 0u, 0u, 0u, 0u}) {
            Put(directory, v, 2);
        }
        Put(directory, crc, 4);
        Put(directory, size, 4);
        Put(directory, size, 4);
        for (std::uint32_t v : {std::uint32_t(m.name.size()), 0u, 0u, 0u, 0u}) {
            Put(directory, v, 2);
        }
        Put(directory, 0, 4);
        Put(directory, offset, 4);
        directory += m.name;
    }
    const auto directory_offset = std::uint32_t(out.size());
    out += directory;
    Put(out, 0x06054B50, 4);
    Put(out, 0, 4);
    Put(out, std::uint32_t(members.size()), 2);
    Put(out, std::uint32_t(members.size()), 2);
    Put(out, std::uint32_t(directory.size()), 4);
    Put(out, directory_offset, 4);
    Put(out, 0, 2);
    return out;
}

// The game's stock members, each with content whose CRC-32 is the stock value.
std::vector<Member> StockMembers() {
    std::vector<Member> members;
    for (const sim::PhysicsMember& m : sim::StockPhysicsMembers()) {
        members.push_back({QByteArray::fromStdString(m.path),
                           QByteArray::fromStdString(sim::ForgeContent(m.path, m.crc))});
    }
    return members;
}

Member& Find(std::vector<Member>& members, const char* name) {
    for (Member& m : members) {
        if (m.name == name) {
            return m;
        }
    }
    qFatal("no member %s", name);
}

const QString kModified = QStringLiteral("The file '%1' in 'Physics.dhz'\n"
                                         "appears to be modified, this is not allowed.\n");

} // namespace

class PhysicsCheckTest : public QObject {
    Q_OBJECT

private slots:
    void gameFolders_data() {
        QTest::addColumn<QString>("layout");
        QTest::addColumn<QString>("output");
        const QString ok = QStringLiteral("game files: ok\n");
        QTest::newRow("stock") << "stock" << ok;
        QTest::newRow("archive name in capitals") << "capitals" << ok;
        QTest::newRow("added empty member") << "empty member" << ok;
        QTest::newRow("changed member") << "changed" << kModified.arg("Physics/p_206/common.lsp");
        QTest::newRow("added member") << "added" << kModified.arg("Physics/p_206/turbo.lsp");
        QTest::newRow("lower-case path") << "lower" << kModified.arg("physics/p_206/common.lsp");
        const QString loose = QStringLiteral("There appears to be a 'Physics' folder in your "
                                             "Duneholt Rally root folder, this is not allowed.\n");
        QTest::newRow("loose Physics folder") << "loose folder" << loose;
        QTest::newRow("loose PHYSICS file") << "loose file" << loose;
        const QString missing =
            QStringLiteral("Tarvex cannot obtain the EXE path from the Process ID\n"
                           "or your 'Physics.dhz' file is missing.\n");
        QTest::newRow("no archive") << "no archive" << missing;
        QTest::newRow("no folder") << "no folder" << missing;
    }

    void gameFolders() {
        QFETCH(QString, layout);
        QFETCH(QString, output);
        test::TempFolder folder;
        std::vector<Member> members = StockMembers();
        if (layout == "changed") {
            Find(members, "Physics/p_206/common.lsp").content += "grip=2.0\r\n";
        } else if (layout == "added") {
            members.push_back({"Physics/p_206/turbo.lsp", "boost=1\r\n"});
        } else if (layout == "empty member") {
            members.push_back({"Physics/p_206/notes.txt", ""});
        } else if (layout == "lower") {
            Find(members, "Physics/p_206/common.lsp").name = "physics/p_206/common.lsp";
        } else if (layout == "loose folder") {
            QDir(folder.Path()).mkdir(QStringLiteral("Physics"));
        } else if (layout == "loose file") {
            folder.Write(QStringLiteral("PHYSICS"), "x");
        }
        if (layout != "no archive" && layout != "no folder") {
            folder.Write(layout == "capitals" ? "PHYSICS.DHZ" : "physics.dhz", Zip(members));
        }
        const QString path = layout == "no folder" ? folder.File("gone") : folder.Path();

        QString printed;
        QTextStream out(&printed);
        const int code = CheckGameFiles(out, path);
        out.flush();
        QCOMPARE(printed, output);
        QCOMPARE(code, output.endsWith(QStringLiteral("ok\n")) ? 0 : 1);
    }

    void failureClosesTheGameThenTells() {
        test::TempFolder folder;
        std::vector<Member> members = StockMembers();
        Find(members, "Physics/m_lancer/tarmac.lsp").content = "faster";
        folder.Write(QStringLiteral("physics.dhz"), Zip(members));

        FakePlatform fake;
        constexpr std::uint32_t kPid = 77;
        fake.memory->SetExecutablePath(kPid, folder.File(QStringLiteral("DuneholtRally")));
        fake.desktop->AddWindow(QStringLiteral("D3D Window"), kPid);
        GameProcess game(fake.AsPlatform());
        game.FindGame();

        struct Window : FairPlayWindow {
            std::function<void()> on_untick;
            void UntickReady() override { on_untick(); }
        } race_window;
        QStringList steps;
        race_window.on_untick = [&] {
            steps << QStringLiteral("untick, game ended: %1").arg(fake.memory->Terminated(kPid));
        };
        fake.dialogs->on_message = [&](const FakeDialogs::Message&) {
            steps << "message";
        };

        // Off: nothing happens whatever the archive holds.
        QVERIFY(CheckPhysicsArchive(false, game, *fake.dialogs, race_window));
        QVERIFY(steps.isEmpty());

        QVERIFY(!CheckPhysicsArchive(true, game, *fake.dialogs, race_window));
        QCOMPARE(steps, (QStringList{"untick, game ended: 1", "message"}));
        QCOMPARE(fake.dialogs->messages.size(), 1);
        const FakeDialogs::Message& message = fake.dialogs->messages.first();
        QCOMPARE(message.title, QStringLiteral("Tarvex"));
        QCOMPARE(message.icon, Dialogs::Icon::None);
        QCOMPARE(message.text,
                 QStringLiteral("This Server has enabled cheat protection.\r\n\r\nERROR:\r\n"
                                "The file 'Physics/m_lancer/tarmac.lsp' in 'Physics.dhz'\r\n"
                                "appears to be modified, this is not allowed."));
    }

    void walkEndsOnAnyDamage() {
        // The stock archive as the game folder script makes it: every header, in file order.
        const QByteArray stock = QByteArray::fromStdString(sim::BuildPhysicsArchive());
        QBuffer whole;
        whole.setData(stock);
        whole.open(QIODevice::ReadOnly);
        const std::vector<ArchiveEntry> full = ReadArchiveHeaders(whole);
        QCOMPARE(full.size(), std::size_t(230));
        QCOMPARE(full.front().name, QStringLiteral("Physics/c_xsara/"));
        QCOMPARE(full[115].signature, ArchiveEntry::kCentralHeader);

        // Every truncation yields a prefix of those headers.
        for (qsizetype size = 0; size < stock.size(); ++size) {
            QBuffer cut;
            cut.setData(stock.left(size));
            cut.open(QIODevice::ReadOnly);
            const std::vector<ArchiveEntry> entries = ReadArchiveHeaders(cut);
            QVERIFY(entries.size() <= full.size());
            for (std::size_t i = 0; i < entries.size(); ++i) {
                QCOMPARE(entries[i].name, full[i].name);
            }
        }

        // Garbage, and a header whose lengths run far past the end.
        QRandomGenerator random(12);
        for (int round = 0; round < 50; ++round) {
            QByteArray garbage(4096, '\0');
            random.fillRange(reinterpret_cast<quint32*>(garbage.data()), garbage.size() / 4);
            QBuffer buffer(&garbage);
            buffer.open(QIODevice::ReadOnly);
            QVERIFY(ReadArchiveHeaders(buffer).size() <= std::size_t(4096 / 30));
        }
        QByteArray absurd = stock.left(30 + 16);
        absurd.replace(18, 8, QByteArray(8, char(0xFF))); // both sizes 4 GiB - 1
        QBuffer absurd_buffer(&absurd);
        absurd_buffer.open(QIODevice::ReadOnly);
        QCOMPARE(ReadArchiveHeaders(absurd_buffer).size(), std::size_t(1));

        // A huge file of zeros (sparse on disk): the walk ends at its bound, not at the end.
        test::TempFolder folder;
        QFile huge(folder.File(QStringLiteral("physics.dhz")));
        QVERIFY(huge.open(QIODevice::WriteOnly) && huge.resize(qint64(1) << 32));
        huge.close();
        QCOMPARE(ReadArchiveHeaders(huge.fileName()).size(), std::size_t(2 * 65535));
        QCOMPARE(FindModifiedMember(huge.fileName()), QString());
    }

    void commandLineChecksAFolder() {
        const QString tarvex = qEnvironmentVariable("TARVEX_BINARY_DIR") + "/src/app/tarvex";
        test::TempFolder folder;
        folder.Write(QStringLiteral("physics.dhz"), Zip(StockMembers()));
        QProcess run;
        run.setProcessEnvironment(QProcessEnvironment::systemEnvironment());
        run.start(tarvex, {QStringLiteral("--check-game-files"), folder.Path()});
        QVERIFY(run.waitForFinished(20000));
        QCOMPARE(run.readAllStandardOutput(), QByteArray("game files: ok\n"));
        QCOMPARE(run.exitCode(), 0);

        run.start(tarvex, {QStringLiteral("--check-game-files"), folder.File("elsewhere")});
        QVERIFY(run.waitForFinished(20000));
        QCOMPARE(run.readAllStandardOutput(),
                 QByteArray("Tarvex cannot obtain the EXE path from the Process ID\n"
                            "or your 'Physics.dhz' file is missing.\n"));
        QCOMPARE(run.exitCode(), 1);
    }
};

TARVEX_TEST(PhysicsCheckTest);
#include "PhysicsCheckTest.moc"
