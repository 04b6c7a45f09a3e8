#pragma once

#include <QString>
#include <QStringList>
#include <optional>

// Every message the user sees goes through a Prompt: the widget one shows boxes,
// a scripted one answers from a queue in tests.
class Prompt
{
public:
    // The program's own title for boxes that name none.
    static QString defaultTitle();

    virtual ~Prompt() = default;
    virtual void inform(const QString &text, const QString &title = defaultTitle()) = 0;
    virtual void warn(const QString &text, const QString &title = defaultTitle()) = 0;
    // Yes/No question; true for Yes.
    virtual bool ask(const QString &text, const QString &title = defaultTitle()) = 0;
    // A question whose Yes loses something (an edit, a tag, a person): Enter answers No.
    virtual bool askDestructive(const QString &text, const QString &title = defaultTitle())
    {
        return ask(text, title);
    }
    // Input box; nullopt when cancelled.
    virtual std::optional<QString> askText(const QString &text, const QString &title,
                                           const QString &initial = {}) = 0;
};
