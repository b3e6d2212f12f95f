#include "results/ResultsExport.h"

#include "net/StandingsBoard.h"
#include "platform/Dialogs.h"
#include "results/RaceTable.h"
#include "results/Ranking.h"
#include "results/TimeText.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace tarvex {

namespace {

const QString kCrLf = QStringLiteral("\r\n");
const QString kRaceStart = QStringLiteral("<!-RACE START->");
const QString kTimeStart = QStringLiteral("<!-TIME START->");
const QString kTimeEnd = QStringLiteral("<!-TIME END->");
const QString kRaceEnd = QStringLiteral("<!-RACE END->");

// The template is cut the way a hand-edited one always has been: by 1-based positions where
// a missing marker counts as position 0. A cut that makes no sense then yields an empty piece
// rather than an error, so a template without markers still gives a (malformed) page.
QString CutLeft(const QString& text, qsizetype count) {
    return count < 0 ? QString() : text.left(count);
}
QString CutMid(const QString& text, qsizetype start, qsizetype count = -1) {
    if (start < 1) {
        return {};
    }
    if (count < 0) {
        return count == -1 ? text.mid(start - 1) : QString();
    }
    return text.mid(start - 1, count);
}
qsizetype Find(const QString& text, const QString& marker) {
    return text.indexOf(marker) + 1;
}

QStringList ColumnWords() {
    return {QStringLiteral("Name"), QStringLiteral("Car"),     QStringLiteral("Transmission"),
            QStringLiteral("Tyre"), QStringLiteral("Split 1"), QStringLiteral("Split 2"),
            QStringLiteral("Time"), QStringLiteral("Start"),   QStringLiteral("Percent")};
}

QString TextLine(const QStringList& cells, int mode) {
    if (mode == TabDelimited) {
        return cells.join(QLatin1Char('\t'));
    }
    QString line;
    for (const QString& cell : cells) {
        line += PadCell(cell, 20);
    }
    return line;
}

QString RaceHeadText(const RaceResult& race, int number) {
    return QStringLiteral("Race Number: %1").arg(number) + kCrLf + QStringLiteral("Stage: ") +
           race.StageName + kCrLf + QStringLiteral("Weather: ") + race.WeatherName + kCrLf +
           QStringLiteral("Damage:") + race.DamageName + kCrLf +
           QStringLiteral("Penalties Disabled: ") + race.PenaltiesText + kCrLf +
           QStringLiteral("Setups: ") + race.SetupsText + kCrLf + QStringLiteral("Start Time: ") +
           StartTimeText(race.StartTime) + kCrLf + kCrLf;
}

QString FillRaceHead(QString piece, const RaceResult& race, int number) {
    return piece.replace(QStringLiteral("[RNUM]"), QString::number(number))
        .replace(QStringLiteral("[STAGE]"), race.StageName)
        .replace(QStringLiteral("[WEATHER]"), race.WeatherName)
        .replace(QStringLiteral("[DAMAGE]"), race.DamageName)
        .replace(QStringLiteral("[PENALTIES]"), race.PenaltiesText)
        .replace(QStringLiteral("[SETUPS]"), race.SetupsText)
        .replace(QStringLiteral("[STARTTIME]"), StartTimeText(race.StartTime));
}

QString FillDriverRow(QString piece, const RaceResult& race, int slot) {
    const QStringList cells = DriverCells(race, slot);
    const char* const fields[] = {"[NAME]",   "[CAR]",  "[TRANS]", "[TYRE]",   "[SPLIT1]",
                                  "[SPLIT2]", "[TIME]", "[START]", "[PERCENT]"};
    for (int i = 0; i < 9; ++i) {
        piece.replace(QLatin1String(fields[i]), cells[i]);
    }
    return piece;
}

} // namespace

QString TemplatePath(const QString& config_folder) {
    return QDir(config_folder).filePath(QStringLiteral("template.htm"));
}

QByteArray BuiltInTemplate() {
    QFile file(QStringLiteral(":/results/template.htm"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray TextExport(const Results& results, int mode) {
    if (mode != TabDelimited && mode != FixedWidth) {
        return {};
    }
    QString text;
    for (int number = 1; number <= results.UpperBound(); ++number) {
        const RaceResult& race = results.Race(number);
        text += RaceHeadText(race, number);
        text += TextLine(ColumnWords(), mode) + kCrLf;
        for (const int slot : RankSlots(race)) {
            if (!race.DriverName[slot].isEmpty()) {
                text += TextLine(DriverCells(race, slot), mode) + kCrLf;
            }
        }
        text += kCrLf + kCrLf;
    }
    return ToAnsi(text);
}

QString HtmlExport(const Results& results, const QString& html_template,
                   const QString& server_name) {
    const qsizetype race_start = Find(html_template, kRaceStart);
    const qsizetype time_start = Find(html_template, kTimeStart);
    const qsizetype time_end = Find(html_template, kTimeEnd);
    const qsizetype race_end = Find(html_template, kRaceEnd);
    const QString head = CutLeft(html_template, race_start - 1);
    const QString race_head = CutMid(html_template, race_start + kRaceStart.size(),
                                     time_start - race_start - kRaceStart.size());
    const QString driver_row = CutMid(html_template, time_start + kTimeStart.size(),
                                      time_end - time_start - kTimeStart.size());
    const QString race_tail =
        CutMid(html_template, time_end + kTimeEnd.size(), race_end - time_end - kTimeEnd.size());
    const QString foot = CutMid(html_template, race_end + kRaceEnd.size());

    QString document = head;
    QString race_list;
    const int count = results.UpperBound();
    for (int number = 1; number <= count; ++number) {
        const RaceResult& race = results.Race(number);
        QString block = QStringLiteral("<a name=%1></a>").arg(number);
        block += FillRaceHead(race_head, race, number);
        for (const int slot : RankSlots(race)) {
            if (!race.DriverName[slot].isEmpty()) {
                block += FillDriverRow(driver_row, race, slot);
            }
        }
        block += race_tail;
        document += block;
        race_list += QStringLiteral("<a href=#%1>Race %2 - ")
                         .arg(number)
                         .arg(number, 4, 10, QLatin1Char('0')) +
                     race.StageName + QStringLiteral("<br>");
    }
    document += foot;
    document.replace(QStringLiteral("[RACELIST]"), race_list);
    document.replace(QStringLiteral("[SERVERNAME]"), server_name);
    document.replace(QStringLiteral("[RACENUM]"), QString::number(count));
    return document;
}

QString WriteTimes(const Results& results, const QString& path, int mode,
                   const ExportContext& context) {
    if (mode != TabDelimited && mode != FixedWidth && mode != HtmlDump) {
        return {};
    }
    QByteArray bytes;
    if (mode == HtmlDump) {
        const QString template_path = TemplatePath(context.config_folder);
        if (!QFileInfo::exists(template_path)) {
            // When it cannot be written, the export goes on with whatever is there.
            QFile file(template_path);
            if (file.open(QIODevice::WriteOnly)) {
                file.write(BuiltInTemplate());
            }
        }
        QFile file(template_path);
        const QString html_template =
            file.open(QIODevice::ReadOnly) ? FromAnsi(file.readAll()) : QString();
        bytes = ToAnsi(HtmlExport(results, html_template, context.server_name));
    } else {
        bytes = TextExport(results, mode);
    }

    QFile::remove(path);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush()) {
        return file.errorString();
    }
    return {};
}

QString ExportFileName(const QDateTime& now, int mode) {
    return QStringLiteral("Times ") + now.toString(QStringLiteral("HH_mm_ss - MM_dd_yyyy")) +
           (mode == HtmlDump ? QStringLiteral(".htm") : QStringLiteral(".txt"));
}

void ExportTimes(Dialogs& dialogs, const Results& results, int mode, const ExportContext& context) {
    Dialogs::FileRequest request;
    request.title = QStringLiteral("Save File As...");
    request.filter = QStringLiteral("All Files (*.*)");
    request.folder = QFileInfo(context.game_path).path();
    request.file_name = ExportFileName(context.now, mode);
    const QString path = dialogs.SaveFileName(request);
    if (path.isEmpty()) {
        return;
    }
    const QString error = WriteTimes(results, path, mode, context);
    if (!error.isEmpty()) {
        dialogs.MessageBox(QStringLiteral("Tarvex"),
                           QStringLiteral("The results could not be written to \"%1\": %2.")
                               .arg(QDir::toNativeSeparators(path), error),
                           Dialogs::Icon::Warning);
    }
}

} // namespace tarvex
