// A whole host copy of Tarvex receiving whatever a seated client sends it: every handler, the
// roster, the results, the console and the relays behind the session's dispatch.
#include "FuzzInput.h"

using namespace tarvex;

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    fuzz::StartQt(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Copy copy;
    Tarvex& host = copy.tarvex;
    host.IsHost = true;
    host.settings.ShowJoinQuit = 1;
    host.settings.DataInterval = 150;
    host.settings.Compression = size > 0 ? data[0] % 6 : 0;
    host.MyName = QStringLiteral("Hostess");
    emit host.server().CreatePlayer(1);
    emit host.server().CreatePlayer(2);
    emit host.server().CreatePlayer(3);
    fuzz::MessageStream stream(data + (size > 0 ? 1 : 0), size > 0 ? size - 1 : 0);
    QByteArray message;
    int sender = 2;
    while (stream.Next(message)) {
        emit host.server().Receive(dpn::PlayerId(sender), message);
        // Now and then the other client speaks, so that both seats see traffic.
        sender = message.size() % 5 == 0 ? 5 - sender : sender;
    }
    return 0;
}
