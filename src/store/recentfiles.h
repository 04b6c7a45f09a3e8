#pragma once

#include <QString>
#include <QStringList>

// Pinboard.dt2: the sound files and the files to open that the user chose
// recently, newest first, offered again by the file choosers. CP932 text, one
// "S<TAB>path" or "O<TAB>path" line each, CR LF line ends.
class RecentFiles
{
public:
    enum Kind : char
    {
        Sound = 'S',
        OpenFile = 'O'
    };
    static constexpr int MaxPerKind = 16;

    // Lines that are not of the form above are skipped; a missing file is an empty list.
    static RecentFiles load(const QString &path);
    bool save(const QString &path, QString *error = nullptr) const;

    QStringList list(Kind kind) const;
    // Puts path first in its list, once, dropping the oldest past MaxPerKind.
    void add(Kind kind, const QString &path);

private:
    QStringList m_sound;
    QStringList m_open;
};
