#include "app/SettingsFile.h"

#include "app/ProfileFile.h"
#include "app/Tarvex.h"
#include "platform/Dialogs.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace tarvex {

namespace {

const QString kProgramTitle = QStringLiteral("Tarvex");
const QString kCurrentServerName = QStringLiteral("Tarvex 3.0 Server");
const QString kGameExecutable = QStringLiteral("DuneholtRally");
const QString kInstallKey = QStringLiteral("SOFTWARE\\Corvid Games\\Duneholt Rally\\InstallPath");

using Field = SettingKey::Field;

template <QString Settings::*Member>
Field Text(StoredSettings& s) {
    return &(s.settings.*Member);
}
template <std::uint8_t Settings::*Member>
Field Byte(StoredSettings& s) {
    return &(s.settings.*Member);
}
Field Interval(StoredSettings& s) {
    return &s.settings.DataInterval;
}
template <int Index>
Field Quick(StoredSettings& s) {
    return &s.settings.QuickMessages[Index];
}
template <std::uint8_t RaceSettings::*Member>
Field Race(StoredSettings& s) {
    return &(s.race.*Member);
}
template <std::uint8_t CarSelection::*Member>
Field HostCar(StoredSettings& s) {
    return &(s.host_car.*Member);
}
template <std::uint8_t CarSelection::*Member>
Field ClientCar(StoredSettings& s) {
    return &(s.client_car.*Member);
}

using S = Settings;
using R = RaceSettings;
using C = CarSelection;

// Rows in the order the configuration is presented; the ranks give the loading order and each
// role's saving order (which is also the key order of a newly created file).
// clang-format off
constexpr SettingKey kKeys[] = {
    {"MAIN", "PNUM",          Text<&S::MaxPlayers>,        "12",                61,  1,  1},
    {"MAIN", "GNAME",         Text<&S::ServerName>,        "Tarvex 3.0 Server", 62,  2,  2},
    {"MAIN", "NAME",          Text<&S::PlayerName>,        "User",              63,  3,  3},
    {"MAIN", "HOST",          Text<&S::HostAddress>,       "localhost",         64,  4,  4},
    {"MAIN", "PORT",          Text<&S::HostPort>,          "2005",              65,  5,  5},
    {"MAIN", "BROADCASTIP",   Text<&S::BroadcastAddress>,  "255.255.255.255",   67,  6,  6},
    {"MAIN", "BROADCASTPORT", Text<&S::BroadcastPort>,     "1002",              66,  7,  7},
    {"MAIN", "CGNAME",        Text<&S::ClientServerName>,  "Tarvex 3.0 Server", 68,  8,  8},
    {"MAIN", "CNAME",         Text<&S::ClientName>,        "User",              69,  9,  9},
    {"MAIN", "CHOST",         Text<&S::ClientHost>,        "localhost",         70, 10, 10},
    {"MAIN", "CPORT",         Text<&S::ClientPort>,        "2005",              71, 11, 11},
    {"MAIN", "GPATH",         Text<&S::GamePath>,          nullptr,             72, 13, 13},
    {"MAIN", "PUBLIC",        Byte<&S::PublicListing>,     "1",                 74, 14, 14},
    {"MAIN", "JQ",            Byte<&S::ShowJoinQuit>,      "1",                 75, 15, 15},
    {"MAIN", "SBOX",          Byte<&S::ShowAheadBehind>,   "1",                 76, 16, 16},
    {"MAIN", "SPLIT",         Byte<&S::ShowSplits>,        "1",                 77, 17, 17},
    {"MAIN", "CTIME",         Byte<&S::ChatSeconds>,       "10",                83, 18, 18},
    {"MAIN", "DGHOST",        Byte<&S::ShowGhost>,         "1",                 84, 19, 19},
    {"MAIN", "NAMEH",         Byte<&S::NameHeight>,        "1",                 86, 20, 20},
    {"MAIN", "NAMEO",         Byte<&S::NameOpacity>,       "8",                 87, 21, 21},
    {"MAIN", "GHOSTS",        Byte<&S::GhostsDisabled>,    "0",                 78, 39, 0},
    {"MAIN", "CHEAT",         Byte<&S::CheatProtection>,   "0",                 79, 40, 0},
    {"MAIN", "INTERVAL",      Interval,                    "150",               80, 41, 0},
    {"MAIN", "COMPRESS",      Byte<&S::Compression>,       "0",                 81, 42, 0},
    {"MAIN", "CLOCK",         Byte<&S::ClockWhenPaused>,   "1",                 82, 43, 0},
    {"MAIN", "VOTE",          Byte<&S::VoteAllowed>,       "1",                 85, 44, 0},
    {"MAIN", "SAUTO",         Byte<&S::RateAuto>,          "1",                 88, 45, 0},
    {"MAIN", "SRATE",         Byte<&S::Rate>,              "25",                89, 46, 0},
    // The listing server is the host's business and has no default endpoint.
    {"MAIN", "LISTSERVER",    Text<&S::ListServer>,        nullptr,             73, 22, 0, true},
    {"GAME", "GMODEL",        Byte<&S::GhostModel>,        nullptr,             30, 12, 12},
    {"GAME", "ITAG",          Byte<&S::ShowNameTag>,       "1",                 45, 34, 23},
    {"GAME", "IPRO",          Byte<&S::BypassProfile>,     nullptr,             44, 33, 24},
    {"GAME", "PROID",         Byte<&S::ProfileSlot>,       nullptr,             46, 35, 25},
    {"QUICKMSG", "1MSG",      Quick<1>,                    "Good Race!",        50, 50, 50},
    {"QUICKMSG", "2MSG",      Quick<2>,                    "Bad Race!",         51, 51, 51},
    {"QUICKMSG", "3MSG",      Quick<3>,                    "Nice Pass!",        52, 52, 52},
    {"QUICKMSG", "4MSG",      Quick<4>,                    ":-)",               53, 53, 53},
    {"QUICKMSG", "5MSG",      Quick<5>,                    ":-(",               54, 54, 54},
    {"QUICKMSG", "6MSG",      Quick<6>,                    "Good Fun!",         55, 55, 55},
    {"QUICKMSG", "7MSG",      Quick<7>,                    "Weeeee!",           56, 56, 56},
    {"QUICKMSG", "8MSG",      Quick<8>,                    "Eat my dust!",      57, 57, 57},
    {"QUICKMSG", "9MSG",      Quick<9>,                    "My car is damaged!",58, 58, 58},
    {"GAME", "COUNTRY",       Race<&R::Country>,           nullptr,             31, 23, 0},
    {"GAME", "STAGE",         Race<&R::StageIndex>,        nullptr,             32, 24, 0},
    {"GAME", "STAGEID",       Race<&R::StageId>,           nullptr,             47, 36, 0},
    {"GAME", "WEATHER",       Race<&R::WeatherMode>,       nullptr,             33, 25, 0},
    {"GAME", "2WEATHER",      Race<&R::WeatherPreset>,     nullptr,             34, 26, 0},
    {"GAME", "HUMID",         Race<&R::Humidity>,          nullptr,             35, 27, 0},
    {"GAME", "WEAR",          Race<&R::TyreWear>,          nullptr,             36, 28, 0},
    {"GAME", "DAMAGE",        Race<&R::Damage>,            nullptr,             43, 32, 0},
    {"GAME", "PENALTY",       Race<&R::PenaltiesDisabled>, nullptr,             48, 37, 0},
    {"GAME", "SETUP",         Race<&R::SetupsAllowed>,     nullptr,             49, 38, 0},
    {"GAME", "CAR",           HostCar<&C::Car>,            nullptr,             37, 29, 0},
    {"GAME", "TRANS",         HostCar<&C::Transmission>,   nullptr,             39, 30, 0},
    {"GAME", "TYRE",          HostCar<&C::Tyre>,           nullptr,             40, 31, 0},
    {"GAME", "CCAR",          ClientCar<&C::Car>,          nullptr,             38, 0,  26},
    {"GAME", "CTRANS",        ClientCar<&C::Transmission>, nullptr,             42, 0,  27},
    {"GAME", "CTYRE",         ClientCar<&C::Tyre>,         nullptr,             41, 0,  28},
};
// clang-format on

// The table's rows sorted by one of its ranks, rows with rank 0 left out.
std::vector<const SettingKey*> Ordered(int SettingKey::*rank) {
    std::vector<const SettingKey*> rows;
    for (const SettingKey& row : kKeys) {
        if (row.*rank != 0) {
            rows.push_back(&row);
        }
    }
    std::sort(rows.begin(), rows.end(),
              [rank](const SettingKey* a, const SettingKey* b) { return a->*rank < b->*rank; });
    return rows;
}

// Numbers are read as the settings have always been read: decimal, with an optional fraction
// rounded to the nearest whole number (a tie to the even one), and refused when out of range.
template <typename T>
std::optional<T> ToInteger(const QString& text) {
    bool ok = false;
    const double value = text.toDouble(&ok);
    if (!ok || !std::isfinite(value)) {
        return std::nullopt;
    }
    const double rounded = std::nearbyint(value);
    if (rounded < double(std::numeric_limits<T>::min()) ||
        rounded > double(std::numeric_limits<T>::max())) {
        return std::nullopt;
    }
    return T(rounded);
}

void Assign(const SettingKey& row, StoredSettings& stored, const QString& text) {
    std::visit(
        [&text](auto* field) {
            using T = std::remove_pointer_t<decltype(field)>;
            if constexpr (std::is_same_v<T, QString>) {
                *field = text;
            } else if (const auto value = ToInteger<T>(text)) {
                *field = *value;
            }
        },
        row.field(stored));
}

QString Format(const SettingKey& row, StoredSettings& stored) {
    return std::visit(
        [](auto* field) {
            using T = std::remove_pointer_t<decltype(field)>;
            if constexpr (std::is_same_v<T, QString>) {
                return *field;
            } else {
                return QString::number(*field);
            }
        },
        row.field(stored));
}

bool IsLegacyServerName(const QString& name) {
    return name.isEmpty() || name == QLatin1String("Tarvex 2.0 Server") ||
           name == QLatin1String("Tarvex 2.1 Server") || name == QLatin1String("Tarvex 2.2 Server");
}

// Values that are present but stand for something else.
void FixUp(StoredSettings& stored) {
    Settings& s = stored.settings;
    if (stored.race.StageId == 0) {
        stored.race.StageId = 10;
    }
    if (IsLegacyServerName(s.ServerName)) {
        s.ServerName = kCurrentServerName;
    }
    if (IsLegacyServerName(s.ClientServerName)) {
        s.ClientServerName = kCurrentServerName;
    }
    if (s.GhostModel == 0) {
        s.GhostModel = 6;
    }
}

bool TooLong(const QString& key, const QString& value) {
    return key.size() > MaxProfileText || value.size() > MaxProfileText;
}

void RefuseTooLong(Tarvex& tarvex) {
    tarvex.platform().dialogs->MessageBox(kProgramTitle,
                                          QStringLiteral("Can't write more than ") +
                                              QString::number(MaxProfileText) +
                                              QStringLiteral(" characters for key or value."),
                                          Dialogs::Icon::None);
}

void ReportSaveFailure(Tarvex& tarvex, const QString& path, const QString& error) {
    tarvex.platform().dialogs->MessageBox(
        kProgramTitle,
        QStringLiteral("Tarvex could not save its settings to %1 (%2). Your changes are kept "
                       "until Tarvex closes.")
            .arg(QDir::toNativeSeparators(path), error),
        Dialogs::Icon::Warning);
}

} // namespace

QString SettingsFilePath(const QString& program_folder) {
    const QString name = QStringLiteral("Tarvex.ini");
    return program_folder.endsWith(u'/') ? program_folder + name : program_folder + u'/' + name;
}

QString ProgramFolder(const QString& config_option, const QString& executable_folder) {
    if (!config_option.isEmpty()) {
        return QDir(config_option).absolutePath();
    }
    const QFileInfo folder(executable_folder);
    if (!executable_folder.isEmpty() && folder.isDir() && folder.isWritable()) {
        return folder.absoluteFilePath();
    }
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/Tarvex");
}

std::span<const SettingKey> SettingKeys() {
    return kKeys;
}

QString ReadINI(Tarvex& tarvex, const QString& section, const QString& key) {
    const ProfileFile file(SettingsFilePath(tarvex.ConfigFolder()));
    return file.Value(section, key).left(MaxProfileText);
}

void WriteINI(Tarvex& tarvex, const QString& section, const QString& key, const QString& value) {
    if (TooLong(key, value)) {
        RefuseTooLong(tarvex);
        return;
    }
    ProfileFile file(SettingsFilePath(tarvex.ConfigFolder()));
    file.SetValue(section, key, value);
    QString error;
    if (!file.Save(&error)) {
        ReportSaveFailure(tarvex, file.Path(), error);
    }
}

QVariant GetRegistryValue(Tarvex& tarvex, RegistryRoot root, const QString& key_path,
                          const QString& value_name) {
    const QVariant value = tarvex.platform().registry->Value(root, key_path, value_name);
    return value.isValid() ? value : QVariant(QString());
}

QString FindGameExecutable(Tarvex& tarvex) {
    const QString current = tarvex.settings.GamePath;
    Dialogs::FileRequest request;
    request.title = QStringLiteral("Find Game Executable");
    // The game here is a native program without the ".exe" its installer names it with
    // elsewhere, so the filter offers both.
    request.filter = QStringLiteral("Executable (%1 *.exe)").arg(kGameExecutable);
    request.default_suffix = QString();
    request.folder = current.isEmpty() ? tarvex.ConfigFolder() : QFileInfo(current).path();
    request.file_name = kGameExecutable;
    return tarvex.platform().dialogs->OpenFileName(request).trimmed();
}

bool LoadSettings(Tarvex& tarvex, LoadMode mode) {
    const ProfileFile file(SettingsFilePath(tarvex.ConfigFolder()));
    StoredSettings& stored = tarvex.stored;
    for (const SettingKey* row : Ordered(&SettingKey::load_rank)) {
        const QString value =
            file.Value(QLatin1String(row->section), QLatin1String(row->key)).left(MaxProfileText);
        if (!value.isEmpty()) {
            Assign(*row, stored, value);
        } else if (row->when_empty) {
            Assign(*row, stored, QString::fromUtf8(row->when_empty));
        }
    }
    FixUp(stored);

    Settings& s = tarvex.settings;
    if (s.GamePath.isEmpty()) {
        const QString folder =
            GetRegistryValue(tarvex, RegistryRoot::LocalMachine, kInstallKey, QString()).toString();
        // Without an install path the dialog below starts in the program folder rather than
        // at the file system's root.
        if (!folder.isEmpty()) {
            s.GamePath = tarvex.platform().registry->NativePath(folder) + u'/' + kGameExecutable;
        }
    }
    if (s.GamePath.isEmpty() || !QFileInfo(s.GamePath).isFile()) {
        if (mode == LoadMode::Quiet) {
            s.GamePath.clear();
            return false;
        }
        // The dialog opens where the lost file was, which is usually where the game moved from.
        s.GamePath = FindGameExecutable(tarvex);
    }
    return !s.GamePath.isEmpty();
}

void SaveSettings(Tarvex& tarvex) {
    ProfileFile file(SettingsFilePath(tarvex.ConfigFolder()));
    for (const SettingKey* row :
         Ordered(tarvex.IsHost ? &SettingKey::host_save_rank : &SettingKey::client_save_rank)) {
        const QString key = QLatin1String(row->key);
        const QString value = Format(*row, tarvex.stored);
        if (row->only_when_set && value.isEmpty()) {
            continue;
        }
        if (TooLong(key, value)) {
            RefuseTooLong(tarvex);
            continue;
        }
        file.SetValue(QLatin1String(row->section), key, value);
    }
    QString error;
    if (!file.Save(&error)) {
        ReportSaveFailure(tarvex, file.Path(), error);
    }

    Settings& s = tarvex.settings;
    if (s.PlayerName.isEmpty()) {
        s.PlayerName = QStringLiteral("User");
    }
    if (s.HostAddress.isEmpty()) {
        s.HostAddress = QStringLiteral("localhost");
    }
    if (s.GhostModel == 0) {
        s.GhostModel = 6;
    }
}

void PrintSettings(Tarvex& tarvex, QTextStream& out) {
    for (const SettingKey& row : kKeys) {
        out << row.section << ' ' << row.key << '=' << Format(row, tarvex.stored) << '\n';
    }
}

} // namespace tarvex
