#pragma once

#include "envrecord.h"
#include "settings.h"
#include "tagstore.h"

#include <QTemporaryDir>

#include <memory>

// A data file of its own in a fresh temporary folder, record 1 as a new one.
struct TempStore
{
    QTemporaryDir dir;
    TagStore store{dir.filePath(QStringLiteral("Pinboard.dt1"))};
    std::unique_ptr<Settings> loaded;

    TempStore()
    {
        if (!store.writeEnv(EnvRecord()))
            qFatal("cannot write %s", qPrintable(store.file().path()));
    }
    QString path(const QString &name) const { return dir.filePath(name); }
    // Record 1 as it stands now, for the object about to be made.
    Settings &settings()
    {
        loaded = std::make_unique<Settings>(store);
        loaded->load();
        return *loaded;
    }
};
