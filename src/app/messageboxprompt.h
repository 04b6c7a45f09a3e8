#pragma once

#include "prompt.h"

// Message boxes on screen; each text is also written to the diagnostic output
// so what the user was told can be read from a terminal.
class MessageBoxPrompt final : public Prompt
{
public:
    void inform(const QString &text, const QString &title = defaultTitle()) override;
    void warn(const QString &text, const QString &title = defaultTitle()) override;
    bool ask(const QString &text, const QString &title = defaultTitle()) override;
    bool askDestructive(const QString &text, const QString &title = defaultTitle()) override;
    std::optional<QString> askText(const QString &text, const QString &title,
                                   const QString &initial = {}) override;
};
