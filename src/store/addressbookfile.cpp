#include "addressbookfile.h"

#include "cp932.h"
#include "durable.h"

#include <QFile>
#include <QtGlobal>

namespace {

constexpr int FieldsPerRecord = 5;

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

// The fields of one line. No CP932 trail byte is a quote or a comma, so the bytes
// can be split before they are decoded.
std::optional<QList<QByteArray>> splitFields(QByteArrayView line, QString *why)
{
    QList<QByteArray> fields;
    qsizetype pos = 0;
    const qsizetype end = line.size();
    for (;;) {
        while (pos < end && isBlank(line[pos]))
            ++pos;
        QByteArrayView field;
        if (pos < end && line[pos] == '"') {
            const qsizetype close = line.indexOf('"', pos + 1);
            if (close < 0) {
                *why = QStringLiteral("unclosed quote");
                return std::nullopt;
            }
            field = line.sliced(pos + 1, close - pos - 1);
            pos = close + 1;
            while (pos < end && isBlank(line[pos]))
                ++pos;
            if (pos < end && line[pos] != ',') {
                *why = QStringLiteral("text after a closing quote");
                return std::nullopt;
            }
        } else {
            qsizetype comma = line.indexOf(',', pos);
            if (comma < 0)
                comma = end;
            field = line.sliced(pos, comma - pos).trimmed();
            if (field.contains('"')) {
                *why = QStringLiteral("quote inside an unquoted field");
                return std::nullopt;
            }
            pos = comma;
        }
        fields << field.toByteArray();
        if (fields.size() > FieldsPerRecord) {
            *why = QStringLiteral("more than %1 fields").arg(FieldsPerRecord);
            return std::nullopt;
        }
        if (pos >= end)
            return fields;
        ++pos; // the comma
    }
}

QByteArray quoted(const QString &text)
{
    return '"' + Cp932::encode(text) + '"';
}

} // namespace

std::optional<AddressBookData> readAddressBook(const QString &path, QString *error,
                                               QStringList *skipped)
{
    AddressBookData data;
    QFile file(path);
    if (!file.exists())
        return data;
    if (!file.open(QIODevice::ReadOnly)) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(path, file.errorString());
        return std::nullopt;
    }
    const QList<QByteArray> lines = file.readAll().split('\n');
    int number = 0;
    for (QByteArray line : lines) {
        ++number;
        if (line.endsWith('\r'))
            line.chop(1);
        if (line.trimmed().isEmpty())
            continue;
        QString why;
        const auto fields = splitFields(line, &why);
        if (!fields) {
            const QString note = QStringLiteral("line %1: %2").arg(number).arg(why);
            qWarning("%s: skipped %s", qPrintable(path), qPrintable(note));
            if (skipped)
                *skipped << note;
            continue;
        }
        const auto field = [&](int i) { return Cp932::decode(fields->value(i)); };
        const QString first = field(0);
        const QString second = field(1);
        if (first.isEmpty())
            continue;
        if (second.isEmpty()) {
            data.groups << first;
            continue;
        }
        data.names << first;
        data.addresses << second;
        data.group1 << field(2);
        data.group2 << field(3);
        data.group3 << field(4);
    }
    return data;
}

bool canWriteField(const QString &text)
{
    return !text.contains(u'"') && !text.contains(u'\r') && !text.contains(u'\n') &&
           Cp932::canEncode(text);
}

QByteArray addressBookBytes(const AddressBookData &data)
{
    QByteArray out;
    const auto record = [&out](const QStringList &fields) {
        for (const QString &f : fields) {
            if (!canWriteField(f))
                return false;
        }
        QByteArrayList parts;
        for (const QString &f : fields)
            parts << quoted(f);
        out += parts.join(',') + "\r\n";
        return true;
    };
    const QString none;
    for (const QString &g : data.groups) {
        if (!record({g, none, none, none, none}))
            return {};
    }
    for (qsizetype i = 0; i < data.names.size(); ++i) {
        if (!record({data.names[i], data.addresses.value(i), data.group1.value(i),
                     data.group2.value(i), data.group3.value(i)}))
            return {};
    }
    return out;
}

bool writeAddressBook(const QString &path, const AddressBookData &data, QString *error)
{
    const QByteArray out = addressBookBytes(data);
    if (out.isEmpty() && (!data.groups.isEmpty() || !data.names.isEmpty())) {
        if (error)
            *error = QStringLiteral("%1: a name, address or group holds a character the "
                                    "file cannot keep")
                         .arg(path);
        return false;
    }
    return Durable::writeFile(path, out, error);
}
