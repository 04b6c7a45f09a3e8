#include "fixedrecord.h"

#include "cp932.h"
#include "oledate.h"

#include <QtEndian>
#include <cstring>

QString checkLayout(Layout layout, int size)
{
    int expected = 0;
    for (const FieldDef &f : layout) {
        const QString name = QString::fromLatin1(f.name);
        if (f.offset != expected)
            return QStringLiteral("%1 starts at %2, expected %3")
                .arg(name)
                .arg(f.offset)
                .arg(expected);
        if (f.size() <= 0)
            return QStringLiteral("%1 has no bytes").arg(name);
        const int align = (f.type == FieldType::Integer)                             ? 2
                          : (f.type == FieldType::Long || f.type == FieldType::Date) ? 4
                                                                                     : 1;
        if (f.offset % align != 0)
            return QStringLiteral("%1 at %2 is not aligned to %3")
                .arg(name)
                .arg(f.offset)
                .arg(align);
        if (f.type != FieldType::Pad && std::strlen(f.name) == 0)
            return QStringLiteral("field at %1 has no name").arg(f.offset);
        expected = f.end();
    }
    if (expected != size)
        return QStringLiteral("layout ends at %1, record is %2 bytes").arg(expected).arg(size);
    return {};
}

namespace LE {
qint16 int16(const QByteArray &bytes, int offset)
{
    return qFromLittleEndian<qint16>(bytes.constData() + offset);
}
qint32 int32(const QByteArray &bytes, int offset)
{
    return qFromLittleEndian<qint32>(bytes.constData() + offset);
}
double float64(const QByteArray &bytes, int offset)
{
    const quint64 bits = qFromLittleEndian<quint64>(bytes.constData() + offset);
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}
void setInt16(QByteArray &bytes, int offset, qint16 value)
{
    qToLittleEndian(value, bytes.data() + offset);
}
void setInt32(QByteArray &bytes, int offset, qint32 value)
{
    qToLittleEndian(value, bytes.data() + offset);
}
void setFloat64(QByteArray &bytes, int offset, double value)
{
    quint64 bits;
    std::memcpy(&bits, &value, sizeof bits);
    qToLittleEndian(bits, bytes.data() + offset);
}
} // namespace LE

FixedRecord::FixedRecord(Layout layout, int size) : m_layout(layout), m_bytes(size, '\0')
{
    clear();
}

bool FixedRecord::setBytes(const QByteArray &bytes)
{
    if (bytes.size() < m_bytes.size())
        return false;
    m_bytes = bytes.first(m_bytes.size());
    return true;
}

void FixedRecord::clear()
{
    m_bytes.fill('\0');
    for (int i = 0; i < int(m_layout.size()); ++i) {
        const FieldDef &f = m_layout[i];
        if (f.type == FieldType::Text)
            std::memset(m_bytes.data() + f.offset, ' ', f.size());
        else if (f.type == FieldType::Date)
            setDate(i, OleDate::noDate());
    }
}

int FixedRecord::at(int field, int index) const
{
    const FieldDef &f = m_layout[field];
    Q_ASSERT(index >= 0 && index < f.count);
    return f.offset + index * f.elementSize();
}

int FixedRecord::byte(int field, int index) const
{
    return static_cast<unsigned char>(m_bytes[at(field, index)]);
}

void FixedRecord::setByte(int field, int value, int index)
{
    m_bytes[at(field, index)] = char(value & 0xFF);
}

int FixedRecord::integer(int field, int index) const
{
    return LE::int16(m_bytes, at(field, index));
}

void FixedRecord::setInteger(int field, int value, int index)
{
    LE::setInt16(m_bytes, at(field, index), qint16(value));
}

qint32 FixedRecord::longValue(int field, int index) const
{
    return LE::int32(m_bytes, at(field, index));
}

void FixedRecord::setLong(int field, qint32 value, int index)
{
    LE::setInt32(m_bytes, at(field, index), value);
}

QDateTime FixedRecord::date(int field) const
{
    return OleDate::toDateTime(rawDate(field));
}

void FixedRecord::setDate(int field, const QDateTime &wallClock)
{
    LE::setFloat64(m_bytes, at(field, 0), OleDate::fromDateTime(wallClock));
}

double FixedRecord::rawDate(int field) const
{
    return LE::float64(m_bytes, at(field, 0));
}

QString FixedRecord::text(int field, int index) const
{
    return Cp932::fromField(rawText(field, index));
}

void FixedRecord::setText(int field, const QString &text, int index)
{
    const int len = m_layout[field].length;
    const QByteArray bytes = Cp932::toField(text, len);
    std::memcpy(m_bytes.data() + at(field, index), bytes.constData(), len);
}

QByteArray FixedRecord::rawText(int field, int index) const
{
    return m_bytes.mid(at(field, index), m_layout[field].length);
}

QByteArray FixedRecord::raw(int field, int index) const
{
    return m_bytes.mid(at(field, index), m_layout[field].elementSize());
}

void FixedRecord::setRaw(int field, const QByteArray &bytes, int index)
{
    Q_ASSERT(bytes.size() == m_layout[field].elementSize());
    std::memcpy(m_bytes.data() + at(field, index), bytes.constData(), size_t(bytes.size()));
}
