#pragma once

#include "platform/Dialogs.h"

namespace tarvex {

// The dialogs a user actually sees: QMessageBox and QFileDialog.
class QtDialogs final : public Dialogs {
public:
    void MessageBox(const QString& title, const QString& text, Icon icon) override;
    QString OpenFileName(const FileRequest& request) override;
    QString SaveFileName(const FileRequest& request) override;
};

} // namespace tarvex
