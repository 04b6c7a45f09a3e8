#pragma once

#include <QHBoxLayout>
#include <QPushButton>
#include <initializer_list>

// A dialog button found by its objectName, as the tests and the hotkeys look for it.
inline QPushButton *namedButton(const char *name, const QString &caption, QWidget *parent = nullptr)
{
    auto *button = new QPushButton(caption, parent);
    button->setObjectName(QLatin1String(name));
    return button;
}

// A button Enter does not press: Enter belongs to the dialog's default button.
inline QPushButton *plainButton(const char *name, const QString &caption, QWidget *parent = nullptr)
{
    auto *button = namedButton(name, caption, parent);
    button->setAutoDefault(false);
    return button;
}

// The row of a dialog's closing buttons, kept to the right.
inline QHBoxLayout *buttonRow(std::initializer_list<QWidget *> buttons)
{
    auto *row = new QHBoxLayout;
    row->addStretch(1);
    for (QWidget *button : buttons)
        row->addWidget(button);
    return row;
}
