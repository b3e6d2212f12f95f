#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

namespace tarvex {

// A 32-bit time as the results write it before formatting: up to seven significant digits,
// no trailing zeros ("95.2", "83.456", "3600").
QString SingleText(float value);

// Seconds as "mm:ss.hh". The hundredths are cut from the decimal text, never rounded, and
// anything from 9000 s up is "--:--.--" (not finished), as is anything that is no time (NaN,
// negative).
QString FormatRaceTime(float seconds);

// "True" / "False", as results print booleans.
QString BoolText(bool value);

// "hh:mm:ss - mm/dd/yyyy" on the 24-hour clock.
QString StartTimeText(const QDateTime& time);

// Text files of the results are ANSI (windows-1252); a character that code page lacks
// becomes "?".
QByteArray ToAnsi(const QString& text);

} // namespace tarvex
