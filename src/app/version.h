#pragma once

#include <QDialog>
#include <QStringList>

// The window Version: what this program is, what it runs on and where its data is.
class Version : public QDialog
{
    Q_OBJECT
public:
    explicit Version(const QString &dataDir, QWidget *parent = nullptr);

    // Its lines: program version, Qt version, data folder, build date.
    static QStringList lines(const QString &dataDir);
    // The compiler's build date ("Nov 24 2026") as "2026/11/24".
    static QString buildDate(const char *compilerDate);
};
