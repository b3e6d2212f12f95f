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
const QByteArray kRaceStart = QByteArrayLiteral("<!-RACE START->");
const QByteArray kTimeStart = QByteArrayLiteral("<!-TIME START->");
const QByteArray kTimeEnd = QByteArrayLiteral("<!-TIME END->");
const QByteArray kRaceEnd = QByteArrayLiteral("<!-RACE END->");

// The template is cut the way a hand-edited one always has been: by 1-based positions where
// a missing marker counts as position 0. A cut that makes no sense then yields an empty piece
// rather than an error, so a template without markers still gives a (malformed) page.
QByteArray CutLeft(const QByteArray& text, qsizetype count) {
    return count < 0 ? QByteArray() : text.left(count);
}
QByteArray CutMid(const QByteArray& text, qsizetype start, qsizetype count = -1) {
    if (start < 1) {
        return {};
    }
    if (count < 0) {
        return count == -1 ? text.mid(start - 1) : QByteArray();
    }
    return text.mid(start - 1, count);
}
qsizetype Find(const QByteArray& text, const QByteArray& marker) {
    return text.indexOf(marker) + 1;
}

// The page keeps the encoding its template declares; the inserted values follow it, so a
// template saved as UTF-8 gets its names in UTF-8 and the built-in one in windows-1252.
bool DeclaresUtf8(const QByteArray& html_template) {
    const QByteArray lower = html_template.toLower();
    return lower.contains("charset=utf-8") || lower.contains("charset=\"utf-8\"");
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

using ValueBytes = QByteArray (*)(const QString&);

QByteArray FillRaceHead(QByteArray piece, const RaceResult& race, int number, ValueBytes encode) {
    return piece.replace("[RNUM]", QByteArray::number(number))
        .replace("[STAGE]", encode(race.StageName))
        .replace("[WEATHER]", encode(race.WeatherName))
        .replace("[DAMAGE]", encode(race.DamageName))
        .replace("[PENALTIES]", encode(race.PenaltiesText))
        .replace("[SETUPS]", encode(race.SetupsText))
        .replace("[STARTTIME]", encode(StartTimeText(race.StartTime)));
}

QByteArray FillDriverRow(QByteArray piece, const RaceResult& race, int slot, ValueBytes encode) {
    const QStringList cells = DriverCells(race, slot);
    const char* const fields[] = {"[NAME]",   "[CAR]",  "[TRANS]", "[TYRE]",   "[SPLIT1]",
                                  "[SPLIT2]", "[TIME]", "[START]", "[PERCENT]"};
    for (int i = 0; i < 9; ++i) {
        piece.replace(fields[i], encode(cells[i]));
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

QByteArray HtmlExport(const Results& results, const QByteArray& html_template,
                      const QString& server_name) {
    const ValueBytes encode = DeclaresUtf8(html_template)
                              ? +[](const QString& text) { return text.toUtf8(); }
                              : +[](const QString& text) { return ToAnsi(text); };
    const qsizetype race_start = Find(html_template, kRaceStart);
    const qsizetype time_start = Find(html_template, kTimeStart);
    const qsizetype time_end = Find(html_template, kTimeEnd);
    const qsizetype race_end = Find(html_template, kRaceEnd);
    const QByteArray head = CutLeft(html_template, race_start - 1);
    const QByteArray race_head = CutMid(html_template, race_start + kRaceStart.size(),
                                        time_start - race_start - kRaceStart.size());
    const QByteArray driver_row = CutMid(html_template, time_start + kTimeStart.size(),
                                         time_end - time_start - kTimeStart.size());
    const QByteArray race_tail =
        CutMid(html_template, time_end + kTimeEnd.size(), race_end - time_end - kTimeEnd.size());
    const QByteArray foot = CutMid(html_template, race_end + kRaceEnd.size());

    QByteArray document = head;
    QByteArray race_list;
    const int count = results.UpperBound();
    for (int number = 1; number <= count; ++number) {
        const RaceResult& race = results.Race(number);
        document += "<a name=" + QByteArray::number(number) + "></a>";
        document += FillRaceHead(race_head, race, number, encode);
        for (const int slot : RankSlots(race)) {
            if (!race.DriverName[slot].isEmpty()) {
                document += FillDriverRow(driver_row, race, slot, encode);
            }
        }
        document += race_tail;
        race_list += "<a href=#" + QByteArray::number(number) + ">Race " +
                     QByteArray::number(number).rightJustified(4, '0') + " - " +
                     encode(race.StageName) + "<br>";
    }
    document += foot;
    document.replace("[RACELIST]", race_list);
    document.replace("[SERVERNAME]", encode(server_name));
    document.replace("[RACENUM]", QByteArray::number(count));
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
        const QByteArray html_template =
            file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        bytes = HtmlExport(results, html_template, context.server_name);
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
    request.filter = QStringLiteral("All Files (*)");
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
