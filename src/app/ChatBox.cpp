#include "app/ChatBox.h"

#include "app/Tarvex.h"
#include "chat/ChatInput.h"
#include "chat/Handover.h"
#include "net/TextRules.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QScopedValueRollback>
#include <QTextBlock>
#include <QTextEdit>
#include <QTimer>

namespace tarvex {

namespace {

// Up, Down and Enter in the box.
class BoxKeys final : public QObject {
public:
    BoxKeys(QLineEdit* box, ChatInput& input)
        : QObject(box)
        , m_input(input) {}

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() != QEvent::KeyPress) {
            return QObject::eventFilter(watched, event);
        }
        switch (static_cast<QKeyEvent*>(event)->key()) {
        case Qt::Key_Up:
            m_input.Up();
            return true;
        case Qt::Key_Down:
            m_input.Down();
            return true;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            m_input.SendD();
            return true;
        default:
            return false;
        }
    }

private:
    ChatInput& m_input;
};

// A double-click in the console picks the word under the pointer and opens it when it is a
// link.
class ConsoleLinks final : public QObject {
public:
    ConsoleLinks(QTextEdit* console, Tarvex& tarvex)
        : QObject(console)
        , m_console(console)
        , m_tarvex(tarvex) {}

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() != QEvent::MouseButtonDblClick) {
            return QObject::eventFilter(watched, event);
        }
        const auto* click = static_cast<QMouseEvent*>(event);
        QTextCursor cursor = m_console->cursorForPosition(click->position().toPoint());
        const QTextBlock line = cursor.block();
        const auto [start, length] = WordAt(line.text(), cursor.positionInBlock());
        cursor.setPosition(line.position() + int(start));
        cursor.setPosition(line.position() + int(start + length), QTextCursor::KeepAnchor);
        m_console->setTextCursor(cursor);
        if (const auto target = LinkTarget(cursor.selectedText())) {
            ShellOpen(*m_tarvex.platform().shell, *target, m_tarvex.settings.GamePath);
        }
        return true;
    }

private:
    QTextEdit* m_console;
    Tarvex& m_tarvex;
};

// A key that no control of the window took is meant for the chat: the box gets the focus and
// the key, so not even the first letter is lost.
class TypeIntoBox final : public QObject {
public:
    TypeIntoBox(QWidget& window, QLineEdit* box)
        : QObject(box)
        , m_window(window)
        , m_box(box) {}

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (watched != &m_window || event->type() != QEvent::KeyPress || m_forwarding) {
            return QObject::eventFilter(watched, event);
        }
        m_box->setFocus(Qt::OtherFocusReason);
        const auto* key = static_cast<QKeyEvent*>(event);
        if (!key->text().isEmpty() && key->text().front().isPrint()) {
            // A key the box ignores comes back here on its way up: it is not sent again.
            const QScopedValueRollback forwarding(m_forwarding, true);
            QKeyEvent copy(QEvent::KeyPress, key->key(), key->modifiers(), key->text());
            QCoreApplication::sendEvent(m_box, &copy);
        }
        return true;
    }

private:
    QWidget& m_window;
    QLineEdit* m_box;
    bool m_forwarding = false;
};

} // namespace

QLineEdit* AddChatBox(QWidget& window, QTextEdit* MainTXT, Tarvex& tarvex) {
    ChatInput& input = tarvex.chat_input;
    auto* dataTXT = new QLineEdit(&window);
    dataTXT->setObjectName(QStringLiteral("dataTXT"));
    dataTXT->setMaxLength(MaxChatChars);
    dataTXT->setText(input.Text());
    QObject::connect(dataTXT, &QLineEdit::textEdited, &input, &ChatInput::SetText);
    QObject::connect(&input, &ChatInput::TextChanged, dataTXT, [dataTXT](const QString& text) {
        dataTXT->setText(text);
        dataTXT->end(false);
    });
    dataTXT->installEventFilter(new BoxKeys(dataTXT, input));
    MainTXT->viewport()->installEventFilter(new ConsoleLinks(MainTXT, tarvex));
    window.installEventFilter(new TypeIntoBox(window, dataTXT));

    InGameChat& in_game = tarvex.in_game_chat();
    if (!in_game.CanHookKeyboard() && tarvex.platform().dialogs) {
        // Said once the window is up behind it; everything but typing in the game works on.
        QMetaObject::invokeMethod(
            dataTXT,
            [dialogs = tarvex.platform().dialogs] {
                dialogs->MessageBox(QStringLiteral("Error"),
                                    QStringLiteral("Cant hook keyboard, ingame chat disabled."),
                                    Dialogs::Icon::Critical);
            },
            Qt::QueuedConnection);
    }
    in_game.SetBoxOpen(true);
    QObject::connect(dataTXT, &QObject::destroyed, &in_game, [&in_game] {
        in_game.SetBoxOpen(false);
        in_game.UnhookKeyboard();
    });
    return dataTXT;
}

} // namespace tarvex
