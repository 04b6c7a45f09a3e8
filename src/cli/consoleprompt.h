#pragma once

#include "prompt.h"

#include <QStringList>

// No one answers at a console: texts are kept for the command to print, every
// question is answered No and every input box cancelled.
class ConsolePrompt final : public Prompt
{
public:
    void inform(const QString &text, const QString &title = defaultTitle()) override;
    void warn(const QString &text, const QString &title = defaultTitle()) override;
    bool ask(const QString &text, const QString &title = defaultTitle()) override;
    std::optional<QString> askText(const QString &text, const QString &title,
                                   const QString &initial = {}) override;

    const QStringList &texts() const { return m_texts; }

private:
    QStringList m_texts;
};
