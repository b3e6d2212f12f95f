// A whole client copy of Tarvex receiving whatever its host sends it: welcome, roster, race
// settings, times, car states, all the way into the race controls and the results.
#include "FuzzInput.h"
#include "app/Tarvex.h"
#include "platform/fake/FakePlatform.h"

#include <QCoreApplication>
#include <QDir>

using namespace tarvex;

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    static QCoreApplication app(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FakePlatform platform;
    Tarvex client(platform.AsPlatform(), QDir::tempPath());
    client.settings.ShowJoinQuit = 1;
    client.MyName = QStringLiteral("Bob");
    fuzz::MessageStream stream(data, size);
    QByteArray message;
    while (stream.Next(message)) {
        emit client.client().Receive(5, message);
    }
    return 0;
}
