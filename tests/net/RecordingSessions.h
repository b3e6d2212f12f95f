#pragma once

#include "FreePort.h"
#include "net/transport/ClientSession.h"
#include "net/transport/HostSession.h"
#include "platform/fake/FakeDialogs.h"

#include <QList>
#include <QTest>
#include <memory>

namespace tarvex::test {

// Time-outs short enough that a vanished peer is noticed within a test.
inline TransportTimeouts QuickTimeouts() {
    TransportTimeouts timeouts;
    timeouts.silence_ms = 3000;
    timeouts.handshake_ms = 400;
    timeouts.connect_ms = 2000;
    return timeouts;
}

// A host session that records its events.
struct RecordingHost {
    std::shared_ptr<FakeDialogs> dialogs = std::make_shared<FakeDialogs>();
    HostSession session{dialogs};
    QList<dpn::PlayerId> created;
    QList<dpn::PlayerId> destroyed;
    QList<QPair<dpn::PlayerId, QByteArray>> received;

    RecordingHost() {
        session.SetTimeouts(QuickTimeouts());
        QObject::connect(&session, &HostSession::CreatePlayer,
                         [this](dpn::PlayerId id) { created << id; });
        QObject::connect(&session, &HostSession::DestroyPlayer,
                         [this](dpn::PlayerId id) { destroyed << id; });
        QObject::connect(&session, &HostSession::Receive,
                         [this](dpn::PlayerId id, const QByteArray& bytes) {
                             received.append({id, bytes});
                         });
    }
    // Opens on a free port and waits for the host's own player.
    quint16 Open(int limit = 12, const QString& password = QString()) {
        const quint16 port = FreeUdpPort();
        if (!session.InitServer(QStringLiteral("Test Rally"), limit, port, password)) {
            return 0;
        }
        return QTest::qWaitFor([this] { return created.size() == 1; }, 5000) ? port : 0;
    }
    QList<QByteArray> From(dpn::PlayerId id) const {
        QList<QByteArray> out;
        for (const auto& [sender, bytes] : received) {
            if (sender == id) {
                out << bytes;
            }
        }
        return out;
    }
};

// A client session that records its events.
struct RecordingClient {
    std::shared_ptr<FakeDialogs> dialogs = std::make_shared<FakeDialogs>();
    ClientSession session{dialogs};
    QList<dpn::ResultCode> completes;
    QList<dpn::ResultCode> terminations;
    QList<QByteArray> received;
    int closed = 0;

    RecordingClient() {
        session.SetTimeouts(QuickTimeouts());
        QObject::connect(&session, &ClientSession::ConnectComplete,
                         [this](dpn::ResultCode code) { completes << code; });
        QObject::connect(&session, &ClientSession::TerminateSession,
                         [this](dpn::ResultCode code) { terminations << code; });
        QObject::connect(&session, &ClientSession::Receive,
                         [this](dpn::PlayerId, const QByteArray& bytes) { received << bytes; });
        QObject::connect(&session, &ClientSession::Closed, [this] { ++closed; });
    }
    // Joins and waits for the outcome; returns its result code.
    dpn::ResultCode Join(quint16 port, const QString& name, const QString& password = QString(),
                         const QString& guid = QLatin1String(dpn::ApplicationGuid)) {
        completes.clear();
        if (!session.Connect(QStringLiteral("127.0.0.1"), port, name, password, guid)) {
            return dpn::DPNERR_GENERIC;
        }
        if (!QTest::qWaitFor([this] { return !completes.isEmpty(); }, 10000)) {
            return dpn::DPNERR_GENERIC;
        }
        return completes.first();
    }
};

} // namespace tarvex::test
