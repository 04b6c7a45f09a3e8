#pragma once

#include <QString>
#include <QStringList>
#include <optional>

// Where the data files live. In order: the folder given with --data DIR, the
// one in PINBOARD_DATA, the executable's own folder when a file named
// "portable" lies there, else the user's data folder.
struct DataLocation
{
    enum Source
    {
        Option,
        Environment,
        Portable,
        User
    };
    QString dir;
    Source source = User;
};

inline constexpr const char *PortableMarker = "portable";
inline constexpr const char *DataVariable = "PINBOARD_DATA";

// Takes "--data DIR" or "--data=DIR" out of args. nullopt when there is none;
// an empty string, with error set, when the option has no folder.
std::optional<QString> takeDataOption(QStringList &args, QString *error = nullptr);

DataLocation resolveDataLocation(const std::optional<QString> &option, const QString &variable,
                                 const QString &exeDir, const QString &userDir);

// The user's data folder of this platform (~/.local/share/Pinboard on Linux).
QString userDataDir();
// resolveDataLocation with PINBOARD_DATA, the running executable and userDataDir().
DataLocation resolveDataLocation(const std::optional<QString> &option);
