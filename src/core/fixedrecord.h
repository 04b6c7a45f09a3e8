#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <span>

// A fixed-layout binary record: numbers little-endian, texts CP932 padded with
// spaces, numeric fields aligned from the start of the record with zero bytes in
// between. A layout is a table of fields in offset order that covers every byte.

enum class FieldType
{
    Byte,
    Integer,
    Long,
    Date,
    Text,
    Pad
};

struct FieldDef
{
    const char *name; // as in dumps and docs; empty for Pad
    int offset;
    FieldType type;
    int length = 0; // bytes of one Text or Pad element
    int count = 1;  // elements of an array

    constexpr int elementSize() const
    {
        switch (type) {
        case FieldType::Byte:
            return 1;
        case FieldType::Integer:
            return 2;
        case FieldType::Long:
            return 4;
        case FieldType::Date:
            return 8;
        case FieldType::Text:
        case FieldType::Pad:
            return length;
        }
        return 0;
    }
    constexpr int size() const { return elementSize() * count; }
    constexpr int end() const { return offset + size(); }
};

using Layout = std::span<const FieldDef>;

// Empty when the layout is sound: fields in order without gap or overlap, numbers
// aligned, and the last field ending at size. Otherwise what is wrong.
QString checkLayout(Layout layout, int size);

// Raw little-endian access; offsets must lie inside bytes.
namespace LE {
qint16 int16(const QByteArray &bytes, int offset);
qint32 int32(const QByteArray &bytes, int offset);
double float64(const QByteArray &bytes, int offset);
void setInt16(QByteArray &bytes, int offset, qint16 value);
void setInt32(QByteArray &bytes, int offset, qint32 value);
void setFloat64(QByteArray &bytes, int offset, double value);
} // namespace LE

// The bytes of one record and typed access to its fields by index in the layout.
class FixedRecord
{
public:
    FixedRecord(Layout layout, int size);
    // A record over bytes read from a file, exactly the record's size.
    FixedRecord(Layout layout, QByteArray bytes) : m_layout(layout), m_bytes(std::move(bytes)) {}

    Layout layout() const { return m_layout; }
    const QByteArray &bytes() const { return m_bytes; }
    // Takes the first size() bytes; false when there are fewer.
    bool setBytes(const QByteArray &bytes);
    int size() const { return int(m_bytes.size()); }

    // Empty texts, zero numbers and pads, dates at 1900/01/01.
    void clear();

    int byte(int field, int index = 0) const;
    void setByte(int field, int value, int index = 0);
    int integer(int field, int index = 0) const;
    void setInteger(int field, int value, int index = 0);
    qint32 longValue(int field, int index = 0) const;
    void setLong(int field, qint32 value, int index = 0);
    QDateTime date(int field) const;
    void setDate(int field, const QDateTime &wallClock);
    double rawDate(int field) const;
    QString text(int field, int index = 0) const;
    // Cut to the field's width without splitting a double-byte character.
    void setText(int field, const QString &text, int index = 0);
    QByteArray rawText(int field, int index = 0) const;
    // The bytes of one element as they lie, whatever its type.
    QByteArray raw(int field, int index = 0) const;
    // bytes must be exactly one element long.
    void setRaw(int field, const QByteArray &bytes, int index = 0);

    bool operator==(const FixedRecord &other) const { return m_bytes == other.m_bytes; }

private:
    int at(int field, int index) const;

    Layout m_layout;
    QByteArray m_bytes;
};
