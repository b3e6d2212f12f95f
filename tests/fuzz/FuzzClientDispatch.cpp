// A whole client copy of Tarvex receiving whatever its host sends it: welcome, roster, race
// settings, times, car states, all the way into the race controls and the results.
#include "FuzzInput.h"

using namespace tarvex;

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    fuzz::StartQt(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Copy copy;
    Tarvex& client = copy.tarvex;
    client.settings.ShowJoinQuit = 1;
    client.MyName = QStringLiteral("Bob");
    fuzz::MessageStream stream(data, size);
    QByteArray message;
    while (stream.Next(message)) {
        emit client.client().Receive(5, message);
    }
    return 0;
}
