#pragma once

#include "platform/Registry.h"

#include <QString>
#include <QTextStream>
#include <QVariant>
#include <span>

namespace tarvex {

class Tarvex;
struct StoredSettings;

inline constexpr int MaxProfileText = 255;

// Where Tarvex.ini lives inside the program folder.
QString SettingsFilePath(const QString& program_folder);

// The program folder: `--config` when given, else the executable's folder when Tarvex may
// write there (a portable install), else $XDG_CONFIG_HOME/Tarvex.
QString ProgramFolder(const QString& config_option, const QString& executable_folder);

// One key of the settings file. The table of them is the only place keys are listed; loading,
// saving and printing walk it in their own orders.
struct SettingKey {
    const char* section;
    const char* key;
    // Text fields come back as QString*, the rest as the byte or 16-bit integer they are.
    using Field = std::variant<QString*, std::uint8_t*, std::int16_t*>;
    Field (*field)(StoredSettings&);
    // The value an empty or missing key loads as; nullptr leaves the field as it was.
    const char* when_empty;
    int load_rank;        // position in the loading order
    int host_save_rank;   // position in a host's save, 0 = the host never writes it
    int client_save_rank; // the same for a client
    // An empty value is not written, so the key is absent until someone sets it.
    bool only_when_set = false;
};

std::span<const SettingKey> SettingKeys();

// The key's value, at most 255 characters, or empty when missing.
QString ReadINI(Tarvex& tarvex, const QString& section, const QString& key);
// Writes one key at once; a key or value of 256 characters or more is refused with a message.
void WriteINI(Tarvex& tarvex, const QString& section, const QString& key, const QString& value);

// A string value as text, a DWORD as a number, anything else as the empty text.
QVariant GetRegistryValue(Tarvex& tarvex, RegistryRoot root, const QString& key_path,
                          const QString& value_name);

// Asks the user for the game executable; empty when cancelled.
QString FindGameExecutable(Tarvex& tarvex);

enum class LoadMode {
    Interactive, // may ask the user for the game executable
    Quiet,       // never shows a dialog (printing the configuration)
};

// Fills the settings from the file. Returns false when no game executable could be had, in
// which case an interactive start-up ends the program.
bool LoadSettings(Tarvex& tarvex, LoadMode mode = LoadMode::Interactive);
void SaveSettings(Tarvex& tarvex);

// One line per key, "SECTION KEY=value", in the table's order, values as a save writes them.
void PrintSettings(Tarvex& tarvex, QTextStream& out);

} // namespace tarvex
