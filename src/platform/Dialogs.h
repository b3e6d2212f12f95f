#pragma once

#include <QString>

namespace tarvex {

// The modal dialogs of the program: message boxes and the common file dialogs. Logic asks
// through this interface so tests can answer instead of a user.
class Dialogs {
public:
    enum class Icon { None, Information, Warning, Critical };

    struct FileRequest {
        QString title;
        QString filter;         // Qt filter text, e.g. "Text (*.txt)"
        QString default_suffix; // without the dot
        QString folder;         // initial folder
        QString file_name;      // initial file name
    };

    virtual ~Dialogs() = default;
    virtual void MessageBox(const QString& title, const QString& text, Icon icon) = 0;
    // The chosen full path, or empty when the user cancels.
    virtual QString OpenFileName(const FileRequest& request) = 0;
    virtual QString SaveFileName(const FileRequest& request) = 0;
};

} // namespace tarvex
