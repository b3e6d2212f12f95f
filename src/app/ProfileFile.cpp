#include "app/ProfileFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStringDecoder>

namespace tarvex {

namespace {

bool IsHeader(QStringView line) {
    return line.trimmed().startsWith(u'[');
}

QStringView HeaderName(QStringView line) {
    line = line.trimmed().mid(1);
    const qsizetype close = line.indexOf(u']');
    return (close >= 0 ? line.left(close) : line).trimmed();
}

// The name part of an entry line: everything before '=', or the whole line when there is none.
QStringView EntryName(QStringView line) {
    const qsizetype equals = line.indexOf(u'=');
    return (equals >= 0 ? line.left(equals) : line).trimmed();
}

bool SameName(QStringView a, QStringView b) {
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

} // namespace

ProfileFile::ProfileFile(QString path)
    : m_path(std::move(path)) {
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly)) {
        return;
    }
    const QByteArray bytes = file.readAll();
    // Files written by older editors are in the legacy 8-bit code page rather than UTF-8; keep
    // whichever the file is in so untouched lines are written back unchanged.
    auto decoder = QStringDecoder(QStringDecoder::Utf8);
    QString text = decoder(bytes);
    if (decoder.hasError()) {
        text = QString::fromLatin1(bytes);
        m_latin1 = true;
    }
    if (text.contains(QStringLiteral("\r\n"))) {
        m_line_end = QStringLiteral("\r\n");
    }
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    m_lines = text.split(u'\n');
    if (!m_lines.isEmpty() && m_lines.last().isEmpty()) {
        m_lines.removeLast(); // the final line end, not an empty line
    }
}

QString ProfileFile::Value(const QString& section, const QString& key) const {
    for (qsizetype i = 0; i < m_lines.size(); ++i) {
        if (!IsHeader(m_lines[i]) || !SameName(HeaderName(m_lines[i]), section)) {
            continue;
        }
        const qsizetype at = FindKey(i, key);
        if (at < 0) {
            continue; // a later section of the same name may still hold it
        }
        const QString& line = m_lines[at];
        const qsizetype equals = line.indexOf(u'=');
        if (equals < 0) {
            return {};
        }
        QString value = line.mid(equals + 1).trimmed();
        if (value.size() >= 2 && (value.front() == u'"' || value.front() == u'\'') &&
            value.back() == value.front()) {
            value = value.mid(1, value.size() - 2);
        }
        return value;
    }
    return {};
}

void ProfileFile::SetValue(const QString& section, const QString& key, const QString& text) {
    // A value is one line: a line break in a typed or command-line text would otherwise start
    // entries, or whole sections, of its own.
    QString value = text;
    value.replace(u'\r', u' ').replace(u'\n', u' ');
    qsizetype first_header = -1;
    for (qsizetype i = 0; i < m_lines.size(); ++i) {
        if (!IsHeader(m_lines[i]) || !SameName(HeaderName(m_lines[i]), section)) {
            continue;
        }
        if (first_header < 0) {
            first_header = i;
        }
        const qsizetype at = FindKey(i, key);
        if (at >= 0) {
            m_lines[at] = EntryName(m_lines[at]).toString() + u'=' + value;
            return;
        }
    }
    const QString entry = key + u'=' + value;
    if (first_header >= 0) {
        // After the section's last entry, so blank lines that separate it from the next section
        // stay where they are.
        qsizetype insert = SectionEnd(first_header);
        while (insert > first_header + 1 && m_lines[insert - 1].trimmed().isEmpty()) {
            --insert;
        }
        m_lines.insert(insert, entry);
        return;
    }
    if (!m_lines.isEmpty() && !m_lines.last().trimmed().isEmpty()) {
        m_lines.append(QString());
    }
    m_lines.append(u'[' + section + u']');
    m_lines.append(entry);
}

bool ProfileFile::Save(QString* error) const {
    const QFileInfo info(m_path);
    if (!QDir().mkpath(info.absolutePath())) {
        if (error) {
            *error = QStringLiteral("the folder %1 cannot be created")
                         .arg(QDir::toNativeSeparators(info.absolutePath()));
        }
        return false;
    }
    QString text;
    for (const QString& line : m_lines) {
        text += line + m_line_end;
    }
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly)) {
        if (error) {
            *error = file.errorString();
        }
        return false;
    }
    file.write(m_latin1 ? text.toLatin1() : text.toUtf8());
    if (!file.commit()) {
        if (error) {
            *error = file.errorString();
        }
        return false;
    }
    return true;
}

qsizetype ProfileFile::FindKey(qsizetype header, const QString& key) const {
    const qsizetype end = SectionEnd(header);
    for (qsizetype i = header + 1; i < end; ++i) {
        const QStringView line = m_lines[i];
        if (!line.trimmed().isEmpty() && SameName(EntryName(line), key)) {
            return i;
        }
    }
    return -1;
}

qsizetype ProfileFile::SectionEnd(qsizetype header) const {
    qsizetype i = header + 1;
    while (i < m_lines.size() && !IsHeader(m_lines[i])) {
        ++i;
    }
    return i;
}

} // namespace tarvex
