#include "participants.h"

int ParticipantTable::find(quint32 address) const
{
    if (address == 0)
        return 0;
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        if (m_entries[i].address == address)
            return int(i) + 1;
    }
    return 0;
}

ParticipantTable::Outcome ParticipantTable::addOrKeep(const QString &name, const QString &version,
                                                      quint32 address)
{
    if (address == 0 || find(address) != 0)
        return Outcome::Known;
    if (last() >= Cap)
        return Outcome::Full;
    m_entries.push_back({name, address, version});
    return Outcome::Added;
}

bool ParticipantTable::logout(quint32 address)
{
    const int index = find(address);
    if (index == 0)
        return false;
    Participant &p = m_entries[std::size_t(index - 1)];
    p.address = 0;
    p.name.clear();
    return true;
}

QList<int> ParticipantTable::listed() const
{
    QList<int> indexes;
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        if (!m_entries[i].name.isEmpty())
            indexes.append(int(i) + 1);
    }
    return indexes;
}
