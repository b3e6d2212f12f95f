// The join handshake's packets, as a host reads a joiner's and a client reads its host's.
#include "net/transport/BufferString.h"
#include "net/transport/Handshake.h"

using namespace tarvex;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray packet(reinterpret_cast<const char*>(data), qsizetype(size));
    if (const auto hello = handshake::ParseHello(packet)) {
        handshake::Admit(*hello, {QByteArray(16, 'n'), QStringLiteral("pw"), 3, 12});
        handshake::Admit(*hello, {QByteArray(16, 'n'), QString(), 12, 12});
    }
    handshake::ParseAccept(packet);
    handshake::ParseChallenge(packet);
    qsizetype pos = 0;
    while (ReadBufferString(packet, pos)) {
    }
    return 0;
}
