#include "app/RaceStartControls.h"

#include "app/Tarvex.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>

namespace tarvex {

RaceStartControls::RaceStartControls(Tarvex& tarvex, bool host_window, QLabel* lblStatus,
                                     QWidget* parent)
    : QWidget(parent)
    , chkReady(new QCheckBox(tr("Ready"), this))
    , m_tarvex(tarvex)
    , m_host_window(host_window)
    , m_lblStatus(lblStatus) {
    chkReady->setObjectName(QStringLiteral("chkReady"));
    connect(chkReady, &QCheckBox::clicked, this, &RaceStartControls::chkReady_Click);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(chkReady);
    if (host_window) {
        cmdStart = new QPushButton(tr("Start"), this);
        cmdStart->setObjectName(QStringLiteral("cmdStart"));
        connect(cmdStart, &QPushButton::clicked, this, &RaceStartControls::cmdStart_Click);
        layout->addWidget(cmdStart);
        connect(&tarvex.host_control(), &HostRace::Changed, this, &RaceStartControls::Refresh);
    } else {
        connect(&tarvex.client_flow(), &ClientRace::Changed, this, &RaceStartControls::Refresh);
    }
    Refresh();
}

void RaceStartControls::Refresh() {
    ReadyBox& box =
        m_host_window ? m_tarvex.host_control().chkReady : m_tarvex.client_flow().chkReady;
    {
        const QSignalBlocker quiet(chkReady);
        chkReady->setChecked(box.Ticked());
    }
    // A client's box stays off until the host has let it in.
    chkReady->setEnabled(box.Enabled() && (m_host_window || m_tarvex.client_side().Welcomed()));
    if (m_host_window) {
        cmdStart->setText(m_tarvex.host_control().StartCaption());
        m_lblStatus->setText(m_tarvex.host_control().StatusText());
    } else if (m_tarvex.client_side().Welcomed()) {
        m_lblStatus->setText(m_tarvex.client_flow().StatusText());
    }
}

void RaceStartControls::chkReady_Click(bool ticked) {
    ReadyBox& box =
        m_host_window ? m_tarvex.host_control().chkReady : m_tarvex.client_flow().chkReady;
    box.SetTicked(ticked);
}

void RaceStartControls::cmdStart_Click() {
    m_tarvex.host_control().cmdStart_Click();
}

} // namespace tarvex
