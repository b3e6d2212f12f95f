#include "app/ConnectFRM.h"

#include "app/ConnectLogic.h"
#include "net/TextRules.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>

namespace tarvex {

namespace {

template <typename T>
T* Named(T* widget, const char* name) {
    widget->setObjectName(QLatin1String(name));
    return widget;
}

void Show(QLineEdit* edit, const ConnectLogic::Field& field) {
    if (edit->text() != field.text) {
        edit->setText(field.text);
    }
    edit->setEnabled(field.enabled);
}

} // namespace

ConnectFRM::ConnectFRM(ConnectLogic& logic, QWidget* parent)
    : QWidget(parent)
    , m_logic(logic)
    , m_Frame1(Named(new QGroupBox(this), "Frame1"))
    , m_ServerCMD(Named(new QPushButton(tr("&Server"), m_Frame1), "ServerCMD"))
    , m_ClientCMD(Named(new QPushButton(tr("C&lient"), m_Frame1), "ClientCMD"))
    , m_frameT(Named(new QGroupBox(this), "frameT"))
    , m_IPtxt(Named(new QLineEdit(m_frameT), "IPtxt"))
    , m_PORTtxt(Named(new QLineEdit(m_frameT), "PORTtxt"))
    , m_nicknameTXT(Named(new QLineEdit(m_frameT), "nicknameTXT"))
    , m_passwordTXT(Named(new QLineEdit(m_frameT), "passwordTXT"))
    , m_lblSName(Named(new QLabel(tr("Server Name"), m_frameT), "lblSName"))
    , m_txtSName(Named(new QLineEdit(m_frameT), "txtSName"))
    , m_lblPlay(Named(new QLabel(tr("Max Players:"), m_frameT), "lblPlay"))
    , m_scrPlay(Named(new QScrollBar(Qt::Vertical, m_frameT), "scrPlay"))
    , m_txtPNUM(Named(new QLineEdit(m_frameT), "txtPNUM"))
    , m_chkPublic(Named(new QCheckBox(tr("Allow public listing"), m_frameT), "chkPublic"))
    , m_ConnectCMD(Named(new QPushButton(this), "ConnectCMD"))
    , m_lblStat(Named(new QLabel(this), "lblStat")) {
    setObjectName(QStringLiteral("ConnectFRM"));
    setAttribute(Qt::WA_DeleteOnClose);

    auto* roles = new QHBoxLayout(m_Frame1);
    roles->addWidget(m_ServerCMD);
    roles->addWidget(m_ClientCMD);

    m_nicknameTXT->setMaxLength(MaxNameChars);
    m_passwordTXT->setEchoMode(QLineEdit::Password);
    m_passwordTXT->setToolTip(tr("Leave blank for none"));
    m_scrPlay->setRange(2, 12);
    m_scrPlay->setValue(12);
    m_txtPNUM->setReadOnly(true);
    m_txtPNUM->setMaximumWidth(40);
    auto* players = new QHBoxLayout;
    players->addWidget(m_txtPNUM);
    players->addWidget(m_scrPlay);
    players->addStretch();

    auto* fields = new QFormLayout(m_frameT);
    fields->addRow(new QLabel(tr("Server Address"), m_frameT), m_IPtxt);
    fields->addRow(new QLabel(tr("Port"), m_frameT), m_PORTtxt);
    fields->addRow(new QLabel(tr("Nickname"), m_frameT), m_nicknameTXT);
    fields->addRow(new QLabel(tr("Password"), m_frameT), m_passwordTXT);
    fields->addRow(m_lblSName, m_txtSName);
    fields->addRow(m_lblPlay, players);
    fields->addRow(m_chkPublic);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_Frame1);
    layout->addWidget(m_frameT);
    layout->addWidget(m_ConnectCMD);
    layout->addWidget(m_lblStat);

    connect(m_ServerCMD, &QPushButton::clicked, &m_logic, &ConnectLogic::ServerCMD_Click);
    connect(m_ClientCMD, &QPushButton::clicked, &m_logic, &ConnectLogic::ClientCMD_Click);
    connect(m_ConnectCMD, &QPushButton::clicked, this, &ConnectFRM::ConnectCMD_Click);
    connect(m_chkPublic, &QCheckBox::clicked, &m_logic, &ConnectLogic::chkPublic_Click);
    connect(m_scrPlay, &QScrollBar::valueChanged, &m_logic, &ConnectLogic::scrPlay_Change);
    auto edits = [this](QLineEdit* edit, ConnectLogic::Field ConnectLogic::View::*field) {
        connect(edit, &QLineEdit::textEdited, this,
                [this, field](const QString& text) { (m_logic.view().*field).text = text; });
    };
    edits(m_IPtxt, &ConnectLogic::View::IPtxt);
    edits(m_PORTtxt, &ConnectLogic::View::PORTtxt);
    edits(m_nicknameTXT, &ConnectLogic::View::nicknameTXT);
    edits(m_passwordTXT, &ConnectLogic::View::passwordTXT);
    edits(m_txtSName, &ConnectLogic::View::txtSName);
    connect(&m_logic, &ConnectLogic::changed, this, &ConnectFRM::Render);
    Render();
}

void ConnectFRM::Render() {
    const ConnectLogic::View& v = m_logic.view();
    setWindowTitle(m_logic.Caption());
    m_Frame1->setVisible(v.Frame1_visible);
    m_frameT->setVisible(v.frameT_visible);
    m_ServerCMD->setEnabled(v.ServerCMD_enabled);
    m_ClientCMD->setEnabled(v.ClientCMD_enabled);
    Show(m_IPtxt, v.IPtxt);
    Show(m_PORTtxt, v.PORTtxt);
    Show(m_nicknameTXT, v.nicknameTXT);
    Show(m_passwordTXT, v.passwordTXT);
    Show(m_txtSName, v.txtSName);
    Show(m_txtPNUM, v.txtPNUM);
    m_lblSName->setEnabled(v.lblSName_enabled);
    m_lblPlay->setEnabled(v.lblPlay_enabled);
    m_scrPlay->setEnabled(v.scrPlay_enabled);
    m_scrPlay->setValue(v.scrPlay);
    m_chkPublic->setChecked(v.chkPublic);
    m_chkPublic->setEnabled(v.chkPublic_enabled);
    m_ConnectCMD->setText(v.ConnectCMD.text);
    m_ConnectCMD->setEnabled(v.ConnectCMD.enabled);
    m_lblStat->setText(v.lblStat);
}

void ConnectFRM::ConnectCMD_Click() {
    QApplication::setOverrideCursor(Qt::WaitCursor);
    m_logic.ConnectCMD_Click();
    QApplication::restoreOverrideCursor();
}

void ConnectFRM::closeEvent(QCloseEvent* event) {
    event->accept();
    if (m_logic.Form_Unload()) {
        emit programEnds();
    }
}

} // namespace tarvex
