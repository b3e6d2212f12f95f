#pragma once

#include "platform/Dialogs.h"

#include <QList>
#include <QStringList>
#include <functional>

namespace tarvex {

// Dialogs answered by the test: message boxes are recorded, file dialogs return the next
// queued answer (empty = cancelled) and record the request they were shown with.
class FakeDialogs final : public Dialogs {
public:
    struct Message {
        QString title;
        QString text;
        Icon icon;
    };

    void MessageBox(const QString& title, const QString& text, Icon icon) override {
        messages.append({title, text, icon});
        if (on_message) {
            on_message(messages.last());
        }
    }
    QString OpenFileName(const FileRequest& request) override {
        requests.append(request);
        return answers.isEmpty() ? QString() : answers.takeFirst();
    }
    QString SaveFileName(const FileRequest& request) override { return OpenFileName(request); }

    QList<Message> messages;
    // Called while a message box would be open, to look at the windows behind it.
    std::function<void(const Message&)> on_message;
    QList<FileRequest> requests;
    QStringList answers;
};

} // namespace tarvex
