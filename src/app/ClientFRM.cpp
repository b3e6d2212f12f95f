#include "app/ClientFRM.h"

#include "app/ConsoleLine.h"
#include "app/SessionTexts.h"
#include "app/SettingsFile.h"
#include "app/Tarvex.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QLabel>
#include <QTextEdit>
#include <QVBoxLayout>

namespace tarvex {

ClientFRM::ClientFRM(Tarvex& tarvex, QWidget* parent)
    : QWidget(parent)
    , m_tarvex(tarvex)
    , m_lblNumPlayer(new QLabel(QStringLiteral("Player(s): 1/12"), this))
    , m_lblServerName(new QLabel(this))
    , m_lblStatus(new QLabel(this))
    , m_MainTXT(new QTextEdit(this)) {
    setObjectName(QStringLiteral("ClientFRM"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QStringLiteral("Tarvex - Client"));
    m_lblNumPlayer->setObjectName(QStringLiteral("lblNumPlayer"));
    m_lblServerName->setObjectName(QStringLiteral("lblServerName"));
    m_lblStatus->setObjectName(QStringLiteral("lblStatus"));
    m_MainTXT->setObjectName(QStringLiteral("MainTXT"));
    m_MainTXT->setReadOnly(true);
    // Names and session names come from other players: shown as typed, never as markup.
    m_lblServerName->setTextFormat(Qt::PlainText);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_lblNumPlayer);
    layout->addWidget(m_lblServerName);
    layout->addWidget(m_lblStatus);
    layout->addWidget(m_MainTXT);

    ClientSession& client = m_tarvex.client();
    connect(&client, &ClientSession::ConnectComplete, this, &ClientFRM::OnConnectComplete);
    connect(&client, &ClientSession::Receive, this, &ClientFRM::OnReceive);
    connect(&client, &ClientSession::TerminateSession, this, &ClientFRM::OnTerminateSession);
    // Abandoning an attempt or leaving closes the window that received the session's events.
    connect(&client, &ClientSession::Closed, this, &QWidget::close);
}

void ClientFRM::WelcomeReceived() {
    m_welcomed = true;
    m_lblNumPlayer->setText(QStringLiteral("Player(s): 1/%1").arg(m_tarvex.client().PlayerLimit()));
    m_lblServerName->setText(QStringLiteral("Server Name: ") +
                             m_tarvex.client().GetApplicationDesc());
    m_lblStatus->setText(QStringLiteral("Status: Idle"));
    emit welcomed();
}

void ClientFRM::AddLine(const QString& line) {
    AppendConsoleLine(*m_MainTXT, line);
}

void ClientFRM::OnConnectComplete(dpn::ResultCode result) {
    const auto refusal = ConnectRefusalText(result);
    if (!refusal) {
        return; // admitted: the session starts with the host's welcome message
    }
    emit refused(*refusal);
    // The attempt is over; closing this window releases the session and keeps the connect
    // dialog for another try.
    QMetaObject::invokeMethod(this, &QWidget::close, Qt::QueuedConnection);
}

void ClientFRM::OnReceive(dpn::PlayerId, const QByteArray&) {
    // Messages are dispatched once the message catalogue is in place.
}

void ClientFRM::OnTerminateSession(dpn::ResultCode result) {
    AddLine(TerminationLine(result));
    m_lblNumPlayer->clear();
    m_lblServerName->clear();
    m_lblStatus->clear();
}

void ClientFRM::closeEvent(QCloseEvent* event) {
    event->accept();
    if (m_closing) {
        return;
    }
    m_closing = true;
    // The session must not report to a window that is going.
    disconnect(&m_tarvex.client(), nullptr, this, nullptr);
    SaveSettings(m_tarvex);
    QCoreApplication::processEvents();
    m_tarvex.client().CloseClient();
    if (m_welcomed) {
        emit programEnds();
    }
}

} // namespace tarvex
