#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>

namespace tarvex {

// What a list box or a group of option buttons holds, without the widget: its entries (each
// with an item number), the selected entry and whether the user may change it. The logic works
// on these; a form binds a widget to each and mirrors it.
//
// Selecting an entry the way the program does it (Pick) runs the list's click handler, just as
// the user's click does, so a program selection and a user selection take the same path.
class ChoiceList : public QObject {
    Q_OBJECT

public:
    explicit ChoiceList(QObject* parent = nullptr)
        : QObject(parent) {}

    void Clear();
    void Add(const QString& text, int data = 0);
    void SetEntries(const QStringList& texts);

    int Count() const { return int(m_entries.size()); }
    QString Text(int index) const;
    int Data(int index) const;
    QStringList Texts() const;

    // -1 when no entry is selected.
    int Index() const { return m_index; }
    QString CurrentText() const { return Text(m_index); }

    // Shows entry `index` without running the click handler. An index without an entry
    // changes nothing and gives false.
    bool Select(int index);
    // Shows no entry.
    void Deselect();
    // Selects entry `index` and runs the click handler; nothing happens without such an entry.
    bool Pick(int index);

    void SetClickHandler(std::function<void()> handler) { m_on_click = std::move(handler); }

    bool Enabled() const { return m_enabled; }
    void SetEnabled(bool enabled);

signals:
    void Changed();

private:
    struct Entry {
        QString text;
        int data = 0;
    };
    QList<Entry> m_entries;
    int m_index = -1;
    bool m_enabled = true;
    std::function<void()> m_on_click;
};

} // namespace tarvex
