#pragma once

#include <QString>
#include <QStringList>

namespace tarvex {

// An INI file with the rules of the Windows profile API, which the settings file has always
// been read and written with: section and key names match without regard to case, the first of
// duplicate keys wins, a value is one line, trimmed, with one pair of enclosing quotes removed.
// Writing changes only what it must: an existing key is replaced on its own line, a new key goes
// after the last entry of its section, a new section at the end; every other line, comments and
// foreign keys included, is kept byte for byte.
class ProfileFile {
public:
    // Reads `path`; a missing or unreadable file is an empty profile.
    explicit ProfileFile(QString path);

    const QString& Path() const { return m_path; }

    // The value, or an empty text when the section or key is missing.
    QString Value(const QString& section, const QString& key) const;
    void SetValue(const QString& section, const QString& key, const QString& text);

    // Replaces the file in one step (a temporary file renamed over it), so a crash or a full
    // disk never leaves half a file. On failure `error` says why.
    bool Save(QString* error) const;

private:
    // Index of the line holding the key inside the section starting at `header`, or -1.
    qsizetype FindKey(qsizetype header, const QString& key) const;
    qsizetype SectionEnd(qsizetype header) const;

    QString m_path;
    QStringList m_lines;
    QString m_line_end = QStringLiteral("\n");
    bool m_latin1 = false;
};

} // namespace tarvex
