#include "platform/linux/WineRegistry.h"

#include <QDir>
#include <QFile>

namespace tarvex {

namespace {

// Undoes the escapes Wine writes inside quoted key names and string values.
QString Unescape(QStringView text) {
    QString out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c != u'\\' || i + 1 >= text.size()) {
            out += c;
            continue;
        }
        const QChar e = text[++i];
        switch (e.unicode()) {
        case 'n':
            out += u'\n';
            break;
        case 'r':
            out += u'\r';
            break;
        case 't':
            out += u'\t';
            break;
        case 'a':
            out += u'\a';
            break;
        case 'b':
            out += u'\b';
            break;
        case 'e':
            out += QChar(0x1B);
            break;
        case 'f':
            out += u'\f';
            break;
        case 'v':
            out += u'\v';
            break;
        case 'x': {
            qsizetype j = i + 1;
            uint value = 0;
            while (j < text.size() && j < i + 5 && isxdigit(text[j].toLatin1())) {
                value = value * 16 + QString(text[j]).toUInt(nullptr, 16);
                ++j;
            }
            out += QChar(char16_t(value));
            i = j - 1;
            break;
        }
        case '0':
        case '1':
        case '2':
        case '3':
        case '4':
        case '5':
        case '6':
        case '7': {
            qsizetype j = i;
            uint value = 0;
            while (j < text.size() && j < i + 3 && text[j] >= u'0' && text[j] <= u'7') {
                value = value * 8 + (text[j].unicode() - '0');
                ++j;
            }
            out += QChar(char16_t(value));
            i = j - 1;
            break;
        }
        default:
            out += e;
            break;
        }
    }
    return out;
}

// Position just past the closing quote of the quoted text starting at `open`, or -1.
qsizetype EndOfQuoted(QStringView line, qsizetype open) {
    for (qsizetype i = open + 1; i < line.size(); ++i) {
        if (line[i] == u'\\') {
            ++i;
        } else if (line[i] == u'"') {
            return i + 1;
        }
    }
    return -1;
}

// A key header is "[path\\with\\doubled\\backslashes] timestamp".
bool HeaderNames(QStringView line, const QString& key_path) {
    const qsizetype close = line.lastIndexOf(u']');
    if (close <= 0) {
        return false;
    }
    const QString name = Unescape(line.mid(1, close - 1));
    return name.compare(key_path, Qt::CaseInsensitive) == 0;
}

QVariant ParseData(QStringView data) {
    if (data.startsWith(u'"')) {
        const qsizetype end = EndOfQuoted(data, 0);
        if (end < 0) {
            return {};
        }
        QString value = Unescape(data.mid(1, end - 2));
        const qsizetype nul = value.indexOf(QChar(0));
        return nul >= 0 ? value.left(nul) : value;
    }
    if (data.startsWith(u"dword:")) {
        bool ok = false;
        const uint value = data.mid(6).trimmed().toUInt(&ok, 16);
        return ok ? QVariant(quint32(value)) : QVariant();
    }
    return {}; // str(2), str(7), hex(...) and the rest are types Tarvex does not read
}

} // namespace

WineRegistry::WineRegistry(QString prefix)
    : m_prefix(std::move(prefix)) {}

QString WineRegistry::DefaultPrefix() {
    const QByteArray env = qgetenv("WINEPREFIX");
    if (!env.isEmpty()) {
        return QString::fromLocal8Bit(env);
    }
    return QDir::homePath() + QStringLiteral("/.wine");
}

QVariant WineRegistry::Value(RegistryRoot root, const QString& key_path,
                             const QString& value_name) const {
    const char* hive_name = nullptr;
    switch (root) {
    case RegistryRoot::LocalMachine:
        hive_name = "system.reg";
        break;
    case RegistryRoot::CurrentUser:
        hive_name = "user.reg";
        break;
    default:
        return {};
    }
    const QString prefix = m_prefix.isEmpty() ? DefaultPrefix() : m_prefix;
    QFile file(prefix + u'/' + QLatin1StringView(hive_name));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return ValueFromHive(file.readAll(), key_path, value_name);
}

QVariant WineRegistry::ValueFromHive(const QByteArray& hive, const QString& key_path,
                                     const QString& value_name) {
    const QString text = QString::fromUtf8(hive);
    bool in_key = false;
    const auto lines = QStringView(text).split(u'\n');
    for (QStringView line : lines) {
        line = line.trimmed();
        if (line.startsWith(u'[')) {
            if (in_key) {
                break; // a key is written once; its values end at the next header
            }
            in_key = HeaderNames(line, key_path);
            continue;
        }
        if (!in_key || line.isEmpty() || line.startsWith(u'#') || line.startsWith(u';')) {
            continue;
        }
        QString name;
        qsizetype equals = -1;
        if (line.startsWith(u'@')) {
            equals = 1;
        } else if (line.startsWith(u'"')) {
            const qsizetype end = EndOfQuoted(line, 0);
            if (end < 0) {
                continue;
            }
            name = Unescape(line.mid(1, end - 2));
            equals = end;
        } else {
            continue;
        }
        if (equals >= line.size() || line[equals] != u'=') {
            continue;
        }
        if (name.compare(value_name, Qt::CaseInsensitive) == 0) {
            return ParseData(line.mid(equals + 1));
        }
    }
    return {};
}

} // namespace tarvex
