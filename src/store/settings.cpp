#include "settings.h"

#include "tagstore.h"

Settings::Settings(const TagStore &store, QObject *parent) : QObject(parent), m_store(store) {}

bool Settings::load(QString *error)
{
    const auto env = m_store.readEnv(error);
    if (!env)
        return false;
    m_env = *env;
    return true;
}

void Settings::reset(const EnvRecord &env)
{
    m_env = env;
}

QString Settings::change(const std::function<void(EnvRecord &)> &edit)
{
    QString error;
    auto env = m_store.readEnv(&error);
    if (!env)
        return error;
    edit(*env);
    if (!m_store.writeEnv(*env, &error))
        return error;
    m_env = *env;
    Q_EMIT changed();
    return {};
}
