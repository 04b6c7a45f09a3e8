#pragma once

#include "prompt.h"

#include <QList>

// Records every text shown and answers questions from queues; an empty queue
// answers No / cancel.
class ScriptedPrompt final : public Prompt
{
public:
    void inform(const QString &text, const QString &title = defaultTitle()) override;
    void warn(const QString &text, const QString &title = defaultTitle()) override;
    bool ask(const QString &text, const QString &title = defaultTitle()) override;
    bool askDestructive(const QString &text, const QString &title = defaultTitle()) override;
    std::optional<QString> askText(const QString &text, const QString &title,
                                   const QString &initial = {}) override;

    QStringList shown;  // every text, in order
    QStringList titles; // the title of each
    QList<bool> answers;
    QList<int> noByDefault; // indexes into shown of the questions Enter answers No
    QList<std::optional<QString>> textAnswers;
};
