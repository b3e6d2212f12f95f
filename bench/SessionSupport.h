#pragma once

// What the session benchmarks share: ports, settings folders for real `tarvex` copies, raw ENet
// peers that join a Tarvex host, and what /proc tells about a running copy.

#include "FreePort.h"
#include "net/Messages.h"
#include "net/transport/Handshake.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <algorithm>
#include <enet/enet.h>
#include <enet/time.h>
#include <unistd.h>
#include <vector>

namespace tarvex::bench {

using test::FreeUdpPort;

inline double Percentile(std::vector<double> values, double q) {
    if (values.empty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, size_t(q * double(values.size())))];
}

// A settings folder for one copy of the program: a full session, a game path so that no dialog
// asks for one, and the public listing off, or sent to `listing_port` on this machine only.
inline QString TarvexFolder(const QString& parent, const QString& name, quint16 listing_port = 0) {
    const QString folder = parent + u'/' + name;
    QDir().mkpath(folder);
    QFile game(folder + QStringLiteral("/DuneholtRally.exe"));
    game.open(QIODevice::WriteOnly);
    game.close();
    QFile ini(folder + QStringLiteral("/Tarvex.ini"));
    ini.open(QIODevice::WriteOnly);
    ini.write("[MAIN]\nBROADCASTIP=127.0.0.1\nLISTSERVER=\nPNUM=12\nPUBLIC=" +
              QByteArray(listing_port ? "1" : "0") + "\nBROADCASTPORT=" +
              QByteArray::number(listing_port) + "\nGPATH=" + game.fileName().toUtf8() + '\n');
    ini.close();
    return folder;
}

// Starts a copy of the program on its own folder with a quick-start line. Without a display
// it draws offscreen.
inline bool StartTarvex(QProcess& process, const QString& folder, const QString& quick_start) {
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    if (!env.contains(QStringLiteral("DISPLAY"))) {
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    }
    process.setProcessEnvironment(env);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    // TARVEX_PROGRAM measures another build of the program with the same benchmark.
    process.start(qEnvironmentVariable("TARVEX_PROGRAM", QStringLiteral(TARVEX_EXECUTABLE)),
                  {QStringLiteral("--config"), folder, quick_start});
    return process.waitForStarted(5000);
}

// Answers a Tarvex host's challenge as a client of the right version would; false when `bytes`
// is no challenge.
inline bool AnswerChallenge(ENetPeer* peer, const QByteArray& bytes, const QString& name) {
    const auto nonce = handshake::ParseChallenge(bytes);
    if (!nonce) {
        return false;
    }
    const QByteArray hello = handshake::BuildHello(
        {QLatin1String(dpn::ApplicationGuid), name, handshake::PasswordProof(*nonce, QString())});
    enet_peer_send(
        peer, 0,
        enet_packet_create(hello.constData(), size_t(hello.size()), ENET_PACKET_FLAG_RELIABLE));
    return true;
}

inline QByteArray PacketBytes(const ENetPacket* packet) {
    return QByteArray(reinterpret_cast<const char*>(packet->data), qsizetype(packet->dataLength));
}

// A process's use of the machine so far, from /proc: processor time, how often its threads
// went to sleep and were woken again, and resident memory.
struct Usage {
    double cpu_s = 0;
    long wakeups = 0;
    double rss_mb = 0;
};

inline Usage UsageOf(qint64 pid) {
    Usage usage;
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (stat.open(QIODevice::ReadOnly)) {
        const QByteArray line = stat.readAll();
        const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
        if (fields.size() > 13) {
            usage.cpu_s = double(fields[11].toLongLong() + fields[12].toLongLong()) /
                          double(sysconf(_SC_CLK_TCK));
        }
    }
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (status.open(QIODevice::ReadOnly)) {
        for (const QByteArray& line : status.readAll().split('\n')) {
            if (line.startsWith("VmRSS:")) {
                usage.rss_mb = line.mid(6).trimmed().split(' ').first().toDouble() / 1024.0;
            }
        }
    }
    // Every thread counts: a helper thread that wakes the processor costs as much as the main one.
    const QString tasks = QStringLiteral("/proc/%1/task").arg(pid);
    for (const QString& task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile file(tasks + u'/' + task + QStringLiteral("/status"));
        if (!file.open(QIODevice::ReadOnly)) {
            continue;
        }
        for (const QByteArray& line : file.readAll().split('\n')) {
            if (line.startsWith("voluntary_ctxt_switches:")) {
                usage.wakeups += line.mid(24).trimmed().toLong();
            }
        }
    }
    return usage;
}

} // namespace tarvex::bench
