#pragma once

#include <QList>
#include <QString>
#include <vector>

struct Participant
{
    QString name;
    quint32 address = 0; // 0: logged out
    QString version;
};

// The participants found on the LAN, indexed from 1 in the order they were met.
// Entries are never removed or reordered: a logout blanks one, a new start from
// the same machine appends another. The table has a cap so that a flood of start
// requests from made-up addresses cannot grow it without bound.
class ParticipantTable
{
public:
    static constexpr int Cap = 1024;

    enum class Outcome
    {
        Added,
        Known,
        Full
    };

    // The index of the live entry of address, 0 when there is none.
    int find(quint32 address) const;
    // Appends when the address is new; a known address keeps its old name and version.
    Outcome addOrKeep(const QString &name, const QString &version, quint32 address);
    // Blanks the entry of address; false when there is none.
    bool logout(quint32 address);

    int last() const { return int(m_entries.size()); }
    const Participant &at(int index) const { return m_entries.at(std::size_t(index - 1)); }
    // Indexes of the entries with a name, the ones lists show.
    QList<int> listed() const;

private:
    std::vector<Participant> m_entries;
};
