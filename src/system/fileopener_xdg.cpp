#include "fileopener.h"
#include "words.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QMimeDatabase>
#include <QProcess>
#include <QSet>
#include <QStandardPaths>

#include <algorithm>
#include <optional>

// The desktop's own answer to "which program opens this": the MIME type from the
// shared MIME database, the default application from the mimeapps.list files and
// mimeinfo.cache, read here directly so nothing waits on a child process.
namespace {

using IniGroup = QHash<QString, QString>;
using IniFile = QHash<QString, IniGroup>;

// Desktop entries and mimeapps.list share this syntax; QSettings would take ';' as a comment.
IniFile readIni(const QString &fileName)
{
    IniFile out;
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return out;
    QString group;
    const QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    for (const QString &raw : lines) {
        const QString line = raw.trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        if (line.startsWith(QLatin1Char('[')) && line.endsWith(QLatin1Char(']'))) {
            group = line.mid(1, line.size() - 2);
            out[group];
            continue;
        }
        const qsizetype eq = line.indexOf(QLatin1Char('='));
        if (group.isEmpty() || eq <= 0)
            continue;
        IniGroup &values = out[group];
        const QString key = line.left(eq).trimmed();
        if (!values.contains(key))
            values.insert(key, line.mid(eq + 1).trimmed());
    }
    return out;
}

QString entryValue(const IniFile &ini, const QString &group, const QString &key)
{
    return ini.value(group).value(key);
}

// The string escapes of a desktop entry value.
QString unescape(const QString &value)
{
    QString out;
    out.reserve(value.size());
    for (qsizetype i = 0; i < value.size(); ++i) {
        const QChar c = value.at(i);
        if (c != QLatin1Char('\\') || i + 1 == value.size()) {
            out += c;
            continue;
        }
        switch (value.at(++i).unicode()) {
        case 's':
            out += QLatin1Char(' ');
            break;
        case 'n':
            out += QLatin1Char('\n');
            break;
        case 't':
            out += QLatin1Char('\t');
            break;
        case 'r':
            out += QLatin1Char('\r');
            break;
        case '\\':
            out += QLatin1Char('\\');
            break;
        default: // keep the backslash: the Exec quoting rules still need it
            out += c;
            out += value.at(i);
        }
    }
    return out;
}

QStringList splitList(const QString &value)
{
    QStringList ids;
    const QStringList parts = value.split(QLatin1Char(';'), Qt::SkipEmptyParts);
    for (const QString &part : parts) {
        const QString id = part.trimmed();
        if (!id.isEmpty())
            ids << id;
    }
    return ids;
}

// %f %F %u %U become the file, %% a percent sign; the other field codes go, and so
// does a word made of nothing else. No file code at all: the file goes last, so
// the program still gets it.
QStringList expandFieldCodes(const QStringList &words, const QString &file)
{
    QStringList out;
    bool fileGiven = false;
    for (qsizetype w = 0; w < words.size(); ++w) {
        const QString &word = words.at(w);
        if (w == 0) {
            out << word;
            continue;
        }
        QString expanded;
        for (qsizetype i = 0; i < word.size(); ++i) {
            if (word.at(i) != QLatin1Char('%') || i + 1 == word.size()) {
                expanded += word.at(i);
                continue;
            }
            const char16_t code = word.at(++i).unicode();
            if (code == u'f' || code == u'F' || code == u'u' || code == u'U') {
                expanded += file;
                fileGiven = true;
            } else if (code == u'%') {
                expanded += QLatin1Char('%');
            }
        }
        if (!expanded.isEmpty() || word.isEmpty())
            out << expanded;
    }
    if (!fileGiven)
        out << file;
    return out;
}

struct XdgDirs
{
    QStringList config;   // $XDG_CONFIG_HOME, then $XDG_CONFIG_DIRS
    QStringList data;     // $XDG_DATA_HOME, then $XDG_DATA_DIRS
    QStringList desktops; // $XDG_CURRENT_DESKTOP, lower case
};

QString homeDir(const char *variable, const QString &fallback)
{
    const QString dir = qEnvironmentVariable(variable);
    return QDir::isAbsolutePath(dir) ? dir : QDir::homePath() + fallback;
}

QStringList dirList(const char *variable, const QStringList &fallback)
{
    QStringList dirs;
    const QStringList parts =
        qEnvironmentVariable(variable).split(QLatin1Char(':'), Qt::SkipEmptyParts);
    for (const QString &part : parts) {
        if (QDir::isAbsolutePath(part))
            dirs << part;
    }
    return dirs.isEmpty() ? fallback : dirs;
}

XdgDirs currentDirs()
{
    XdgDirs dirs;
    dirs.config << homeDir("XDG_CONFIG_HOME", QStringLiteral("/.config"))
                << dirList("XDG_CONFIG_DIRS", {QStringLiteral("/etc/xdg")});
    dirs.data << homeDir("XDG_DATA_HOME", QStringLiteral("/.local/share"))
              << dirList("XDG_DATA_DIRS",
                         {QStringLiteral("/usr/local/share"), QStringLiteral("/usr/share")});
    const QStringList desktops =
        qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(QLatin1Char(':'), Qt::SkipEmptyParts);
    for (const QString &desktop : desktops)
        dirs.desktops << desktop.toLower();
    return dirs;
}

QStringList applicationDirs(const XdgDirs &dirs)
{
    QStringList out;
    for (const QString &dir : dirs.data)
        out << dir + QStringLiteral("/applications");
    return out;
}

// A desktop file id names subdirectories with '-': "kde-foo.desktop" may be kde/foo.desktop.
QString findDesktopFile(const QString &dir, const QString &id)
{
    const QString direct = dir + QLatin1Char('/') + id;
    if (QFileInfo(direct).isFile())
        return direct;
    for (qsizetype dash = id.indexOf(QLatin1Char('-')); dash > 0;
         dash = id.indexOf(QLatin1Char('-'), dash + 1)) {
        const QString sub = dir + QLatin1Char('/') + id.left(dash);
        if (!QFileInfo(sub).isDir())
            continue;
        const QString found = findDesktopFile(sub, id.mid(dash + 1));
        if (!found.isEmpty())
            return found;
    }
    return {};
}

bool isRunnable(const QString &program)
{
    if (QDir::isAbsolutePath(program)) {
        const QFileInfo info(program);
        return info.isFile() && info.isExecutable();
    }
    return !QStandardPaths::findExecutable(program).isEmpty();
}

struct Application
{
    QString exec;    // unescaped, field codes still in
    QString workDir; // Path=, may be empty
    bool terminal = false;
};

// The first file found for the id stands for it, even when it hides the application.
std::optional<Application> installedApplication(const QString &id, const QStringList &appDirs)
{
    if (!id.endsWith(QLatin1String(".desktop")) || id.contains(QLatin1Char('/')))
        return std::nullopt;
    for (const QString &dir : appDirs) {
        const QString file = findDesktopFile(dir, id);
        if (file.isEmpty())
            continue;
        const IniFile ini = readIni(file);
        const QString group = QStringLiteral("Desktop Entry");
        if (entryValue(ini, group, QStringLiteral("Type")) != QLatin1String("Application") ||
            entryValue(ini, group, QStringLiteral("Hidden")) == QLatin1String("true"))
            return std::nullopt;
        const QString tryExec = unescape(entryValue(ini, group, QStringLiteral("TryExec")));
        if (!tryExec.isEmpty() && !isRunnable(tryExec))
            return std::nullopt;
        Application app;
        app.exec = unescape(entryValue(ini, group, QStringLiteral("Exec")));
        app.workDir = unescape(entryValue(ini, group, QStringLiteral("Path")));
        app.terminal = entryValue(ini, group, QStringLiteral("Terminal")) == QLatin1String("true");
        return app;
    }
    return std::nullopt;
}

struct Declared
{
    QString id;
    QStringList types;
};

// What the desktop files themselves say they open: the last resort, for systems where
// mimeinfo.cache was never built.
QList<Declared> declaredTypes(const QStringList &appDirs)
{
    QList<Declared> out;
    for (const QString &dir : appDirs) {
        QStringList files;
        QDirIterator it(dir, {QStringLiteral("*.desktop")}, QDir::Files,
                        QDirIterator::Subdirectories);
        while (it.hasNext())
            files << it.next();
        files.sort();
        for (const QString &file : std::as_const(files)) {
            const QStringList types = splitList(entryValue(
                readIni(file), QStringLiteral("Desktop Entry"), QStringLiteral("MimeType")));
            if (!types.isEmpty())
                out << Declared{
                    QDir(dir).relativeFilePath(file).replace(QLatin1Char('/'), QLatin1Char('-')),
                    types};
        }
    }
    return out;
}

struct Source
{
    QString file;
    bool cache = false; // mimeinfo.cache: lowest precedence within its directory
};

QList<Source> associationSources(const XdgDirs &dirs)
{
    QList<Source> sources;
    const auto addLists = [&](const QString &dir) {
        for (const QString &desktop : dirs.desktops)
            sources << Source{dir + QLatin1Char('/') + desktop + QStringLiteral("-mimeapps.list")};
        sources << Source{dir + QStringLiteral("/mimeapps.list")};
    };
    for (const QString &dir : dirs.config)
        addLists(dir);
    for (const QString &dir : applicationDirs(dirs)) {
        addLists(dir);
        sources << Source{dir + QStringLiteral("/defaults.list")};
        sources << Source{dir + QStringLiteral("/mimeinfo.cache"), true};
    }
    return sources;
}

std::optional<Application> defaultApplication(const QMimeType &type)
{
    const XdgDirs dirs = currentDirs();
    const QStringList appDirs = applicationDirs(dirs);
    const QList<Source> sources = associationSources(dirs);
    QHash<QString, IniFile> files;
    const auto load = [&files](const QString &name) -> const IniFile & {
        auto it = files.find(name);
        if (it == files.end())
            it = files.insert(name, readIni(name));
        return *it;
    };

    std::optional<QList<Declared>> declared;

    QMimeDatabase db;
    QStringList chain{type.name()};
    // Every type descends from octet-stream; a program for "any file" is no association.
    const QStringList ancestors = type.allAncestors();
    for (const QString &ancestor : ancestors) {
        if (ancestor != QLatin1String("application/octet-stream"))
            chain << ancestor;
    }

    for (const QString &mime : chain) {
        const QStringList names = QStringList{mime} + db.mimeTypeForName(mime).aliases();
        for (const Source &source : sources) {
            if (source.cache)
                continue;
            for (const QString &name : names) {
                const QStringList ids = splitList(
                    entryValue(load(source.file), QStringLiteral("Default Applications"), name));
                for (const QString &id : ids) {
                    if (auto app = installedApplication(id, appDirs))
                        return app;
                }
            }
        }
        // A removal hides the association in its own file and in those of lower precedence.
        QSet<QString> removed;
        for (const Source &source : sources) {
            const IniFile &ini = load(source.file);
            QStringList ids;
            for (const QString &name : names) {
                if (source.cache) {
                    ids << splitList(entryValue(ini, QStringLiteral("MIME Cache"), name));
                    continue;
                }
                const QStringList gone =
                    splitList(entryValue(ini, QStringLiteral("Removed Associations"), name));
                for (const QString &id : gone)
                    removed.insert(id);
                ids << splitList(entryValue(ini, QStringLiteral("Added Associations"), name));
            }
            for (const QString &id : std::as_const(ids)) {
                if (removed.contains(id))
                    continue;
                if (auto app = installedApplication(id, appDirs))
                    return app;
            }
        }
        if (!declared)
            declared = declaredTypes(appDirs);
        for (const Declared &entry : std::as_const(*declared)) {
            const bool named = std::any_of(names.begin(), names.end(), [&](const QString &name) {
                return entry.types.contains(name);
            });
            if (!named || removed.contains(entry.id))
                continue;
            if (auto app = installedApplication(entry.id, appDirs))
                return app;
        }
    }
    return std::nullopt;
}

std::optional<Application> applicationFor(const QFileInfo &file)
{
    return defaultApplication(QMimeDatabase().mimeTypeForFile(file));
}

} // namespace

int openWithAssociation(const QString &path)
{
    const QFileInfo file(path);
    if (path.isEmpty() || !file.exists())
        return OpenCode::FileNotFound;
    if (!file.isReadable())
        return OpenCode::AccessDenied;
    const std::optional<Application> app = applicationFor(file);
    if (!app)
        return OpenCode::NoAssociation;
    const std::optional<QStringList> words = splitQuotedWords(app->exec, true);
    if (!words || words->isEmpty())
        return OpenCode::AssociationIncomplete;
    QStringList command = expandFieldCodes(*words, file.absoluteFilePath());
    if (app->terminal)
        command =
            QStringList{QStringLiteral("x-terminal-emulator"), QStringLiteral("-e")} + command;
    const QString program = command.takeFirst();
    const QString workDir = app->workDir.isEmpty() ? file.absolutePath() : app->workDir;
    return QProcess::startDetached(program, command, workDir) ? OpenCode::Opened
                                                              : OpenCode::AssociationIncomplete;
}

QString associatedProgram(const QString &path)
{
    const QFileInfo file(path);
    if (path.isEmpty() || !file.exists())
        return {};
    const std::optional<Application> app = applicationFor(file);
    if (!app)
        return {};
    const std::optional<QStringList> words = splitQuotedWords(app->exec, true);
    if (!words || words->isEmpty())
        return {};
    const QString found = QStandardPaths::findExecutable(words->first());
    return found.isEmpty() ? words->first() : found;
}
