#include "scriptedprompt.h"

void ScriptedPrompt::inform(const QString &text, const QString &title)
{
    shown << text;
    titles << title;
}

void ScriptedPrompt::warn(const QString &text, const QString &title)
{
    shown << text;
    titles << title;
}

bool ScriptedPrompt::ask(const QString &text, const QString &title)
{
    shown << text;
    titles << title;
    return answers.isEmpty() ? false : answers.takeFirst();
}

bool ScriptedPrompt::askDestructive(const QString &text, const QString &title)
{
    noByDefault << int(shown.size());
    return ask(text, title);
}

std::optional<QString> ScriptedPrompt::askText(const QString &text, const QString &title,
                                               const QString &)
{
    shown << text;
    titles << title;
    return textAnswers.isEmpty() ? std::nullopt : textAnswers.takeFirst();
}
