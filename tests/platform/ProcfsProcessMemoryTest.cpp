#include "platform/linux/ProcfsProcessMemory.h"

#include "TestRegistry.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTest>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

using namespace tarvex;

namespace {

// Below 4 GiB, where the game's 32-bit addresses live: a data page and a read+execute page of
// this very process, reached through the same kernel paths as another process's.
constexpr std::uint32_t kData = 0x3A000000;
constexpr std::uint32_t kCode = kData + 0x1000;

} // namespace

class ProcfsProcessMemoryTest : public QObject {
    Q_OBJECT

    std::uint32_t m_self = std::uint32_t(getpid());
    unsigned char* m_pages = nullptr;

private slots:
    void initTestCase() {
        void* pages =
            mmap(reinterpret_cast<void*>(std::uintptr_t(kData)), 0x2000, PROT_READ | PROT_WRITE,
                 MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
        if (pages != reinterpret_cast<void*>(std::uintptr_t(kData))) {
            QSKIP("the test address range is taken");
        }
        m_pages = static_cast<unsigned char*>(pages);
        for (int i = 0; i < 0x2000; ++i) {
            m_pages[i] = static_cast<unsigned char>(i);
        }
        QCOMPARE(mprotect(m_pages + 0x1000, 0x1000, PROT_READ | PROT_EXEC), 0);
    }

    void cleanupTestCase() {
        if (m_pages) {
            munmap(m_pages, 0x2000);
        }
    }

    void groupReadsAreAllOrNothing() {
        ProcfsProcessMemory memory;
        std::uint32_t values[3] = {};
        const MemoryRegion regions[] = {{kData + 0x10, &values[0], 4},
                                        {kCode + 0x20, &values[1], 4},
                                        {kCode + 0x1000, &values[2], 4}}; // past the mapping
        QVERIFY(memory.ReadGroup(m_self, {regions, 2}));
        QCOMPARE(values[0], 0x13121110u);
        QCOMPARE(values[1], 0x23222120u);
        QVERIFY(!memory.ReadGroup(m_self, regions));
        char tail[8];
        QVERIFY(!memory.Read(m_self, kCode + 0xFFC, tail, sizeof tail)); // runs off the end
    }

    void writesGoThroughCodePagesAndLeaveThemExecutable() {
        ProcfsProcessMemory memory;
        const QByteArray patch = QByteArray::fromHex("9090c3");
        QVERIFY(memory.Write(m_self, kCode + 1, patch.constData(), size_t(patch.size())));
        QCOMPARE(QByteArray(reinterpret_cast<const char*>(m_pages + 0x1000), 5),
                 QByteArray::fromHex("009090c304"));
        // Patched code must stay executable: the write leaves the protection as it was.
        QFile maps(QStringLiteral("/proc/self/maps"));
        QVERIFY(maps.open(QIODevice::ReadOnly));
        QVERIFY(maps.readAll().contains(QByteArray::number(kCode, 16) + '-' +
                                        QByteArray::number(kCode + 0x1000, 16) + " r-xp"));
        const std::uint32_t word = 0xDEADBEEF;
        QVERIFY(!memory.Write(m_self, kCode + 0x1000, &word, 4)); // unmapped

        // A group spanning both kinds of page lands whole, however the system has to split it.
        const std::uint32_t a = 0xA1A2A3A4, b = 0xB1B2B3B4;
        const MemoryWrite data_only[] = {{kData + 0x40, &a, 4}, {kData + 0x48, &b, 2}};
        QVERIFY(memory.WriteGroup(m_self, data_only));
        QCOMPARE(QByteArray(reinterpret_cast<const char*>(m_pages + 0x40), 12),
                 QByteArray::fromHex("a4a3a2a1 44454647 b4b34a4b"));
        const MemoryWrite mixed[] = {{kData + 0x80, &a, 4}, {kCode + 0x80, &b, 4}};
        QVERIFY(memory.WriteGroup(m_self, mixed));
        QCOMPARE(QByteArray(reinterpret_cast<const char*>(m_pages + 0x80), 4),
                 QByteArray::fromHex("a4a3a2a1"));
        QCOMPARE(QByteArray(reinterpret_cast<const char*>(m_pages + 0x1080), 4),
                 QByteArray::fromHex("b4b3b2b1"));
        const MemoryWrite past_end[] = {{kData + 0xC0, &a, 4}, {kCode + 0xFFE, &b, 4}};
        QVERIFY(!memory.WriteGroup(m_self, past_end));
    }

    void badProcessesFailQuietly_data() {
        QTest::addColumn<std::uint32_t>("pid");
        QTest::newRow("zero") << 0u;
        QTest::newRow("negative as unsigned") << 0xFFFFFFFFu;
        QTest::newRow("no such process") << 0x3FFFFFFEu;
    }

    void badProcessesFailQuietly() {
        QFETCH(std::uint32_t, pid);
        ProcfsProcessMemory memory;
        std::uint32_t value = 0;
        QVERIFY(!memory.Read(pid, kData, &value, 4));
        QVERIFY(!memory.Write(pid, kData, &value, 4));
        const MemoryWrite piece{kData, &value, 4};
        QVERIFY(!memory.WriteGroup(pid, {&piece, 1}));
        QCOMPARE(memory.ExecutablePath(pid), QString());
        QVERIFY(!memory.Terminate(pid)); // never a kill of this process or its group
    }

    void executablePathAndTermination() {
        ProcfsProcessMemory memory;
        QCOMPARE(memory.ExecutablePath(m_self), QCoreApplication::applicationFilePath());
        QProcess sleeper;
        sleeper.start(QStringLiteral("sleep"), {QStringLiteral("60")});
        QVERIFY(sleeper.waitForStarted());
        QVERIFY(memory.Terminate(std::uint32_t(sleeper.processId())));
        QVERIFY(sleeper.waitForFinished(5000));
        QCOMPARE(sleeper.exitStatus(), QProcess::CrashExit);
    }
};

TARVEX_TEST(ProcfsProcessMemoryTest);
#include "ProcfsProcessMemoryTest.moc"
