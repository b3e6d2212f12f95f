#pragma once

#include "platform/Registry.h"

#include <QHash>

namespace tarvex {

class FakeRegistry final : public Registry {
public:
    void Set(RegistryRoot root, const QString& key_path, const QString& value_name,
             QVariant value) {
        m_values.insert(Key(root, key_path, value_name), std::move(value));
    }

    QVariant Value(RegistryRoot root, const QString& key_path,
                   const QString& value_name) const override {
        return m_values.value(Key(root, key_path, value_name));
    }

private:
    static QString Key(RegistryRoot root, const QString& key_path, const QString& value_name) {
        return QString::number(int(root)) + u'|' + key_path.toLower() + u'|' + value_name.toLower();
    }

    QHash<QString, QVariant> m_values;
};

} // namespace tarvex
