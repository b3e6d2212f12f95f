#include "app/Unattended.h"

#include "app/Tarvex.h"
#include "results/ResultsExport.h"

#include <QFile>
#include <QLoggingCategory>
#include <QTimer>
#include <filesystem>

namespace tarvex {

namespace {

Q_LOGGING_CATEGORY(UnattendedLog, "tarvex.unattended")

// Before ending, the last messages of the session get the time to leave.
constexpr int kEndDelayMs = 1000;

} // namespace

Unattended::Unattended(Tarvex& tarvex, UnattendedOptions options, std::function<void()> end_program,
                       std::function<void(const QString&)> save_picture, QObject* parent)
    : QObject(parent)
    , m_tarvex(tarvex)
    , m_options(std::move(options))
    , m_end_program(std::move(end_program))
    , m_save_picture(std::move(save_picture)) {
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
}

void Unattended::Seated() {
    if (m_seated) {
        return;
    }
    m_seated = true;
    if (m_options.ready) {
        m_tarvex.chkReady().SetTicked(true);
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
        const bool still_here = player.Occupied() && player.Name == race.DriverName[slot];
        if (still_here) {
            return false;
        }
    }
    return true;
}

void Unattended::CheckOver() {
    if (m_over || !RaceOver()) {
        return;
    }
    m_over = true;
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

} // namespace tarvex
