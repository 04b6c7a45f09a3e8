#include "recordjson.h"

#include "cp932.h"
#include "oledate.h"

#include <QJsonArray>

#include <cmath>
#include <optional>

namespace {
const QLatin1String BytesKey("bytes");

// Why text cannot be stored as it stands, or empty.
QString textProblem(const QString &text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c.unicode() == 0)
            return QStringLiteral("U+0000 cannot be stored in a text");
        if (c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            ++i;
            continue;
        }
        if (c.isSurrogate())
            return QStringLiteral("a lone surrogate (U+%1) is not a character")
                .arg(QString::number(c.unicode(), 16).toUpper());
    }
    if (!Cp932::canEncode(text))
        return QStringLiteral("%1 has a character that CP932 cannot hold")
            .arg(quotedForError(text));
    return {};
}

// {"bytes": hex} of exactly size bytes, or nullopt.
std::optional<QByteArray> escapedBytes(const QJsonValue &v, qsizetype size)
{
    const QJsonObject o = v.toObject();
    if (!v.isObject() || o.size() != 1 || !o.value(BytesKey).isString())
        return std::nullopt;
    const QString hex = o.value(BytesKey).toString();
    const auto decoded = QByteArray::fromHex(hex.toLatin1());
    if (hex.size() % 2 != 0 || decoded.toHex() != hex.toLatin1().toLower() ||
        (size >= 0 && decoded.size() != size))
        return std::nullopt;
    return decoded;
}

bool elementFromJson(const QJsonValue &v, FixedRecord &r, int field, int index, QString *error);

QJsonValue plainElementToJson(const FixedRecord &r, int field, int index)
{
    switch (r.layout()[field].type) {
    case FieldType::Byte:
        return r.byte(field, index);
    case FieldType::Integer:
        return r.integer(field, index);
    case FieldType::Long:
        return r.longValue(field, index);
    case FieldType::Date:
        return OleDate::format(r.date(field));
    case FieldType::Text:
        return r.text(field, index);
    case FieldType::Pad:
        break;
    }
    return {};
}

// The plain form when it gives back the same bytes, else the escaped one.
QJsonValue elementToJson(const FixedRecord &r, int field, int index)
{
    const QJsonValue plain = plainElementToJson(r, field, index);
    const FieldDef &f = r.layout()[field];
    bool same = true; // numbers always come back as they were
    if (f.type == FieldType::Text) {
        const QString text = plain.toString();
        same = textProblem(text).isEmpty() &&
               Cp932::toField(text, f.length) == r.rawText(field, index);
    } else if (f.type == FieldType::Date) {
        FixedRecord again = r;
        QString ignored;
        same = elementFromJson(plain, again, field, index, &ignored) &&
               again.raw(field, index) == r.raw(field, index);
    }
    if (same)
        return plain;
    return QJsonObject{{BytesKey, QString::fromLatin1(r.raw(field, index).toHex())}};
}

bool elementFromJson(const QJsonValue &v, FixedRecord &r, int field, int index, QString *error)
{
    const FieldDef &f = r.layout()[field];
    const QString name = QString::fromLatin1(f.name);
    auto fail = [&](const QString &why) {
        *error = QStringLiteral("%1: %2").arg(name, why);
        return false;
    };
    if (v.isObject()) {
        const auto raw = escapedBytes(v, f.elementSize());
        if (!raw)
            return fail(
                QStringLiteral("expected {\"bytes\": %1 hex digits}").arg(2 * f.elementSize()));
        r.setRaw(field, *raw, index);
        return true;
    }
    if (f.type == FieldType::Text || f.type == FieldType::Date) {
        if (!v.isString())
            return fail(QStringLiteral("expected a string"));
        const QString s = v.toString();
        if (f.type == FieldType::Date) {
            const QDateTime dt = OleDate::parse(s);
            if (!dt.isValid())
                return fail(QStringLiteral("%1 is not a date of the form yyyy/mm/dd hh:nn:ss")
                                .arg(quotedForError(s)));
            r.setDate(field, dt);
            return true;
        }
        const QString problem = textProblem(s);
        if (!problem.isEmpty())
            return fail(problem);
        const qsizetype bytes = Cp932::byteLength(s);
        if (bytes > f.length)
            return fail(
                QStringLiteral("%1 bytes in CP932, the field holds %2").arg(bytes).arg(f.length));
        r.setText(field, s, index);
        return true;
    }
    if (!v.isDouble())
        return fail(QStringLiteral("expected a number"));
    const double d = v.toDouble();
    const double lo = f.type == FieldType::Byte      ? 0
                      : f.type == FieldType::Integer ? -32768
                                                     : -2147483648.0;
    const double hi = f.type == FieldType::Byte      ? 255
                      : f.type == FieldType::Integer ? 32767
                                                     : 2147483647.0;
    if (d != std::floor(d) || d < lo || d > hi)
        return fail(QStringLiteral("%1 is not a whole number from %2 to %3")
                        .arg(d)
                        .arg(lo)
                        .arg(hi, 0, 'f', 0));
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
            *error = QStringLiteral("%1: no such field").arg(quotedForError(it.key()));
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

QJsonValue bytesToJson(const QByteArray &bytes)
{
    const QString text = Cp932::decode(bytes);
    if (Cp932::encode(text) == bytes && textProblem(text).isEmpty())
        return text;
    return QJsonObject{{BytesKey, QString::fromLatin1(bytes.toHex())}};
}

std::optional<QByteArray> bytesFromJson(const QJsonValue &value, QString *error)
{
    if (value.isObject()) {
        auto raw = escapedBytes(value, -1);
        if (!raw && error)
            *error = QStringLiteral("expected a string or {\"bytes\": hex digits}");
        return raw;
    }
    if (!value.isString()) {
        if (error)
            *error = QStringLiteral("expected a string");
        return std::nullopt;
    }
    const QString problem = textProblem(value.toString());
    if (!problem.isEmpty()) {
        if (error)
            *error = problem;
        return std::nullopt;
    }
    return Cp932::encode(value.toString());
}

QString quotedForError(const QString &text)
{
    constexpr qsizetype Max = 80;
    return u'"' + (text.size() > Max ? text.left(Max) + QStringLiteral("…") : text) + u'"';
}
