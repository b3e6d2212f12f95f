#include "app/Unattended.h"

#include "app/Tarvex.h"
#include "results/ResultsExport.h"

#include <QFile>
#include <QLoggingCategory>
#include <QTime>
#include <QTimer>
#include <algorithm>
#include <filesystem>

namespace tarvex {

namespace {

Q_LOGGING_CATEGORY(UnattendedLog, "tarvex.unattended")

// Before ending, the last messages of the session get the time to leave.
constexpr int kEndDelayMs = 1000;
// How often an unticked Ready box is looked at between races.
constexpr int kReadyAgainMs = 1000;

} // namespace

Unattended::Unattended(Tarvex& tarvex, UnattendedOptions options, std::function<void()> end_program,
                       std::function<void(const QString&)> save_picture, QObject* parent)
    : QObject(parent)
    , m_tarvex(tarvex)
    , m_options(std::move(options))
    , m_end_program(std::move(end_program))
    , m_save_picture(std::move(save_picture))
    , m_ready_again(new QTimer(this)) {
    m_ready_again->setInterval(kReadyAgainMs);
    connect(m_ready_again, &QTimer::timeout, this, &Unattended::TickReadyAgain);
    // Queued throughout: these act on the session from outside, never in the middle of
    // handling one of its messages (the welcome reports Idle after its handlers have run).
    connect(&tarvex.client_side(), &ClientSide::Welcome, this, &Unattended::Seated,
            Qt::QueuedConnection);
    connect(
        &tarvex.server_side(), &ServerSide::SlotChanged, this,
        [this](int slot) {
            if (slot == 0 && m_tarvex.IsHost && m_tarvex.roster[0].Occupied()) {
                Seated();
            }
            CheckOver();
        },
        Qt::QueuedConnection);
    connect(&tarvex.server_side(), &ServerSide::StatusChanged, this, &Unattended::CheckStart,
            Qt::QueuedConnection);
    connect(&tarvex.client_side(), &ClientSide::SlotChanged, this, &Unattended::CheckOver,
            Qt::QueuedConnection);
    connect(&tarvex.results, &Results::Changed, this, [this] {
        WriteResults();
        CheckOver();
    });
    if (!m_options.session_log.isEmpty()) {
        m_log = new QFile(m_options.session_log, this);
        if (!m_log->open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text)) {
            qCWarning(UnattendedLog).noquote()
                << "cannot write the session log to" << m_options.session_log << ":"
                << m_log->errorString();
        }
        connect(&tarvex.console, &ChatConsole::Appended, this, [this](const QString& piece) {
            const QString line = piece.startsWith(QStringLiteral("\r\n")) ? piece.mid(2) : piece;
            Log(QStringLiteral("console ") + line);
        });
        connect(&tarvex.server_side(), &ServerSide::StatusChanged, this, &Unattended::LogSlot);
        connect(&tarvex.server_side(), &ServerSide::SlotChanged, this, &Unattended::LogSlot);
        connect(&tarvex.client_side(), &ClientSide::StatusChanged, this, &Unattended::LogSlot);
        connect(&tarvex.client_side(), &ClientSide::SlotChanged, this, &Unattended::LogSlot);
        for (ReadyBox* box : {&tarvex.host_control().chkReady, &tarvex.client_flow().chkReady}) {
            connect(box, &ReadyBox::Changed, this, [this, box] {
                // The box also changes when it is enabled or disabled; only its tick is news.
                if (&m_tarvex.chkReady() == box && box->Ticked() != m_logged_ready) {
                    m_logged_ready = box->Ticked();
                    Log(m_logged_ready ? QStringLiteral("ready ticked")
                                       : QStringLiteral("ready unticked"));
                }
            });
        }
    }
}

void Unattended::Log(const QString& line) {
    if (m_log && m_log->isOpen()) {
        m_log->write((QTime::currentTime().toString(QStringLiteral("HH:mm:ss.zzz ")) + line +
                      QLatin1Char('\n'))
                         .toUtf8());
        // Whole lines at once: the log must tell the session's end even when the program's
        // own end is abrupt.
        m_log->flush();
    }
}

void Unattended::LogSlot(int slot) {
    if (slot < 0 || slot >= RowCount) {
        return;
    }
    static const char* const kStatusWords[] = {"Null",    "Idle",    "Ready",
                                               "Loading", "Driving", "Finished"};
    const PlayerRecord& player = m_tarvex.roster[slot];
    const QString word = !player.Occupied() ? QStringLiteral("Open")
                         : player.Status < std::size(kStatusWords)
                             ? QString::fromLatin1(kStatusWords[player.Status])
                             : QString::number(player.Status);
    const QString line = QStringLiteral("slot %1 %2 %3").arg(slot).arg(player.Name, word);
    // A slot's other changes (lag, cars) repeat its line; the log keeps only news.
    if (m_slot_lines.value(slot) != line) {
        m_slot_lines.insert(slot, line);
        Log(line);
    }
}

void Unattended::Seated() {
    if (m_seated) {
        return;
    }
    m_seated = true;
    if (m_tarvex.IsHost && !m_options.stages.isEmpty()) {
        m_tarvex.host_race.cmbStage.Pick(m_options.stages.front());
    }
    if (m_options.ready) {
        m_tarvex.chkReady().SetTicked(true);
        m_ready_again->start();
    }
}

void Unattended::TickReadyAgain() {
    ReadyBox& ready = m_tarvex.chkReady();
    const bool idle = m_tarvex.IsHost ? m_tarvex.host_control().state() == HostRace::State::Idle
                                      : m_tarvex.client_flow().state() == ClientRace::State::Idle;
    // A game still closing would be closed again, and Ready unticked again, by the race loop.
    if (!ready.Ticked() && ready.Enabled() && idle && !m_tarvex.game().IsGameRunning()) {
        ready.SetTicked(true);
    }
}

void Unattended::CheckStart() {
    if (m_options.start_when_ready <= 0 || !m_tarvex.IsHost ||
        m_tarvex.host_control().state() != HostRace::State::Idle) {
        return;
    }
    int ready = 0;
    for (int slot = 0; slot < RowCount; ++slot) {
        const PlayerRecord& player = m_tarvex.roster[slot];
        if (player.Occupied() && player.Status == std::uint8_t(PlayerStatus::Ready)) {
            ++ready;
        }
    }
    if (ready >= m_options.start_when_ready) {
        m_tarvex.host_control().cmdStart_Click();
    }
}

void Unattended::WriteResults() {
    ExportContext context;
    context.config_folder = m_tarvex.ConfigFolder();
    context.server_name =
        m_tarvex.IsHost ? m_tarvex.server().SessionName() : m_tarvex.client().GetApplicationDesc();
    for (const QString& path : m_options.results_files) {
        const bool html = path.endsWith(QStringLiteral(".htm"), Qt::CaseInsensitive) ||
                          path.endsWith(QStringLiteral(".html"), Qt::CaseInsensitive);
        // Written beside and then put in place in one step: whoever reads the file sees the
        // old table or the new one, never half of one.
        const QString part = path + QStringLiteral(".part");
        QString error = WriteTimes(m_tarvex.results, part, html ? HtmlDump : FixedWidth, context);
        if (error.isEmpty()) {
            std::error_code failed;
            std::filesystem::rename(QFile::encodeName(part).toStdString(),
                                    QFile::encodeName(path).toStdString(), failed);
            if (failed) {
                error = QString::fromStdString(failed.message());
            }
        }
        if (!error.isEmpty()) {
            qCWarning(UnattendedLog).noquote()
                << "cannot write the results to" << path << ":" << error;
        }
    }
}

bool Unattended::RaceOver() const {
    const Results& results = m_tarvex.results;
    if (results.UpperBound() < 1) {
        return false;
    }
    const RaceResult& race = results.Race(results.UpperBound());
    for (int slot = 0; slot < kResultSlots; ++slot) {
        if (race.DriverName[slot].isEmpty() || race.Finish[slot] != NoTime) {
            continue;
        }
        const PlayerRecord& player = m_tarvex.roster[slot];
        const bool still_racing = player.Occupied() && player.Name == race.DriverName[slot] &&
                                  player.Status >= std::uint8_t(PlayerStatus::Ready);
        if (still_racing) {
            return false;
        }
    }
    return true;
}

int Unattended::SessionRaces() const {
    return m_options.races > 0 ? m_options.races : std::max(1, int(m_options.stages.size()));
}

void Unattended::CheckOver() {
    const int race = m_tarvex.results.UpperBound();
    if (m_ending || race == m_last_over || !RaceOver()) {
        return;
    }
    m_last_over = race;
    ++m_races_over;
    if (m_races_over < SessionRaces()) {
        if (m_tarvex.IsHost && m_races_over < m_options.stages.size()) {
            // Queued: the finish that ended the race is still being handled.
            QTimer::singleShot(kEndDelayMs, this, &Unattended::NextRace);
        }
        return;
    }
    m_ending = true;
    if (!m_options.finish_screenshot.isEmpty() && m_save_picture) {
        // The rows show the last statuses once the session's last messages are in.
        QTimer::singleShot(kEndDelayMs / 2, this,
                           [this] { m_save_picture(m_options.finish_screenshot); });
    }
    if (m_options.quit_when_finished) {
        QTimer::singleShot(kEndDelayMs, this, [this] {
            WriteResults();
            if (m_end_program) {
                m_end_program();
            }
        });
    }
}

void Unattended::NextRace() {
    HostRace& control = m_tarvex.host_control();
    if (control.state() != HostRace::State::Idle) {
        control.cmdStart_Click();
    }
    // Every game closes now that no race runs, which unticks every Ready box; the drivers
    // tick them again and the next race starts once enough of them have.
    m_tarvex.host_race.cmbStage.Pick(m_options.stages.at(m_races_over));
}

} // namespace tarvex
