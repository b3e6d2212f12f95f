#pragma once

#include "net/transport/ResultCodes.h"

#include <QByteArray>
#include <QString>
#include <optional>

// The join handshake that runs inside a fresh connection before the host admits a player:
//
//   host -> client  Challenge  [1] [nonce: 16 bytes]
//   client -> host  Hello      [2] [application GUID: text] [nickname: text] [proof: 32 bytes]
//   host -> client  Accept     [3] [player id: u32] [host player id: u32] [session name: text]
//                              [player limit: u8]
//
// A refusal is no packet of its own: the host disconnects with the result code as the
// disconnect data. The proof is HMAC-SHA256 of the nonce keyed by the password, so the password
// never leaves the client. All numbers little-endian, texts as buffer strings. Handshake packets
// travel on the reliable lane, ahead of every session message there; messages on the other
// lanes may overtake the accept, so the client holds them until it has been admitted.
namespace tarvex::handshake {

inline constexpr int NonceBytes = 16;
inline constexpr int ProofBytes = 32;

enum class Kind : quint8 { Challenge = 1, Hello = 2, Accept = 3 };

struct Hello {
    QString application_guid;
    QString nickname;
    QByteArray proof;
};

struct Accept {
    dpn::PlayerId player_id = 0;
    dpn::PlayerId host_player_id = 0;
    QString session_name;
    quint8 player_limit = 0;
};

QByteArray NewNonce();
QByteArray PasswordProof(const QByteArray& nonce, const QString& password);

QByteArray BuildChallenge(const QByteArray& nonce);
std::optional<QByteArray> ParseChallenge(const QByteArray& packet);

QByteArray BuildHello(const Hello& hello);
std::optional<Hello> ParseHello(const QByteArray& packet);

QByteArray BuildAccept(const Accept& accept);
std::optional<Accept> ParseAccept(const QByteArray& packet);

// What the host knows when a Hello arrives.
struct Admission {
    QByteArray nonce;
    QString password; // empty: the session has none
    int player_count; // players in the session now, the host included
    int player_limit; // the most players the session takes, the host included
};

// The host's verdict on a Hello: DPN_OK to admit, else the refusal code. The order is the
// one users rely on: a different version is reported before a wrong password, and a wrong
// password before a full session.
dpn::ResultCode Admit(const Hello& hello, const Admission& admission);

} // namespace tarvex::handshake
