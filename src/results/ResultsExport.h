#pragma once

#include "results/Results.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

namespace tarvex {

class Dialogs;

// The export forms, numbered as the "Mode" menu passes them.
enum ExportMode {
    TabDelimited = 1,
    FixedWidth = 2,
    HtmlDump = 3,
};

// What an export needs besides the races.
struct ExportContext {
    QString config_folder; // holds template.htm
    QString game_path;     // the save dialog opens in its folder
    QString server_name;   // the session's name, for the HTML page
    QDateTime now;         // names the file offered
};

// The template.htm beside the settings file.
QString TemplatePath(const QString& config_folder);
// The page the program ships, byte for byte as written when template.htm is missing.
QByteArray BuiltInTemplate();

// The text export (modes 1 and 2) as the file's bytes; empty for any other mode.
QByteArray TextExport(const Results& results, int mode);
// The HTML export: `html_template` cut at its four markers and filled for every race. The
// template's own bytes pass through unchanged, whatever their encoding.
QByteArray HtmlExport(const Results& results, const QByteArray& html_template,
                      const QString& server_name);

// Writes every race into `path` in `mode`. Returns an error text, empty when the file was
// written (or the mode writes nothing).
QString WriteTimes(const Results& results, const QString& path, int mode,
                   const ExportContext& context);

// "Times hh_mm_ss - MM_DD_YYYY" + ".htm" for HTML, else ".txt".
QString ExportFileName(const QDateTime& now, int mode);

// Asks where to save, then writes; a file that cannot be written is reported.
void ExportTimes(Dialogs& dialogs, const Results& results, int mode, const ExportContext& context);

} // namespace tarvex
