#include "messageboxprompt.h"

#include <QInputDialog>
#include <QMessageBox>

void MessageBoxPrompt::inform(const QString &text, const QString &title)
{
    qInfo().noquote() << title << ':' << text;
    QMessageBox::information(nullptr, title, text);
}

void MessageBoxPrompt::warn(const QString &text, const QString &title)
{
    qInfo().noquote() << title << ':' << text;
    QMessageBox::warning(nullptr, title, text);
}

bool MessageBoxPrompt::ask(const QString &text, const QString &title)
{
    qInfo().noquote() << title << ':' << text;
    const bool yes = QMessageBox::question(nullptr, title, text,
                                           QMessageBox::Yes | QMessageBox::No) == QMessageBox::Yes;
    qInfo().noquote() << title << ':' << (yes ? "Yes" : "No");
    return yes;
}

bool MessageBoxPrompt::askDestructive(const QString &text, const QString &title)
{
    qInfo().noquote() << title << ':' << text;
    const bool yes = QMessageBox::question(nullptr, title, text, QMessageBox::Yes | QMessageBox::No,
                                           QMessageBox::No) == QMessageBox::Yes;
    qInfo().noquote() << title << ':' << (yes ? "Yes" : "No");
    return yes;
}

std::optional<QString> MessageBoxPrompt::askText(const QString &text, const QString &title,
                                                 const QString &initial)
{
    qInfo().noquote() << title << ':' << text;
    bool ok = false;
    const QString answer =
        QInputDialog::getText(nullptr, title, text, QLineEdit::Normal, initial, &ok);
    return ok ? std::optional<QString>(answer) : std::nullopt;
}
