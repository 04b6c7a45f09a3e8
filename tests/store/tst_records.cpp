#include "envrecord.h"
#include "tagrecord.h"

#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QTest>
#include <QTimeZone>

using namespace Qt::StringLiterals;

namespace {
// A record of NULs with blanks over the texts "offset+length ...", then the bytes
// "offset=hex" and "offset:latin1" over that; independent of the layout tables.
QByteArray record(int size, const char *texts, const char *bytes)
{
    QByteArray b(size, '\0');
    for (const QString &t : QString::fromLatin1(texts).split(u' ', Qt::SkipEmptyParts))
        b.replace(t.section(u'+', 0, 0).toInt(), t.section(u'+', 1).toInt(),
                  QByteArray(t.section(u'+', 1).toInt(), ' '));
    static const QRegularExpression item(u"(\\d+)([=:])(\\S+)"_s);
    for (const auto &m : item.globalMatch(QString::fromLatin1(bytes))) {
        const QByteArray v = m.captured(3).toLatin1();
        const QByteArray value = m.captured(2) == u"=" ? QByteArray::fromHex(v) : v;
        b.replace(m.captured(1).toInt(), value.size(), value);
    }
    return b;
}

} // namespace

class TestRecords : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // Every byte of a record belongs to one field, no two fields share a name, and
    // docs/file-formats.md, which newcomers and later features read, lists each
    // field as "offset | type | name" exactly as the code lays it out.
    void layoutsAndTheirDocs()
    {
        QFile file(u"" PINBOARD_DOCS "/file-formats.md"_s);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QString doc = QString::fromUtf8(file.readAll());
        static const QRegularExpression row(u"^\\| (\\d+) \\| ([^|]+) \\| ([^|]+) \\|"_s);
        static const char *const types[] = {"Byte", "Integer", "Long", "Date", "text ", "pad "};
        for (const auto &[layout, size, heading] :
             {std::tuple{EnvRecord::fields(), EnvRecord::Size, u"### Environment record"_s},
              std::tuple{TagRecord::fields(), int(TagRecord::FixedSize), u"### Tag record"_s}}) {
            QCOMPARE(checkLayout(layout, size), QString());
            const qsizetype start = doc.indexOf(heading);
            QStringList documented, laidOut;
            for (const QString &line :
                 doc.mid(start, doc.indexOf(u"\n### "_s, start + 1) - start).split(u'\n')) {
                const auto m = row.match(line);
                if (m.hasMatch() && m.captured(1).toInt() < size)
                    documented << m.captured(1) + u'|' + m.captured(2).trimmed() + u'|' +
                                      m.captured(3).trimmed();
            }
            QSet<QString> names;
            for (const FieldDef &f : layout) {
                const QString name = QString::fromLatin1(f.name);
                QVERIFY2(f.type == FieldType::Pad || !names.contains(name), qPrintable(name));
                names.insert(name);
                QString type = QLatin1String(types[int(f.type)]);
                if (f.type == FieldType::Text || f.type == FieldType::Pad)
                    type += QString::number(f.length);
                if (f.count > 1)
                    type += u" × %1"_s.arg(f.count);
                laidOut << QString::number(f.offset) + u'|' + type + u'|' +
                               (f.type == FieldType::Pad ? u"—"_s : name);
            }
            QCOMPARE(documented, laidOut);
        }
    }
    void defaultEnvGolden()
    {
        const QByteArray expected = record(
            EnvRecord::Size,
            "0+5 8+32 40+32 72+15 87+32 177+255 432+255 730+7 737+255 994+1 995+1 996+255 1264+6 "
            "1273+298 1616+1 1617+8 1626+64 1700+64 1784+1 1785+1 1796+1 1797+260",
            "0:00001 87=826C827220826F835383568362834E 123=0A 128=FFFF8000 133=01 702=C8007800 "
            "708=50000800 724=0101 992=0F01 994:00 1260=64006400 1264:010000 1270=01 1272=01 "
            "1592=64000000 1616:0 1692=1900000001000000 1780=BE2F 1784:00");
        const EnvRecord env;
        QCOMPARE(env.bytes().toHex(' '), expected.toHex(' '));
        EnvRecord back;
        back.clear();
        QVERIFY(back.setBytes(expected));
        QVERIFY(back == env);
    }
    void envAccessors()
    {
        EnvRecord env;
        env.setBroadcastAddress(0, 0xC0A801FF);
        env.setBroadcastAddress(15, 0x0A000001);
        env.setPortNo(65000);
        QCOMPARE(env.bytes().mid(177, 15), QByteArray("192.168.1.255  "));
        QCOMPARE(env.bytes().mid(177 + 15 * 15, 15), QByteArray("10.0.0.1       "));
        QCOMPARE(env.portNo(), quint16(65000)); // above 32767 in a signed 2-byte field
        env.setTagCount(-3);
        QVERIFY(env.problem().contains(u"TagCount"_s));
    }
    void sampleTagGolden()
    {
        TagRecord tag;
        tag.setText(Tag::TagNumber, u"00012"_s);
        tag.setText(Tag::FontName, u"ＭＳ ゴシック"_s);
        tag.setByte(Tag::FontBold, 1);
        tag.setByte(Tag::FontSize, 12);
        tag.setLong(Tag::ForeColor, 0x0000FF);
        tag.setLong(Tag::BackColor, 0x80FFFF);
        tag.setByte(Tag::Frame, 1);
        tag.setLong(Tag::Width, 240);
        tag.setLong(Tag::Height, 160);
        tag.setByte(Tag::ScheduleKind, 3);
        tag.setByte(Tag::MonthlyDay, 32);
        tag.setText(Tag::EraseTime, u"18:30"_s);
        tag.setByte(Tag::TopMost, 1);
        tag.setText(Tag::SenderName, u"山田"_s);
        tag.setByte(Tag::SoundFlag, 1);
        tag.setLong(Tag::PosX, -20);
        tag.setLong(Tag::PosY, 300);
        tag.setText(Tag::ReceivedMark, u"1"_s);
        tag.setText(Tag::Password, u"abc"_s);
        tag.setText(Tag::SenderAddress, u"192.168.1.7"_s);
        tag.setByte(Tag::SealedFlag, 1);
        tag.setText(Tag::FilePath, u"/usr/share/sounds/alarm.wav"_s);
        tag.setDate(Tag::DisplayDateTime,
                    QDateTime(QDate(2024, 5, 1), QTime(12, 0), QTimeZone::utc()));
        tag.setByte(Tag::WeekdayFlags, 1, 1);
        tag.setByte(Tag::WeekOfMonthFlags, 1, 1);
        tag.setByte(Tag::WeekOfMonthFlags, 1, 3);
        tag.setMessage(u"会議は10時～"_s);

        const QByteArray expected =
            record(
                TagRecord::FixedSize, "0+5 5+1 6+32 84+5 92+32 149+1 150+8 158+15 175+278",
                "0:000120 6=826C827220835383568362834E 38=01 42=0C 44=FF000000FFFF8000 53=01 "
                "56=F0000000A0000000 64=03 68=00000000B02CE640 76=2000010000000000 84:18:30 90=01 "
                "92=8E529363 124=0000000000000040 132=0001000100000100 140=ECFFFFFF2C010000 "
                "149:1abc 158:192.168.1.7 173=01 175:/usr/share/sounds/alarm.wav") +
            QByteArray::fromHex("0C0089EF8B6382CD31308E9E8160"); // 会議は10時～
        const QByteArray actual = tag.serialize();
        QCOMPARE(actual.toHex(' '), expected.toHex(' '));

        const auto back = TagRecord::parse(actual + QByteArray(100, 'x'));
        QVERIFY(back.has_value());
        QVERIFY(*back == tag);
    }
    void emptyAndLongMessages()
    {
        TagRecord tag;
        tag.setMessage(QString());
        QCOMPARE(tag.serialize().size(), 458);
        QCOMPARE(tag.serialize().mid(456), QByteArray("\0\0", 2));
        QVERIFY(TagRecord::parse(tag.serialize()));
        // The longest message still fits the slot; one more byte is cut, never split.
        tag.setMessage(QString(TagRecord::MaxMessageBytes / 2 + 5, QChar(u'あ')));
        QCOMPARE(tag.messageBytes().size(), TagRecord::MaxMessageBytes - 1); // 32309 is odd
        QVERIFY(tag.serialize().size() <= TagRecord::SlotSize);
        const auto back = TagRecord::parse(tag.serialize());
        QVERIFY(back && *back == tag);
    }
};
QTEST_APPLESS_MAIN(TestRecords)
#include "tst_records.moc"
