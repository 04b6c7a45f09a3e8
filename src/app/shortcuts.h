#pragma once

#include <QString>
#include <QStringList>

class Prompt;

// The three shortcuts of the program, as desktop entries in the freedesktop
// places: the autostart folder, the applications menu and the desktop.
class Shortcuts
{
public:
    enum Place
    {
        StartUp,
        Programs,
        Desktop
    };
    static constexpr int Places = 3;

    struct Folders
    {
        QString autostart;    // $XDG_CONFIG_HOME/autostart
        QString applications; // $XDG_DATA_HOME/applications
        QString desktop;      // xdg-user-dir DESKTOP
    };
    // This user's folders, from the XDG variables and user-dirs.dirs.
    static Folders userFolders();

    // command: the program and its arguments, as the entry starts it.
    Shortcuts(Folders folders, QStringList command);

    static constexpr const char *FileName = "pinboard.desktop";
    QString path(Place place) const;
    bool exists(Place place) const;

    // The objectName of the menu entry and its caption now.
    static QString menuName(Place place);
    QString caption(Place place) const;

    // The menu entry: makes the shortcut, or removes it while there is one, and
    // tells the user which.
    void toggle(Place place, Prompt &prompt);
    bool create(Place place, QString *error = nullptr);
    bool remove(Place place);

    // The text of the entry written for place.
    QByteArray desktopEntry(Place place) const;
    // One argument as the Exec key of a desktop entry wants it.
    static QString execArgument(const QString &arg);

private:
    Folders m_folders;
    QStringList m_command;
};
