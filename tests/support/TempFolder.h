#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

namespace tarvex::test {

// A private folder removed after the test, with helpers to write and read whole files.
class TempFolder {
public:
    QString Path() const { return m_dir.path(); }
    QString File(const QString& name) const { return m_dir.filePath(name); }

    void Write(const QString& name, const QByteArray& bytes) const {
        QFile file(File(name));
        if (file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
            file.write(bytes);
        }
    }
    QByteArray Read(const QString& name) const {
        QFile file(File(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private:
    QTemporaryDir m_dir;
};

} // namespace tarvex::test
