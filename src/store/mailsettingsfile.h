#pragma once

#include <QString>
#include <QStringList>

// The recipients and subject kept for one tag's mail.
struct TagMailSettings
{
    QString subject;
    QStringList to, cc, bcc;
    bool operator==(const TagMailSettings &) const = default;
};

// Pinboard.dt4: one Windows profile (INI) section per tag, "[ID00012]" for tag 12,
// with the keys Subject, To, Cc and Bcc; the lists are joined with TAB. CP932 text,
// CR LF line ends. Read and written the way the Windows profile functions do, so
// a file kept by an older installation reads the same:
// - section and key names match without regard to case; the first of duplicates wins;
// - blanks around a value are dropped on reading, then one pair of enclosing
//   quotes; a value reads at most ValueLimit bytes;
// - writing keeps every other line where it is and keys in their order, puts a
//   new key after the last key of its section and a new section at the end of
//   the file, without a blank line before it.
class MailSettingsFile
{
public:
    // The reading buffer of the profile functions holds this many bytes and a NUL.
    static constexpr qsizetype ValueLimit = 65525;

    explicit MailSettingsFile(QString path);

    static QString sectionFor(int k);

    // A missing file, section or key reads as empty.
    TagMailSettings read(int k) const;
    bool hasSection(int k) const;
    // Writes all four keys of tag k's section. Values holding CR or LF are
    // refused: they would break the file's lines.
    bool write(int k, const TagMailSettings &s, QString *error = nullptr) const;
    // Drops tag k's section: its header and entries; comment lines stay.
    bool remove(int k, QString *error = nullptr) const;

private:
    QString m_path;
};
