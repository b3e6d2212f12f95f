#pragma once

#include <QString>
#include <QVariant>

namespace tarvex {

enum class RegistryRoot { ClassesRoot, CurrentUser, LocalMachine, Users };

// Read-only access to the registry the game's installer wrote to. A string value comes back as
// a QString (cut at its first NUL), a DWORD as a quint32; anything else, or nothing, is an
// invalid QVariant.
class Registry {
public:
    virtual ~Registry() = default;
    virtual QVariant Value(RegistryRoot root, const QString& key_path,
                           const QString& value_name) const = 0;
    // A file path as the registry stores it, turned into a path on this system.
    virtual QString NativePath(const QString& registry_path) const { return registry_path; }
};

} // namespace tarvex
