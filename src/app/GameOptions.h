#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <optional>
#include <span>

namespace tarvex {

class Tarvex;
struct StoredSettings;

// Whose decision a control of the "Game Options" dialog is.
enum class OptionScope {
    Player,   // the local player's own option
    HostKept, // the host decides it and keeps it to itself
    HostSent, // the host decides it and every client receives it with the game data
};

// One control of the dialog that edits a byte: a check box (0/1), a list (the entry's index),
// a bar or a spin box (its value).
struct OptionControl {
    const char* name;
    OptionScope scope;
    std::uint8_t& (*field)(StoredSettings&);
};

// The rules of the "Game Options" dialog, without its widgets. Every change acts at once on the
// settings; the file is written later with the rest of them. On the host the server options
// edit the race-wide values and go to every client; on a client they only show what the host's
// game data says, and changing them does nothing.
class GameOptions : public QObject {
    Q_OBJECT

public:
    // The data interval bar's range, in milliseconds.
    static constexpr int kFastestInterval = 50;
    static constexpr int kSlowestInterval = 500;

    // Every byte control, server options first, in the dialog's order.
    static std::span<const OptionControl> Controls();
    static const OptionControl* Control(const QString& name);

    static QStringList CompressionNames();
    // "1" to "10": the game's profile slots, entry index = ProfileSlot.
    static QStringList ProfileSlotNames();
    static QString IntervalText(int milliseconds);

    explicit GameOptions(Tarvex& tarvex, QObject* parent = nullptr);

    // Only the host changes the server options; a client's show the host's values.
    bool EditsServerOptions() const;
    // Whether `control` is shown at all: the host keeps the restart vote to itself.
    bool Shows(const OptionControl& control) const;
    bool Enables(const OptionControl& control) const;

    int Value(const OptionControl& control) const;
    // The control's click or change handler.
    void Change(const OptionControl& control, int value);

    int DataInterval() const;
    // The interval bar settled on `milliseconds`: the host's polling timer takes it and the
    // clients are told.
    void intScroll_Change(int milliseconds);

    // The name's opacity and height only mean something while the name is shown.
    bool NameBarsEnabled() const;

    QString GamePath() const;
    // Every edit is kept as typed, existing or not.
    void txtPath_Change(const QString& text);
    // "...": asks for the game executable; the path chosen, or nothing when cancelled.
    std::optional<QString> Command2_Click();

signals:
    // The host's game data has brought new server option values (on a client).
    void ServerOptionsChanged();

private:
    void SendGameData();

    Tarvex& m_tarvex;
};

} // namespace tarvex
