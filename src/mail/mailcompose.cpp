#include "mailcompose.h"

#include "cp932.h"

#include <QFile>
#include <algorithm>

namespace {

constexpr char Crlf[] = "\r\n";
constexpr char TextPartHeaders[] = "Content-Type: text/plain; charset=iso-2022-jp\r\n"
                                   "Content-Transfer-Encoding: 7bit\r\n";

bool hasLineBreak(const QString &s)
{
    return s.contains(QLatin1Char('\r')) || s.contains(QLatin1Char('\n'));
}

// A NUL or another control code in an address would reach the server's RCPT line.
bool hasControl(const QString &s)
{
    return std::any_of(s.begin(), s.end(),
                       [](QChar c) { return c.unicode() < 0x20 || c.unicode() == 0x7F; });
}

bool anyHasControl(const QStringList &list)
{
    return std::any_of(list.begin(), list.end(), hasControl);
}

bool anyHasLineBreak(const QStringList &list)
{
    return std::any_of(list.begin(), list.end(), hasLineBreak);
}

// One line per address, so each list can be told apart by a reader.
void appendAddressLines(QByteArray &out, const char *prefix, const QStringList &list)
{
    for (const QString &address : list)
        out += prefix + Cp932::encode(address) + ">\r\n";
}

QByteArray toJis(const QString &text)
{
    return SjisToJis(Cp932::encode(text));
}

// The row/cell arithmetic from Shift_JIS to JIS X 0208; each byte wraps so that
// codes outside the double-byte area still give two bytes.
quint16 jisCodeOf(uint sjis)
{
    const int s1 = (sjis >> 8) & 0xFF;
    const int s2 = sjis & 0xFF;
    int j1 = (s1 - (s1 <= 0x9F ? 0x70 : 0xB0)) * 2;
    int j2 = 0;
    if (s2 < 0x9F) {
        j1 -= 1;
        j2 = s2 - (s2 >= 0x80 ? 0x20 : 0x1F);
    } else {
        j2 = s2 - 0x7E;
    }
    return quint16(((j1 & 0xFF) << 8) | (j2 & 0xFF));
}

// Compared as text on purpose: see SjisToJis.
bool takesKanjiBranch(const QByteArray &hex)
{
    const QByteArray t = "&h" + hex;
    return (t >= "&h81" && t <= "&h9F") || (t >= "&hE0" && t <= "&hFC");
}

struct ContentTypeRow
{
    const char *extensions; // space separated
    const char *type;
};

// The misspelt "java-archiver" and "vide/x-msvideo" are what we have always sent.
constexpr ContentTypeRow ContentTypes[] = {
    {"jpg jpeg jpe", "image/jpeg"},
    {"fif", "image/fif"},
    {"gif", "image/gif"},
    {"cgm", "image/cgm"},
    {"pcd", "image/x-photo-cd"},
    {"pict pct", "image/pict"},
    {"png", "image/x-png"},
    {"tga tpic vda vst", "image/x-targa"},
    {"tiff tif", "image/x-tiff"},
    {"bmp rle dib", "image/x-bmp"},
    {"xls xla xlc xlm xlt xlw", "application/vnd.ms-excel"},
    {"ppt pps pot", "application/vnd.ms-powerpoint"},
    {"doc", "application/msword"},
    {"pdf", "application/pdf"},
    {"zip", "application/zip"},
    {"xdw", "application/vnd.fujixerox.docuworks"},
    {"ps epsf eps ai", "application/postscript"},
    {"jar", "application/java-archiver"},
    {"gz", "application/x-gzip"},
    {"hqx", "application/mac-binhex40"},
    {"tar", "application/x-tar"},
    {"pl", "application/x-perl"},
    {"txt", "text/plain"},
    {"htm html", "text/html"},
    {"css", "text/css"},
    {"xml", "text/xml"},
    {"rtf", "text/rtf"},
    {"aif", "audio/x-aiff"},
    {"au snd", "audio/basic"},
    {"kar midi mid smf", "audio/x-midi"},
    {"mp2 mp3 mpa mpega", "audio/x-mpeg"},
    {"wav", "audio/x-wav"},
    {"rm", "audio/x-pn-realaudio"},
    {"asf", "video/x-ms-asf"},
    {"avi", "vide/x-msvideo"},
    {"moov mov qt", "video/quicktime"},
    {"mpeg mpg mpe mpv", "video/x-mpeg"},
    {"vdo", "video/vdo"},
    {"swf", "application/x-shockwave-flash"},
    {"js", "application/x-javascript"},
    {"mpp", "application/vnd.ms-project"},
    {"scd", "application/x-msschedule"},
    {"wcm wdb wks wps", "application/vnd.ms-works"},
    {"wmf", "application/x-msmetafile"},
    {"wri", "application/x-mswrite"},
};

} // namespace

void tidyRecipients(QStringList &to, QStringList &cc, QStringList &bcc)
{
    QStringList seen;
    for (QStringList *list : {&to, &cc, &bcc}) {
        QStringList kept;
        for (const QString &entry : std::as_const(*list)) {
            const QString address = entry.trimmed();
            if (address.isEmpty() || seen.contains(address, Qt::CaseInsensitive))
                continue;
            seen << address;
            kept << address;
        }
        *list = kept;
    }
}

std::optional<ComposedMail> ComposeTagMail(const MailContent &mail, const QDateTime &now,
                                           QString *error)
{
    auto fail = [error](const QString &why) {
        if (error)
            *error = why;
        return std::nullopt;
    };
    if (hasLineBreak(mail.subject))
        return fail(QStringLiteral("件名に改行が含まれています。"));
    if (hasLineBreak(mail.from) || anyHasLineBreak(mail.to) || anyHasLineBreak(mail.cc) ||
        anyHasLineBreak(mail.bcc))
        return fail(QStringLiteral("メールアドレスに改行が含まれています。"));
    if (hasControl(mail.from) || anyHasControl(mail.to) || anyHasControl(mail.cc) ||
        anyHasControl(mail.bcc))
        return fail(QStringLiteral("メールアドレスに制御文字が含まれています。"));

    ComposedMail out;
    QByteArray &h = out.header;
    const QByteArray from = Cp932::encode(mail.from);
    h += "Reply-To: " + from + Crlf;
    h += "X-Mailer: Pinboard\r\n";
    h += "MIME-Version: 1.0\r\n";
    h += "X-Mozilla-Status: 0001\r\n";
    h += "Date: " + now.toString(QStringLiteral("yyyy-MM-dd hh:mm:ss")).toLatin1() + Crlf;
    h += "From: <" + from + ">\r\n";
    // The header names the addresses the envelope sends to.
    QStringList to = mail.to, cc = mail.cc, bcc = mail.bcc;
    tidyRecipients(to, cc, bcc);
    appendAddressLines(h, "To: <", to);
    appendAddressLines(h, "cc: <", cc);
    appendAddressLines(h, "bcc: <", bcc);

    const QByteArray subject = "Subject: " + toJis(mail.subject) + Crlf;
    const QByteArray text = toJis(DoubleLoneDots(mail.body));
    if (mail.directText || mail.attachmentPath.isEmpty()) {
        out.body = TextPartHeaders + subject + text + "\r\n.\r\n";
        return out;
    }

    const QString &path = mail.attachmentPath;
    const QString fileName = path.mid(
        std::max(path.lastIndexOf(QLatin1Char('/')), path.lastIndexOf(QLatin1Char('\\'))) + 1);
    if (hasLineBreak(fileName))
        return fail(QStringLiteral("添付ファイル名に改行が含まれています。"));
    bool read = false;
    const QByteArray encoded = Base64EncodeFile(path, &read);
    if (!read)
        return fail(QStringLiteral("添付ファイルを読み込めません: %1").arg(path));

    const QByteArray boundary(MailBoundary);
    const QByteArray jisName = toJis(fileName);
    QByteArray &b = out.body;
    b += subject;
    b += "Content-Type: multipart/mixed; boundary=\"" + boundary + "\"\r\n\r\n";
    b += "This is a multi-part message in MIME format.\r\n\r\n";
    b += "--" + boundary + Crlf;
    b += TextPartHeaders;
    b += Crlf;
    b += text + "\r\n\r\n";
    b += "--" + boundary + Crlf;
    b += "Content-Type: " + ContentTypeOf(fileName).toLatin1() + "; name=\"" + jisName + "\"\r\n";
    b += "Content-Transfer-Encoding: base64\r\n";
    b += "Content-Disposition: inline; filename=\"" + jisName + "\"\r\n\r\n";
    b += encoded;
    b += "\r\n--" + boundary + "--\r\n.\r\n";
    return out;
}

QString DoubleLoneDots(const QString &text)
{
    QString crlf;
    crlf.reserve(text.size() + text.size() / 16);
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == QLatin1Char('\n') && (i == 0 || text[i - 1] != QLatin1Char('\r')))
            crlf += QLatin1Char('\r');
        crlf += text[i];
    }
    QStringList lines = crlf.split(QStringLiteral("\r\n"));
    for (QString &line : lines) {
        if (line == QLatin1String("."))
            line = QStringLiteral("..");
    }
    return lines.join(QStringLiteral("\r\n"));
}

QByteArray SjisToJis(const QByteArray &sjis)
{
    enum class Mode
    {
        Single,
        Kanji,
        Kana
    };
    Mode mode = Mode::Single;
    QByteArray out;
    out.reserve(sjis.size() + sjis.size() / 2);
    qsizetype i = 0;
    while (i < sjis.size()) {
        const auto lead = static_cast<unsigned char>(sjis[i]);
        const qsizetype len = Cp932::isLeadByte(lead) && i + 1 < sjis.size() ? 2 : 1;
        const uint code = len == 2 ? (lead << 8) | static_cast<unsigned char>(sjis[i + 1]) : lead;
        const QByteArray hex = QByteArray::number(code, 16).toUpper();
        if (takesKanjiBranch(hex)) {
            if (mode != Mode::Kanji)
                out += "\x1b$B";
            mode = Mode::Kanji;
            const quint16 jis = jisCodeOf(code);
            out += char(jis >> 8);
            out += char(jis & 0xFF);
        } else if (code >= 0xA0 && code <= 0xDF) {
            if (mode != Mode::Kana)
                out += "\x1b(I";
            mode = Mode::Kana;
            out += char(code - 0x80);
        } else {
            if (mode != Mode::Single)
                out += "\x1b(J";
            mode = Mode::Single;
            out += sjis.mid(i, len);
        }
        i += len;
    }
    if (mode != Mode::Single)
        out += "\x1b(J";
    return out;
}

QString SjisCodeToJis(const QString &hex4)
{
    bool ok = false;
    uint code = hex4.toUInt(&ok, 16);
    if (!ok)
        code = 0;
    return QStringLiteral("%1").arg(jisCodeOf(code & 0xFFFF), 4, 16, QLatin1Char('0')).toUpper();
}

QByteArray Base64EncodeFile(const QString &path, bool *ok)
{
    if (ok)
        *ok = false;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QByteArray data = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return {};
    const qsizetype n = data.size();
    data.append((n / 3 + 1) * 3 - n, '\0');

    static constexpr char Alphabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    QByteArray text;
    text.reserve(data.size() / 3 * 4);
    for (qsizetype i = 0; i < data.size(); i += 3) {
        const auto a = static_cast<unsigned char>(data[i]);
        const auto b = static_cast<unsigned char>(data[i + 1]);
        const auto c = static_cast<unsigned char>(data[i + 2]);
        // The tests below compare with n, not n - 1: the zero byte after the
        // file is always encoded. i <= n holds for every group, so the second
        // character is always written.
        text += Alphabet[a >> 2];
        text += Alphabet[((a & 0x03) << 4) | (b >> 4)];
        if (i + 1 > n) {
            text += '=';
            break;
        }
        text += Alphabet[((b & 0x0F) << 2) | (c >> 6)];
        if (i + 2 > n) {
            text += '=';
            break;
        }
        text += Alphabet[c & 0x3F];
    }

    QByteArray lines;
    lines.reserve(text.size() + text.size() / 36 + 2);
    for (qsizetype pos = 0; pos < text.size(); pos += 72)
        lines += text.mid(pos, 72) + Crlf;
    if (ok)
        *ok = true;
    return lines;
}

QString ContentTypeOf(const QString &fileName)
{
    const qsizetype dot = fileName.indexOf(QLatin1Char('.'));
    const QString ext = dot < 0 ? QString() : fileName.mid(dot + 1).toLower();
    if (!ext.isEmpty()) {
        for (const ContentTypeRow &row : ContentTypes) {
            for (const auto token : QLatin1String(row.extensions).tokenize(QLatin1Char(' '))) {
                if (token == ext)
                    return QLatin1String(row.type);
            }
        }
    }
    return QStringLiteral("application/octet-stream");
}
