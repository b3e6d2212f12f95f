#pragma once

#include "platform/Shell.h"

#include <QList>

namespace tarvex {

// Records what would have been opened.
class FakeShell final : public Shell {
public:
    struct Call {
        QString target;
        QString working_folder;
    };

    bool Open(const QString& target, const QString& working_folder) override {
        calls.append({target, working_folder});
        return succeed;
    }

    QList<Call> calls;
    bool succeed = true;
};

} // namespace tarvex
