#include "results/TimeText.h"

#include <cmath>

namespace tarvex {

namespace {

// windows-1252 0x80..0x9F; 0 marks the five unassigned bytes.
constexpr char16_t kHighControls[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178,
};

} // namespace

QString SingleText(float value) {
    return QString::number(double(value), 'g', 7);
}

QString FormatRaceTime(float seconds) {
    const double x = seconds;
    // What is no time at all (NaN, infinities, negative times) shows as not finished, so the
    // conversions below only ever see 0 <= x < 9000.
    if (!(x >= 0) || x >= 9000) {
        return QStringLiteral("--:--.--");
    }
    // The text of a tiny value is in exponent form ("1e-05"); cut to hundredths it is zero.
    if (x < 0.01) {
        return QStringLiteral("00:00.00");
    }
    // The two characters after the integer digits and the decimal point of the text.
    const QString text = SingleText(seconds);
    const int start = x < 10 ? 3 : x < 100 ? 4 : x < 1000 ? 5 : x < 10000 ? 6 : 7;
    QString hundredths = text.mid(start - 1, 2);
    if (hundredths.isEmpty()) {
        hundredths = QStringLiteral("00");
    } else if (hundredths.size() == 1) {
        hundredths += QLatin1Char('0');
    }
    const double minutes = std::trunc(x / 60);
    const double whole_seconds = std::trunc(x - minutes * 60);
    return QStringLiteral("%1:%2.%3")
        .arg(qint64(minutes), 2, 10, QLatin1Char('0'))
        .arg(qint64(whole_seconds), 2, 10, QLatin1Char('0'))
        .arg(hundredths);
}

QString BoolText(bool value) {
    return value ? QStringLiteral("True") : QStringLiteral("False");
}

QString StartTimeText(const QDateTime& time) {
    return time.toString(QStringLiteral("HH:mm:ss - MM/dd/yyyy"));
}

QByteArray ToAnsi(const QString& text) {
    QByteArray bytes;
    bytes.reserve(text.size());
    for (const QChar c : text) {
        const char16_t code = c.unicode();
        if (code < 0x80 || (code >= 0xA0 && code <= 0xFF)) {
            bytes.append(char(code));
            continue;
        }
        char byte = '?';
        for (int i = 0; i < 32; ++i) {
            if (kHighControls[i] != 0 && kHighControls[i] == code) {
                byte = char(0x80 + i);
                break;
            }
        }
        bytes.append(byte);
    }
    return bytes;
}

} // namespace tarvex
