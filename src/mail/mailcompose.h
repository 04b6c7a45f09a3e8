#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>

#include <optional>

// What one outgoing mail says, before it is turned into wire bytes.
struct MailContent
{
    QString from;            // sender address
    QStringList to, cc, bcc; // empty entries are skipped
    QString subject;
    QString body;            // the tag's message (CR LF line ends) or the direct text
    QString attachmentPath;  // empty: no attachment
    bool directText = false; // direct-text mode never attaches
};

// The two blocks sent after DATA, in this order. The body block ends in CR LF "." CR LF.
struct ComposedMail
{
    QByteArray header;
    QByteArray body;
};

// Same for every mail we send.
inline constexpr char MailBoundary[] = "boundary_36FC9E60-C465-11CF-8056-444553540000";

// The recipients as the header and the envelope both name them: trimmed, blank entries
// dropped, each address once (compared without case) in the first list that names it.
void tidyRecipients(QStringList &to, QStringList &cc, QStringList &bcc);

// The header and body blocks of one mail. Text is CP932 first, then 7-bit JIS.
// nullopt with a reason in *error when the subject or an address holds CR or LF
// (they could inject commands or headers), or the attachment cannot be read.
std::optional<ComposedMail> ComposeTagMail(const MailContent &mail, const QDateTime &now,
                                           QString *error = nullptr);

// A body line that is exactly "." would end DATA early: it becomes "..".
// Bare LF line ends become CR LF first, as SMTP wants.
QString DoubleLoneDots(const QString &text);

// CP932 bytes in, ISO-2022-JP bytes out. A character counts as double-byte by
// comparing the text "&h" + its hex code with "&h81".."&h9F" and "&hE0".."&hFC"
// as strings, so TAB and SI take the kanji branch while codes led by 9F or FC
// go out as they are. Returns to single bytes with ESC ( J.
QByteArray SjisToJis(const QByteArray &sjis);
// The JIS X 0208 code of one Shift_JIS code, both as upper-case hex ("889F" ->
// "3021"). Shorter text counts as left-padded with zeros; each result byte wraps
// to 0..FF, so "9" (a TAB) gives "1FEA". Text that is not hex counts as 0.
QString SjisCodeToJis(const QString &hex4);
// The file in base64 lines of 72 characters, each ended by CR LF. The padding
// test runs against the file's length n rather than n - 1, so the result is the
// base64 of the file plus one zero byte, and a length that is a multiple of 3
// ends in "AA=". Empty with *ok false when the file cannot be read.
QByteArray Base64EncodeFile(const QString &path, bool *ok = nullptr);
// The content type from the text after the first "." of fileName, lower-cased.
QString ContentTypeOf(const QString &fileName);
