#include "race/ChoiceList.h"

namespace tarvex {

void ChoiceList::Clear() {
    m_entries.clear();
    m_index = -1;
    emit Changed();
}

void ChoiceList::Add(const QString& text, int data) {
    m_entries.append({text, data});
    emit Changed();
}

void ChoiceList::SetEntries(const QStringList& texts) {
    m_entries.clear();
    m_index = -1;
    for (const QString& text : texts) {
        m_entries.append({text, 0});
    }
    emit Changed();
}

QString ChoiceList::Text(int index) const {
    return index >= 0 && index < Count() ? m_entries[index].text : QString();
}

int ChoiceList::Data(int index) const {
    return index >= 0 && index < Count() ? m_entries[index].data : 0;
}

QStringList ChoiceList::Texts() const {
    QStringList texts;
    for (const Entry& entry : m_entries) {
        texts << entry.text;
    }
    return texts;
}

bool ChoiceList::Select(int index) {
    if (index < 0 || index >= Count()) {
        return false;
    }
    if (m_index != index) {
        m_index = index;
        emit Changed();
    }
    return true;
}

void ChoiceList::Deselect() {
    if (m_index != -1) {
        m_index = -1;
        emit Changed();
    }
}

bool ChoiceList::Pick(int index) {
    if (!Select(index)) {
        return false;
    }
    if (m_on_click) {
        m_on_click();
    }
    return true;
}

void ChoiceList::SetEnabled(bool enabled) {
    if (m_enabled != enabled) {
        m_enabled = enabled;
        emit Changed();
    }
}

} // namespace tarvex
