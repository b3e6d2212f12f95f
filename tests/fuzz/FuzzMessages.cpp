// Every message decoder on bytes from nowhere. What a decoder accepts must encode to a
// message that decodes again to the same bytes: exact decoding leaves no byte unread and no
// value unchecked that the encoder would write differently.
#include "net/Messages.h"

#include <cstdlib>

using namespace tarvex;

namespace {

template <class Msg, class... Context>
void RoundTrip(QByteArrayView bytes, Context... context) {
    WireReader first(bytes);
    first.U8();
    const std::optional<Msg> msg = Msg::decode(first, context...);
    if (!msg) {
        return;
    }
    const QByteArray encoded = Encode(*msg);
    WireReader second(encoded);
    second.U8();
    const std::optional<Msg> again = Msg::decode(second, context...);
    if (!again || Encode(*again) != encoded) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    // The first byte is the receiver's state: its compression level and occupied rows.
    const std::uint8_t compression = data[0] % 8;
    const int occupied = data[0] >> 4;
    const QByteArrayView bytes(reinterpret_cast<const char*>(data + 1), qsizetype(size - 1));
    switch (MessageType(bytes[0])) {
    case MessageType::Chat:
        RoundTrip<ChatMsg>(bytes);
        break;
    case MessageType::Welcome:
        RoundTrip<WelcomeMsg>(bytes);
        break;
    case MessageType::Quit:
        RoundTrip<QuitMsg>(bytes);
        break;
    case MessageType::LagTable:
        RoundTrip<LagTableMsg>(bytes, occupied);
        break;
    case MessageType::Join:
        RoundTrip<JoinMsg>(bytes);
        break;
    case MessageType::GameStatus:
        RoundTrip<GameStatusMsg>(bytes);
        break;
    case MessageType::GameData:
        RoundTrip<GameDataMsg>(bytes);
        break;
    case MessageType::CarChoice:
        RoundTrip<CarChoiceMsg>(bytes);
        break;
    case MessageType::CarState:
        RoundTrip<CarStateMsg>(bytes, compression);
        break;
    case MessageType::RaceState:
        RoundTrip<RaceStateMsg>(bytes);
        break;
    case MessageType::Progress:
        RoundTrip<ProgressMsg>(bytes);
        break;
    case MessageType::StartRace:
        RoundTrip<StartRaceMsg>(bytes);
        break;
    case MessageType::Split1:
    case MessageType::Split2:
    case MessageType::Finish:
        RoundTrip<TimeMsg>(bytes, MessageType(bytes[0]));
        break;
    case MessageType::FalseStart:
        RoundTrip<FalseStartMsg>(bytes);
        break;
    case MessageType::Restart:
        RoundTrip<VoteRestartMsg>(bytes);
        RoundTrip<DoRestartMsg>(bytes);
        break;
    case MessageType::Sync:
        RoundTrip<SyncMsg>(bytes);
        RoundTrip<SyncReplyMsg>(bytes);
        break;
    }
    return 0;
}
