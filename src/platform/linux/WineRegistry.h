#pragma once

#include "platform/Registry.h"

namespace tarvex {

// The registry of a Wine prefix, read from its text hive files: system.reg for
// HKEY_LOCAL_MACHINE, user.reg for HKEY_CURRENT_USER. The prefix is $WINEPREFIX, else ~/.wine.
// A game installed through Wine leaves its install path there.
class WineRegistry final : public Registry {
public:
    // An empty prefix means "from the environment, at each lookup".
    explicit WineRegistry(QString prefix = {});

    QVariant Value(RegistryRoot root, const QString& key_path,
                   const QString& value_name) const override;
    // C:\Games\Duneholt Rally is the prefix's dosdevices/c:/Games/Duneholt Rally.
    QString NativePath(const QString& registry_path) const override;

    // Looks a value up in the text of one hive file. Exposed for tests.
    static QVariant ValueFromHive(const QByteArray& hive, const QString& key_path,
                                  const QString& value_name);

    static QString DefaultPrefix();

private:
    QString m_prefix;
};

} // namespace tarvex
