#pragma once

#include <QString>

namespace tarvex {

// Hands a document, a link or a program to the desktop, detached from Tarvex.
class Shell {
public:
    virtual ~Shell() = default;
    virtual bool Open(const QString& target, const QString& working_folder) = 0;
};

} // namespace tarvex
