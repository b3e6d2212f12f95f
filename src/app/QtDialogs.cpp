#include "app/QtDialogs.h"

#include <QDir>
#include <QFileDialog>
#include <QMessageBox>

namespace tarvex {

namespace {

QString Run(const Dialogs::FileRequest& request, QFileDialog::AcceptMode mode) {
    QFileDialog dialog(nullptr, request.title, request.folder, request.filter);
    dialog.setAcceptMode(mode);
    dialog.setFileMode(mode == QFileDialog::AcceptOpen ? QFileDialog::ExistingFile
                                                       : QFileDialog::AnyFile);
    if (!request.default_suffix.isEmpty()) {
        dialog.setDefaultSuffix(request.default_suffix);
    }
    if (!request.file_name.isEmpty()) {
        dialog.selectFile(request.file_name);
    }
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) {
        return {};
    }
    return QDir::toNativeSeparators(dialog.selectedFiles().first());
}

} // namespace

void QtDialogs::MessageBox(const QString& title, const QString& text, Icon icon) {
    QMessageBox box(QMessageBox::NoIcon, title, text, QMessageBox::Ok);
    switch (icon) {
    case Icon::None:
        break;
    case Icon::Information:
        box.setIcon(QMessageBox::Information);
        break;
    case Icon::Warning:
        box.setIcon(QMessageBox::Warning);
        break;
    case Icon::Critical:
        box.setIcon(QMessageBox::Critical);
        break;
    }
    box.exec();
}

QString QtDialogs::OpenFileName(const FileRequest& request) {
    return Run(request, QFileDialog::AcceptOpen);
}

QString QtDialogs::SaveFileName(const FileRequest& request) {
    return Run(request, QFileDialog::AcceptSave);
}

} // namespace tarvex
