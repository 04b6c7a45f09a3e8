#include "shortcuts.h"

#include "prompt.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSaveFile>
#include <QStandardPaths>

namespace {
struct Texts
{
    const char16_t *add;
    const char16_t *remove;
    const char16_t *added;
    const char16_t *failed;
    const char16_t *removed;
};

const Texts PlaceTexts[Shortcuts::Places] = {
    {u"ｽﾀｰﾄｱｯﾌﾟに登録", u"ｽﾀｰﾄｱｯﾌﾟから削除",
     u"スタートアップに、Pinboardのショートカットを登録しました。",
     u"スタートアップの登録に失敗しました。", u"スタートアップから削除しました。"},
    {u"ﾌﾟﾛｸﾞﾗﾑﾒﾆｭｰに登録", u"ﾌﾟﾛｸﾞﾗﾑﾒﾆｭｰから削除",
     u"プログラムメニューに、Pinboardのショートカットを登録しました。",
     u"プログラムメニューのショートカット登録に失敗しました。",
     u"プログラムメニューからショートカットを削除しました。"},
    {u"ﾃﾞｨｽｸﾄｯﾌﾟに登録", u"ﾃﾞｨｽｸﾄｯﾌﾟから削除",
     u"ディスクトップに、Pinboardのショートカットを登録しました。",
     u"ディスクトップのショートカット登録に失敗しました。",
     u"ディスクトップからショートカットを削除しました。"},
};

QString text(const char16_t *s)
{
    return QString::fromUtf16(s);
}
} // namespace

Shortcuts::Folders Shortcuts::userFolders()
{
    // QStandardPaths reads $XDG_CONFIG_HOME, $XDG_DATA_HOME and user-dirs.dirs
    // just as xdg-user-dir does.
    return {QDir(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation))
                .filePath(QStringLiteral("autostart")),
            QStandardPaths::writableLocation(QStandardPaths::ApplicationsLocation),
            QStandardPaths::writableLocation(QStandardPaths::DesktopLocation)};
}

Shortcuts::Shortcuts(Folders folders, QStringList command)
    : m_folders(std::move(folders)), m_command(std::move(command))
{
}

QString Shortcuts::path(Place place) const
{
    const QString &dir = place == StartUp    ? m_folders.autostart
                         : place == Programs ? m_folders.applications
                                             : m_folders.desktop;
    return QDir(dir).filePath(QLatin1String(FileName));
}

bool Shortcuts::exists(Place place) const
{
    return QFileInfo(path(place)).isFile();
}

QString Shortcuts::menuName(Place place)
{
    static const char *const Names[Places] = {"mnu_StartUp", "mnu_Program", "mnu_DiskTop"};
    return QString::fromLatin1(Names[place]);
}

QString Shortcuts::caption(Place place) const
{
    return text(exists(place) ? PlaceTexts[place].remove : PlaceTexts[place].add);
}

void Shortcuts::toggle(Place place, Prompt &prompt)
{
    if (exists(place)) {
        if (remove(place))
            prompt.inform(text(PlaceTexts[place].removed));
        return;
    }
    QString error;
    if (create(place, &error)) {
        prompt.inform(text(PlaceTexts[place].added));
    } else {
        qWarning().noquote() << "Pinboard:" << error;
        prompt.warn(text(PlaceTexts[place].failed));
    }
}

QString Shortcuts::execArgument(const QString &arg)
{
    static const QString Reserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
    QString escaped = arg;
    escaped.replace(u'%', QStringLiteral("%%"));
    bool quote = escaped.isEmpty();
    for (QChar c : std::as_const(escaped))
        quote = quote || Reserved.contains(c);
    if (!quote)
        return escaped;
    QString out;
    for (QChar c : std::as_const(escaped)) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
            out += u'\\';
        out += c;
    }
    // The value of a key unescapes backslashes once more.
    out.replace(u'\\', QStringLiteral("\\\\"));
    return u'"' + out + u'"';
}

QByteArray Shortcuts::desktopEntry(Place place) const
{
    QStringList exec;
    for (const QString &arg : m_command)
        exec << execArgument(arg);
    QString entry = QStringLiteral("[Desktop Entry]\n"
                                   "Type=Application\n"
                                   "Name=Pinboard\n"
                                   "GenericName=Sticky notes\n"
                                   "GenericName[ja]=付箋\n"
                                   "Comment=Sticky notes on the desktop, shared on the office LAN\n"
                                   "Comment[ja]=デスクトップの付箋。LANの仲間にも送れます\n"
                                   "Exec=%1\n"
                                   "Icon=pinboard\n"
                                   "Terminal=false\n"
                                   "Categories=Utility;\n")
                        .arg(exec.join(u' '));
    if (place == StartUp)
        entry += QStringLiteral("X-GNOME-Autostart-enabled=true\n");
    return entry.toUtf8();
}

bool Shortcuts::create(Place place, QString *error)
{
    const QString file = path(place);
    if (!QDir().mkpath(QFileInfo(file).path())) {
        if (error)
            *error = QStringLiteral("%1: cannot be made").arg(QFileInfo(file).path());
        return false;
    }
    QSaveFile out(file);
    if (!out.open(QIODevice::WriteOnly) || out.write(desktopEntry(place)) < 0 || !out.commit()) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(file, out.errorString());
        return false;
    }
    if (place == Desktop) {
        // Desktops start a launcher there only when it is executable, and GNOME's
        // only when it is marked trusted as well.
        QFile::setPermissions(file, QFile::permissions(file) | QFile::ExeOwner | QFile::ExeUser);
        const QString gio = QStandardPaths::findExecutable(QStringLiteral("gio"));
        if (!gio.isEmpty()) {
            // Where the desktop keeps no such metadata gio only complains.
            QProcess mark;
            mark.setProgram(gio);
            mark.setArguments({QStringLiteral("set"), file, QStringLiteral("metadata::trusted"),
                               QStringLiteral("true")});
            mark.setStandardOutputFile(QProcess::nullDevice());
            mark.setStandardErrorFile(QProcess::nullDevice());
            mark.startDetached();
        }
    }
    return true;
}

bool Shortcuts::remove(Place place)
{
    const QString file = path(place);
    if (QFile::remove(file) || !QFileInfo::exists(file))
        return true;
    qWarning().noquote() << "Pinboard:" << file << "cannot be removed";
    return false;
}
