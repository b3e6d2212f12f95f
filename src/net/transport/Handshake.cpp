#include "net/transport/Handshake.h"

#include "net/transport/BufferString.h"

#include <QCryptographicHash>
#include <QMessageAuthenticationCode>
#include <QRandomGenerator>

namespace tarvex::handshake {

namespace {

void AppendU32(QByteArray& buffer, quint32 value) {
    for (int shift = 0; shift < 32; shift += 8) {
        buffer.append(static_cast<char>((value >> shift) & 0xFF));
    }
}

std::optional<quint32> ReadU32(const QByteArray& buffer, qsizetype& pos) {
    if (buffer.size() - pos < 4) {
        return std::nullopt;
    }
    quint32 value = 0;
    for (int i = 0; i < 4; ++i) {
        value |= quint32(static_cast<unsigned char>(buffer[pos + i])) << (8 * i);
    }
    pos += 4;
    return value;
}

bool StartsWith(const QByteArray& packet, Kind kind) {
    return !packet.isEmpty() && static_cast<quint8>(packet[0]) == static_cast<quint8>(kind);
}

} // namespace

QByteArray NewNonce() {
    QByteArray nonce(NonceBytes, '\0');
    QRandomGenerator::system()->generate(nonce.begin(), nonce.end());
    return nonce;
}

QByteArray PasswordProof(const QByteArray& nonce, const QString& password) {
    return QMessageAuthenticationCode::hash(nonce, password.toUtf8(), QCryptographicHash::Sha256);
}

QByteArray BuildChallenge(const QByteArray& nonce) {
    QByteArray packet(1, static_cast<char>(Kind::Challenge));
    packet.append(nonce);
    return packet;
}

std::optional<QByteArray> ParseChallenge(const QByteArray& packet) {
    if (!StartsWith(packet, Kind::Challenge) || packet.size() != 1 + NonceBytes) {
        return std::nullopt;
    }
    return packet.mid(1);
}

QByteArray BuildHello(const Hello& hello) {
    QByteArray packet(1, static_cast<char>(Kind::Hello));
    AppendBufferString(packet, hello.application_guid);
    AppendBufferString(packet, hello.nickname);
    packet.append(hello.proof);
    return packet;
}

std::optional<Hello> ParseHello(const QByteArray& packet) {
    if (!StartsWith(packet, Kind::Hello)) {
        return std::nullopt;
    }
    qsizetype pos = 1;
    Hello hello;
    auto guid = ReadBufferString(packet, pos);
    if (!guid) {
        return std::nullopt;
    }
    auto nickname = ReadBufferString(packet, pos);
    if (!nickname || packet.size() - pos != ProofBytes) {
        return std::nullopt;
    }
    hello.application_guid = *guid;
    hello.nickname = *nickname;
    hello.proof = packet.mid(pos);
    return hello;
}

QByteArray BuildAccept(const Accept& accept) {
    QByteArray packet(1, static_cast<char>(Kind::Accept));
    AppendU32(packet, accept.player_id);
    AppendU32(packet, accept.host_player_id);
    AppendBufferString(packet, accept.session_name);
    packet.append(static_cast<char>(accept.player_limit));
    return packet;
}

std::optional<Accept> ParseAccept(const QByteArray& packet) {
    if (!StartsWith(packet, Kind::Accept)) {
        return std::nullopt;
    }
    qsizetype pos = 1;
    Accept accept;
    auto id = ReadU32(packet, pos);
    auto host_id = id ? ReadU32(packet, pos) : std::nullopt;
    auto name = host_id ? ReadBufferString(packet, pos) : std::nullopt;
    if (!name || packet.size() - pos != 1 || *id == 0) {
        return std::nullopt;
    }
    accept.player_id = *id;
    accept.host_player_id = *host_id;
    accept.session_name = *name;
    accept.player_limit = static_cast<quint8>(packet[pos]);
    return accept;
}

dpn::ResultCode Admit(const Hello& hello, const Admission& admission) {
    if (hello.application_guid != QLatin1String(dpn::ApplicationGuid)) {
        return dpn::DPNERR_INVALIDAPPLICATION;
    }
    if (!admission.password.isEmpty()) {
        const QByteArray expected = PasswordProof(admission.nonce, admission.password);
        // Compare every byte so the time taken says nothing about where a guess went wrong.
        unsigned char difference = hello.proof.size() == expected.size() ? 0 : 1;
        for (qsizetype i = 0; i < expected.size() && i < hello.proof.size(); ++i) {
            difference |= static_cast<unsigned char>(hello.proof[i] ^ expected[i]);
        }
        if (difference != 0) {
            return dpn::DPNERR_INVALIDPASSWORD;
        }
    }
    if (admission.player_count >= admission.player_limit) {
        return dpn::DPNERR_SESSIONFULL;
    }
    return dpn::DPN_OK;
}

} // namespace tarvex::handshake
