// A session peer in a process of its own, so that tests can kill it outright: a host
// ("host PORT") or a client joining one ("client PORT NAME"). It prints "ready" once the
// session is open (the client: once admitted) and then serves until killed.
#include "net/transport/ClientSession.h"
#include "net/transport/HostSession.h"

#include <QCoreApplication>
#include <QTextStream>
#include <cstdio>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() < 3) {
        return 2;
    }
    const auto port = static_cast<quint16>(args[2].toUInt());
    tarvex::TransportTimeouts timeouts;
    timeouts.silence_ms = 3000;
    auto ready = [] {
        std::puts("ready");
        std::fflush(stdout);
    };
    if (args[1] == QLatin1String("host")) {
        tarvex::HostSession host(nullptr);
        host.SetTimeouts(timeouts);
        if (!host.InitServer(QStringLiteral("Process"), 12, port, QString())) {
            return 1;
        }
        ready();
        return app.exec();
    }
    tarvex::ClientSession client(nullptr);
    client.SetTimeouts(timeouts);
    QObject::connect(&client, &tarvex::ClientSession::ConnectComplete, [&](quint32 result) {
        if (result == 0) {
            ready();
        } else {
            app.exit(1);
        }
    });
    if (!client.Connect(QStringLiteral("127.0.0.1"), port, args.value(3), QString())) {
        return 1;
    }
    return app.exec();
}
