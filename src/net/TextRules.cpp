#include "net/TextRules.h"

namespace tarvex {

QString OneLine(QString text) {
    for (QChar& c : text) {
        switch (c.category()) {
        case QChar::Other_Control:
        case QChar::Separator_Line:
        case QChar::Separator_Paragraph:
            c = u' ';
            break;
        default:
            break;
        }
    }
    return text;
}

QString Capped(QString text, int max_chars) {
    if (text.size() <= max_chars) {
        return text;
    }
    qsizetype cut = max_chars;
    if (cut > 0 && text[cut - 1].isHighSurrogate()) {
        --cut;
    }
    text.truncate(cut);
    return text;
}

} // namespace tarvex
