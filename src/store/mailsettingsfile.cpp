#include "mailsettingsfile.h"

#include "cp932.h"
#include "durable.h"

#include <QFile>

#include <array>
#include <optional>

namespace {

using Lines = QList<QByteArray>;

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\v';
}

QByteArray trimmedBlanks(QByteArrayView s)
{
    qsizetype begin = 0;
    qsizetype end = s.size();
    while (begin < end && isBlank(s[begin]))
        ++begin;
    while (end > begin && isBlank(s[end - 1]))
        --end;
    return s.sliced(begin, end - begin).toByteArray();
}

// ASCII letters only: folding other bytes would mix up CP932 kana and trail bytes.
bool sameName(QByteArrayView a, QByteArrayView b)
{
    if (a.size() != b.size())
        return false;
    auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? char(c + ('a' - 'A')) : c; };
    for (qsizetype i = 0; i < a.size(); ++i) {
        if (lower(a[i]) != lower(b[i]))
            return false;
    }
    return true;
}

// "[name]" with blanks allowed around and inside; a missing "]" ends at the line end.
std::optional<QByteArray> sectionNameOf(const QByteArray &line)
{
    const QByteArray t = trimmedBlanks(line);
    if (!t.startsWith('['))
        return std::nullopt;
    const qsizetype close = t.indexOf(']');
    return trimmedBlanks(QByteArrayView(t).sliced(1, (close < 0 ? t.size() : close) - 1));
}

struct Entry
{
    QByteArray key;
    QByteArray value; // as written after "="
};

std::optional<Entry> entryOf(const QByteArray &line)
{
    const QByteArray t = trimmedBlanks(line);
    const qsizetype eq = t.indexOf('=');
    if (t.startsWith(';') || eq < 0)
        return std::nullopt;
    return Entry{trimmedBlanks(QByteArrayView(t).first(eq)), t.mid(eq + 1)};
}

// Lines without their CR LF; a missing file has none.
std::optional<Lines> loadLines(const QString &path, QString *error)
{
    QFile file(path);
    if (!file.exists())
        return Lines{};
    if (!file.open(QIODevice::ReadOnly)) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(path, file.errorString());
        return std::nullopt;
    }
    const QByteArray data = file.readAll();
    Lines lines = data.split('\n');
    if (data.isEmpty() || data.endsWith('\n'))
        lines.removeLast();
    for (QByteArray &line : lines) {
        if (line.endsWith('\r'))
            line.chop(1);
    }
    return lines;
}

bool saveLines(const QString &path, const Lines &lines, QString *error)
{
    QByteArray out;
    for (const QByteArray &line : lines)
        out += line + "\r\n";
    return Durable::writeFile(path, out, error);
}

// The lines [header, end) of the first section called name; header is -1 when absent.
struct Span
{
    qsizetype header = -1;
    qsizetype end = -1;
};

Span findSection(const Lines &lines, QByteArrayView name, qsizetype from = 0)
{
    Span span;
    for (qsizetype i = from; i < lines.size(); ++i) {
        const auto section = sectionNameOf(lines[i]);
        if (!section)
            continue;
        if (span.header >= 0) {
            span.end = i;
            return span;
        }
        if (sameName(*section, name))
            span.header = i;
    }
    if (span.header >= 0)
        span.end = lines.size();
    return span;
}

QByteArray sectionBytes(int k)
{
    return MailSettingsFile::sectionFor(k).toLatin1();
}

QString valueText(QByteArray value)
{
    value = trimmedBlanks(value);
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
        value.back() == value.front())
        value = value.sliced(1, value.size() - 2);
    return Cp932::decode(Cp932::cut(value, MailSettingsFile::ValueLimit));
}

QStringList listOf(const QString &value)
{
    return value.isEmpty() ? QStringList() : value.split(QLatin1Char('\t'));
}

constexpr std::array<const char *, 4> Keys = {"Subject", "To", "Cc", "Bcc"};

} // namespace

MailSettingsFile::MailSettingsFile(QString path) : m_path(std::move(path)) {}

QString MailSettingsFile::sectionFor(int k)
{
    return QStringLiteral("ID%1").arg(k, 5, 10, QLatin1Char('0'));
}

TagMailSettings MailSettingsFile::read(int k) const
{
    const Lines lines = loadLines(m_path, nullptr).value_or(Lines{});
    const Span span = findSection(lines, sectionBytes(k));
    std::array<std::optional<QByteArray>, Keys.size()> values;
    for (qsizetype i = span.header + 1; span.header >= 0 && i < span.end; ++i) {
        const auto entry = entryOf(lines[i]);
        for (size_t key = 0; entry && key < Keys.size(); ++key) {
            if (!values[key] && sameName(entry->key, Keys[key]))
                values[key] = entry->value;
        }
    }
    auto text = [&values](size_t key) { return valueText(values[key].value_or(QByteArray())); };
    TagMailSettings s;
    s.subject = text(0);
    s.to = listOf(text(1));
    s.cc = listOf(text(2));
    s.bcc = listOf(text(3));
    return s;
}

bool MailSettingsFile::hasSection(int k) const
{
    const Lines lines = loadLines(m_path, nullptr).value_or(Lines{});
    return findSection(lines, sectionBytes(k)).header >= 0;
}

bool MailSettingsFile::write(int k, const TagMailSettings &s, QString *error) const
{
    const QString tab(QLatin1Char('\t'));
    const std::array<QString, Keys.size()> texts = {s.subject, s.to.join(tab), s.cc.join(tab),
                                                    s.bcc.join(tab)};
    for (const QString &text : texts) {
        if (text.contains(QLatin1Char('\r')) || text.contains(QLatin1Char('\n'))) {
            if (error)
                *error = QStringLiteral("%1: 改行を含む値は書き込めません。").arg(m_path);
            return false;
        }
    }
    auto loaded = loadLines(m_path, error);
    if (!loaded)
        return false;
    Lines &lines = *loaded;
    Span span = findSection(lines, sectionBytes(k));
    if (span.header < 0) {
        lines.append('[' + sectionBytes(k) + ']');
        span = {lines.size() - 1, lines.size()};
    }
    for (size_t key = 0; key < Keys.size(); ++key) {
        const QByteArray value = Cp932::encode(texts[key]);
        qsizetype lastEntry = span.header;
        qsizetype found = -1;
        for (qsizetype i = span.header + 1; i < span.end && found < 0; ++i) {
            const auto entry = entryOf(lines[i]);
            if (entry && sameName(entry->key, Keys[key]))
                found = i;
            else if (entry)
                lastEntry = i;
        }
        if (found >= 0) {
            // The key keeps the spelling it has in the file.
            lines[found] = entryOf(lines[found])->key + '=' + value;
        } else {
            lines.insert(lastEntry + 1, Keys[key] + ('=' + value));
            ++span.end;
        }
    }
    return saveLines(m_path, lines, error);
}

bool MailSettingsFile::remove(int k, QString *error) const
{
    auto loaded = loadLines(m_path, error);
    if (!loaded)
        return false;
    Lines &lines = *loaded;
    bool changed = false;
    qsizetype from = 0;
    for (;;) {
        const Span span = findSection(lines, sectionBytes(k), from);
        if (span.header < 0)
            break;
        Lines kept = lines.mid(0, span.header);
        for (qsizetype i = span.header + 1; i < span.end; ++i) {
            if (trimmedBlanks(lines[i]).startsWith(';'))
                kept.append(lines[i]);
        }
        from = kept.size();
        kept += lines.mid(span.end);
        lines = kept;
        changed = true;
    }
    return !changed || saveLines(m_path, lines, error);
}
