#include "app/RaceControlsBox.h"

#include "app/PlayerRows.h"
#include "app/SettingsFRM.h"
#include "app/Tarvex.h"
#include "race/ui/RaceSettingsPanel.h"
#include "results/TimeFRM.h"

#include <QComboBox>
#include <QDateTime>
#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

namespace tarvex {

RaceControlsBox::RaceControlsBox(Tarvex& tarvex, PlayerRows& rows, bool host_window,
                                 QWidget* window)
    : QWidget(window)
    , m_tarvex(tarvex)
    , m_choices(host_window ? tarvex.host_race : tarvex.client_race)
    , m_host_window(host_window)
    , m_window(window) {
    RaceChoices& choices = m_choices;
    auto* panel = new RaceSettingsPanel(choices, this);
    // The rows' lists show the cars. Only the host's own row is ever editable on the host; a
    // client's window also locks its own row while a race runs, so it decides that itself.
    for (int slot = 0; slot < RowCount; ++slot) {
        BindComboBox(rows.pCar[slot], choices.pCar[slot], host_window);
        BindComboBox(rows.pTrans[slot], choices.pTrans[slot], host_window);
        BindComboBox(rows.pTyre[slot], choices.pTyre[slot], host_window);
    }

    auto* options = new QPushButton(tr("Game Options"), this);
    options->setObjectName(QStringLiteral("cmdGhost"));
    connect(options, &QPushButton::clicked, this, &RaceControlsBox::cmdGhost_Click);
    cmdGhost = options;

    auto* times = new QPushButton(tr("Display Times"), this);
    times->setObjectName(QStringLiteral("cmdTimes"));
    connect(times, &QPushButton::clicked, this, &RaceControlsBox::cmdTimes_Click);
    cmdTimes = times;

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(panel);
    layout->addStretch();
    auto* buttons = new QVBoxLayout;
    m_buttons = buttons;
    buttons->addStretch();
    buttons->addWidget(options);
    buttons->addWidget(times);
    layout->addLayout(buttons);
}

void RaceControlsBox::Load() {
    // A host window of a copy that is not the host shows the race read-only, as a client's.
    if (!m_host_window || !m_tarvex.IsHost) {
        m_choices.DisableHostControls();
    }
    m_choices.SetIsHost(m_host_window && m_tarvex.IsHost);
    m_choices.FillCombos();
    m_choices.LoadOld();
}

void RaceControlsBox::AddStartControls(QWidget* controls) {
    // Below the stretch, above "Game Options".
    m_buttons->insertWidget(1, controls);
}

void RaceControlsBox::cmdGhost_Click() {
    SettingsFRM* form = SettingsFRM::ShowFor(m_window, m_tarvex);
    connect(form, &SettingsFRM::closed, this, &RaceControlsBox::subWindowClosed,
            Qt::UniqueConnection);
}

void RaceControlsBox::cmdTimes_Click() {
    TimeFRM::Hooks hooks;
    Tarvex& tarvex = m_tarvex;
    hooks.export_context = [&tarvex] {
        ExportContext context;
        context.config_folder = tarvex.ConfigFolder();
        context.game_path = tarvex.settings.GamePath;
        context.server_name =
            tarvex.IsHost ? tarvex.server().SessionName() : tarvex.client().GetApplicationDesc();
        context.now = QDateTime::currentDateTime();
        return context;
    };
    hooks.is_game_running = [&tarvex] {
        return tarvex.game().IsGameRunning();
    };
    hooks.closed = [this] {
        emit subWindowClosed();
    };
    if (tarvex.platform().dialogs) {
        TimeFRM::ShowFor(m_window, tarvex.results, *tarvex.platform().dialogs, std::move(hooks));
    }
}

} // namespace tarvex
