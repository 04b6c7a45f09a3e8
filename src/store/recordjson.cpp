#include "recordjson.h"

#include "cp932.h"
#include "oledate.h"

#include <QJsonArray>
#include <cmath>

namespace {
QJsonValue elementToJson(const FixedRecord &r, int field, int index)
{
    switch (r.layout()[field].type) {
    case FieldType::Byte: return r.byte(field, index);
    case FieldType::Integer: return r.integer(field, index);
    case FieldType::Long: return r.longValue(field, index);
    case FieldType::Date: return OleDate::format(r.date(field));
    case FieldType::Text: return r.text(field, index);
    case FieldType::Pad: break;
    }
    return {};
}

bool elementFromJson(const QJsonValue &v, FixedRecord &r, int field, int index, QString *error)
{
    const FieldDef &f = r.layout()[field];
    const QString name = QString::fromLatin1(f.name);
    auto fail = [&](const QString &why) {
        *error = QStringLiteral("%1: %2").arg(name, why);
        return false;
    };
    if (f.type == FieldType::Text || f.type == FieldType::Date) {
        if (!v.isString())
            return fail(QStringLiteral("expected a string"));
        const QString s = v.toString();
        if (f.type == FieldType::Date) {
            const QDateTime dt = OleDate::parse(s);
            if (!dt.isValid())
                return fail(QStringLiteral("\"%1\" is not a date of the form yyyy/mm/dd hh:nn:ss").arg(s));
            r.setDate(field, dt);
            return true;
        }
        // A NUL ends the text when the field is read back.
        if (s.contains(QChar(0)))
            return fail(QStringLiteral("a text field cannot hold a NUL character"));
        if (!Cp932::canEncode(s))
            return fail(QStringLiteral("\"%1\" has a character that CP932 cannot hold").arg(s));
        const qsizetype bytes = Cp932::byteLength(s);
        if (bytes > f.length)
            return fail(QStringLiteral("%1 bytes in CP932, the field holds %2").arg(bytes).arg(f.length));
        r.setText(field, s, index);
        return true;
    }
    if (!v.isDouble())
        return fail(QStringLiteral("expected a number"));
    const double d = v.toDouble();
    const double lo = f.type == FieldType::Byte ? 0 : f.type == FieldType::Integer ? -32768 : -2147483648.0;
    const double hi = f.type == FieldType::Byte ? 255 : f.type == FieldType::Integer ? 32767 : 2147483647.0;
    if (d != std::floor(d) || d < lo || d > hi)
        return fail(QStringLiteral("%1 is not a whole number from %2 to %3").arg(d).arg(lo).arg(hi, 0, 'f', 0));
    if (f.type == FieldType::Byte)
        r.setByte(field, int(d), index);
    else if (f.type == FieldType::Integer)
        r.setInteger(field, int(d), index);
    else
        r.setLong(field, qint32(d), index);
    return true;
}
} // namespace

QJsonObject recordToJson(const FixedRecord &record)
{
    QJsonObject out;
    const Layout layout = record.layout();
    for (int i = 0; i < int(layout.size()); ++i) {
        const FieldDef &f = layout[i];
        if (f.type == FieldType::Pad)
            continue;
        if (f.count == 1) {
            out.insert(QLatin1String(f.name), elementToJson(record, i, 0));
            continue;
        }
        QJsonArray array;
        for (int e = 0; e < f.count; ++e)
            array.append(elementToJson(record, i, e));
        out.insert(QLatin1String(f.name), array);
    }
    return out;
}

bool recordFromJson(const QJsonObject &object, FixedRecord &record, QString *error)
{
    const Layout layout = record.layout();
    for (auto it = object.begin(); it != object.end(); ++it) {
        int field = -1;
        for (int i = 0; i < int(layout.size()); ++i)
            if (layout[i].type != FieldType::Pad && it.key() == QLatin1String(layout[i].name))
                field = i;
        if (field < 0) {
            *error = QStringLiteral("%1: no such field").arg(it.key());
            return false;
        }
        const FieldDef &f = layout[field];
        if (f.count == 1) {
            if (!elementFromJson(it.value(), record, field, 0, error))
                return false;
            continue;
        }
        const QJsonArray array = it.value().toArray();
        if (!it.value().isArray() || array.size() != f.count) {
            *error = QStringLiteral("%1: expected an array of %2").arg(it.key()).arg(f.count);
            return false;
        }
        for (int e = 0; e < f.count; ++e)
            if (!elementFromJson(array[e], record, field, e, error))
                return false;
    }
    return true;
}
