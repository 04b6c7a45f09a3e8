#pragma once

#include "envrecord.h"

#include <QObject>
#include <functional>

class TagStore;

// The one owner of record 1. Readers take env(); writers go through change(),
// which reads the record afresh (the tag store keeps its counters there), applies
// the edit and writes it back, so no two windows overwrite each other's settings.
class Settings : public QObject
{
    Q_OBJECT
public:
    explicit Settings(const TagStore &store, QObject *parent = nullptr);

    // Reads record 1; false with the reason when it cannot be read.
    bool load(QString *error = nullptr);
    // Adopts a record already read or just created.
    void reset(const EnvRecord &env);

    const EnvRecord &env() const { return m_env; }

    // Empty when the edit was stored; otherwise why not, and nothing changed.
    [[nodiscard]] QString change(const std::function<void(EnvRecord &)> &edit);

Q_SIGNALS:
    void changed();

private:
    const TagStore &m_store;
    EnvRecord m_env;
};
