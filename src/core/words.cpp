#include "words.h"

std::optional<QStringList> splitQuotedWords(const QString &text, bool backslashEscapes)
{
    QStringList words;
    QString word;
    bool inWord = false;
    bool quoted = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (backslashEscapes && c == u'\\' && i + 1 < text.size()) {
            word += text.at(++i);
            inWord = true;
        } else if (c == u'"') {
            quoted = !quoted;
            inWord = true;
        } else if (c.isSpace() && !quoted) {
            if (inWord)
                words << word;
            word.clear();
            inWord = false;
        } else {
            word += c;
            inWord = true;
        }
    }
    if (quoted)
        return std::nullopt;
    if (inWord)
        words << word;
    return words;
}
