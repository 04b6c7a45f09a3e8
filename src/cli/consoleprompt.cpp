#include "consoleprompt.h"

void ConsolePrompt::inform(const QString &text, const QString &)
{
    m_texts.append(text);
}

void ConsolePrompt::warn(const QString &text, const QString &)
{
    m_texts.append(text);
}

bool ConsolePrompt::ask(const QString &text, const QString &)
{
    m_texts.append(text);
    return false;
}

std::optional<QString> ConsolePrompt::askText(const QString &text, const QString &, const QString &)
{
    m_texts.append(text);
    return std::nullopt;
}
