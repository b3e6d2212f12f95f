#include "app/ClientFRM.h"

#include "app/GhostMenu.h"
#include "app/PlayerRows.h"
#include "app/RaceControlsBox.h"
#include "app/RaceStartControls.h"
#include "app/RaceWindowLayout.h"
#include "app/SessionTexts.h"
#include "app/SettingsFile.h"
#include "app/Tarvex.h"
#include "race/RaceChoices.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QCoreApplication>
#include <QLabel>
#include <QTextEdit>

namespace tarvex {

ClientFRM::ClientFRM(Tarvex& tarvex, QWidget* parent)
    : QWidget(parent)
    , m_tarvex(tarvex)
    , m_rows(new PlayerRows(tarvex.roster, false, this))
    , m_race(new RaceControlsBox(tarvex, *m_rows, false, this)) {
    const RaceWindowLayout parts =
        LayOutRaceWindow(*this, QStringLiteral("ClientFRM"), QStringLiteral("Tarvex - Client"),
                         *m_race, *m_rows, m_tarvex);
    m_lblServerName = parts.lblServerName;
    m_lblStatus = parts.lblStatus;
    m_MainTXT = parts.MainTXT;
    m_start = new RaceStartControls(m_tarvex, false, m_lblStatus, this);
    m_race->AddStartControls(m_start);
    connect(&m_race->Choices(), &RaceChoices::RaceLockChanged, this, &ClientFRM::ShowOwnRow);
    AddGhostMenu(*this, m_tarvex.settings, m_tarvex.ghost_files());

    ClientSession& client = m_tarvex.client();
    connect(&client, &ClientSession::ConnectComplete, this, &ClientFRM::OnConnectComplete);
    ClientSide& side = m_tarvex.client_side();
    m_rows->Follow(&side);
    connect(&side, &ClientSide::Welcome, this, &ClientFRM::WelcomeReceived);
    connect(&side, &ClientSide::SessionLost, this, &ClientFRM::OnSessionLost);
    m_race->Load();
    // Abandoning an attempt or leaving closes the window that received the session's events.
    connect(&client, &ClientSession::Closed, this, &QWidget::close);
}

void ClientFRM::WelcomeReceived() {
    m_welcomed = true;
    m_own_slot = m_tarvex.LocalSlot;
    m_rows->RefreshAll();
    ShowOwnRow();
    m_start->Refresh();
    m_lblServerName->setText(QStringLiteral("Server Name: ") +
                             m_tarvex.client().GetApplicationDesc());
    emit welcomed();
}

void ClientFRM::ShowOwnRow() {
    // Only the own row's lists are ours to change.
    const bool usable = m_welcomed && !m_race->Choices().RaceLocked();
    for (int slot = 0; slot < RowCount; ++slot) {
        for (QComboBox* list : {m_rows->pCar[slot], m_rows->pTrans[slot], m_rows->pTyre[slot]}) {
            list->setEnabled(usable && slot == m_own_slot);
        }
    }
}

void ClientFRM::AddLine(const QString& line) {
    m_tarvex.console.DisplayText(line);
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

void ClientFRM::OnSessionLost() {
    // The console has said why. What the session showed of the others and of the race is gone
    // with it, and nothing can be chosen any more. The own row still says who this player was
    // and what they chose, though the roster has already forgotten the slot.
    RaceChoices& choices = m_race->Choices();
    for (int slot = 0; slot < RowCount; ++slot) {
        choices.pCar[slot].Deselect();
        choices.pTrans[slot].Deselect();
        choices.pTyre[slot].Deselect();
        if (slot == m_own_slot) {
            m_rows->pName[slot]->setItemText(0, m_tarvex.MyName);
            m_rows->pName[slot]->setCurrentIndex(0);
        } else {
            m_rows->pName[slot]->setCurrentIndex(-1);
        }
        for (QComboBox* list :
             {m_rows->pName[slot], m_rows->pCar[slot], m_rows->pTrans[slot], m_rows->pTyre[slot]}) {
            list->setEnabled(false);
        }
    }
    choices.ShowCar(m_own_slot, m_tarvex.LocalCar());
    for (ChoiceList* list : {&choices.cmbCountry, &choices.cmbStage, &choices.cmbWeather,
                             &choices.cmbHumid, &choices.cmbWear}) {
        list->Deselect();
    }
    m_rows->lblNumPlayer->clear();
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
