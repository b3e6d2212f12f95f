#include "platform/linux/ProcfsProcessMemory.h"

#include "TestRegistry.h"

#include <QCoreApplication>
#include <QFile>
#include <QTest>
#include <cstring>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace tarvex;

namespace {

// Below 4 GiB, where the game's 32-bit addresses live, and clear of this test's own mappings.
constexpr std::uint32_t kData = 0x3A000000;
constexpr std::uint32_t kCode = kData + 0x1000;
const QByteArray kStockCode = QByteArray::fromHex("f30f118640010000c3");

// A child process holding a data page and a read+execute "code" page at fixed addresses, as
// the game does. It waits to be killed.
class Target {
public:
    Target() {
        int ready[2];
        if (pipe(ready) != 0) {
            return;
        }
        m_pid = fork();
        if (m_pid == 0) {
            close(ready[0]);
            void* data =
                mmap(reinterpret_cast<void*>(std::uintptr_t(kData)), 0x2000, PROT_READ | PROT_WRITE,
                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
            char ok = data == reinterpret_cast<void*>(std::uintptr_t(kData)) ? 1 : 0;
            if (ok) {
                for (int i = 0; i < 0x1000; ++i) {
                    static_cast<unsigned char*>(data)[i] = static_cast<unsigned char>(i);
                }
                std::memcpy(static_cast<char*>(data) + 0x1000, kStockCode.constData(),
                            size_t(kStockCode.size()));
                ok =
                    mprotect(static_cast<char*>(data) + 0x1000, 0x1000, PROT_READ | PROT_EXEC) == 0;
            }
            if (write(ready[1], &ok, 1) != 1) {
                _exit(1);
            }
            for (;;) {
                pause();
            }
        }
        close(ready[1]);
        char ok = 0;
        m_ready = read(ready[0], &ok, 1) == 1 && ok == 1;
        close(ready[0]);
    }
    ~Target() {
        if (m_pid > 0) {
            kill(m_pid, SIGKILL);
            Reap();
        }
    }
    std::uint32_t Pid() const { return std::uint32_t(m_pid); }
    bool Ready() const { return m_ready; }
    // The signal that ended the child, 0 while it runs.
    int Reap() {
        int status = 0;
        if (m_pid > 0 && waitpid(m_pid, &status, 0) == m_pid) {
            m_pid = -1;
            return WIFSIGNALED(status) ? WTERMSIG(status) : -1;
        }
        return 0;
    }
    // The protection of the page holding the address, as /proc/PID/maps shows it.
    QByteArray Protection(std::uint32_t address) const {
        QFile maps(QStringLiteral("/proc/%1/maps").arg(m_pid));
        if (!maps.open(QIODevice::ReadOnly)) {
            return {};
        }
        for (const QByteArray& line : maps.readAll().split('\n')) {
            const QList<QByteArray> fields = line.split(' ');
            const QList<QByteArray> range = fields.value(0).split('-');
            if (range.size() == 2 && range[0].toULongLong(nullptr, 16) <= address &&
                address < range[1].toULongLong(nullptr, 16)) {
                return fields.value(1);
            }
        }
        return {};
    }

private:
    pid_t m_pid = -1;
    bool m_ready = false;
};

} // namespace

class ProcfsProcessMemoryTest : public QObject {
    Q_OBJECT

private slots:
    void readsSinglesAndGroups() {
        Target target;
        QVERIFY(target.Ready());
        ProcfsProcessMemory memory;
        std::uint32_t value = 0;
        QVERIFY(memory.Read(target.Pid(), kData + 0x10, &value, 4));
        QCOMPARE(value, 0x13121110u);

        // Seven values from both pages in one call.
        std::uint32_t group[7] = {};
        std::vector<MemoryRegion> regions;
        for (int i = 0; i < 4; ++i) {
            regions.push_back({kData + 0x100 + 4u * i, &group[i], 4});
        }
        for (int i = 0; i < 3; ++i) {
            regions.push_back({kCode + 4u * i, &group[4 + i], 4});
        }
        QVERIFY(memory.ReadGroup(target.Pid(), regions));
        QCOMPARE(group[0], 0x03020100u);
        QCOMPARE(group[3], 0x0F0E0D0Cu);
        QCOMPARE(group[4], 0x86110FF3u);

        // A group with one region outside the mapping fails as a whole.
        regions.push_back({kCode + 0x1000, &value, 4});
        QVERIFY(!memory.ReadGroup(target.Pid(), regions));
        // So does a read that runs off the end of the mapping.
        char tail[8];
        QVERIFY(!memory.Read(target.Pid(), kCode + 0xFFC, tail, sizeof tail));
    }

    void writesForceThroughCodePages() {
        Target target;
        QVERIFY(target.Ready());
        ProcfsProcessMemory memory;
        QCOMPARE(target.Protection(kCode), QByteArray("r-xp"));
        const QByteArray patch = QByteArray::fromHex("9090909090");
        QVERIFY(memory.Write(target.Pid(), kCode + 1, patch.constData(), size_t(patch.size())));
        QByteArray back(int(kStockCode.size()), '\0');
        QVERIFY(memory.Read(target.Pid(), kCode, back.data(), size_t(back.size())));
        QCOMPARE(back, QByteArray::fromHex("f3909090909000") + kStockCode.mid(7));
        // The patched code must stay executable: the protection is left as it was.
        QCOMPARE(target.Protection(kCode), QByteArray("r-xp"));

        const std::uint32_t word = 0xDEADBEEF;
        QVERIFY(memory.Write(target.Pid(), kData + 8, &word, 4));
        std::uint32_t read = 0;
        QVERIFY(memory.Read(target.Pid(), kData + 8, &read, 4));
        QCOMPARE(read, word);
        QVERIFY(!memory.Write(target.Pid(), kCode + 0x1000, &word, 4)); // unmapped
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
        QCOMPARE(memory.ExecutablePath(pid), QString());
        QVERIFY(!memory.Terminate(pid)); // never a kill of this process or its group
    }

    void executablePathAndTermination() {
        Target target;
        QVERIFY(target.Ready());
        ProcfsProcessMemory memory;
        QCOMPARE(memory.ExecutablePath(target.Pid()), QCoreApplication::applicationFilePath());
        QVERIFY(memory.Terminate(target.Pid()));
        QCOMPARE(target.Reap(), SIGKILL);
    }
};

TARVEX_TEST(ProcfsProcessMemoryTest);
#include "ProcfsProcessMemoryTest.moc"
