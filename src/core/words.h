#pragma once

#include <QStringList>
#include <optional>

// Blank-separated words; a double-quoted part belongs to one word and loses its
// quotes. With backslashEscapes a backslash takes the next character literally
// (desktop Exec lines); without, it is an ordinary character (Windows paths).
// nullopt when a quote is left open.
std::optional<QStringList> splitQuotedWords(const QString &text, bool backslashEscapes);
