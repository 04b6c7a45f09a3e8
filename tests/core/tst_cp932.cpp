#include "cp932.h"
#include "tablecheck.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestCp932 : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void mapping_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("bytes");
        // Where CP932 parts from plain Shift-JIS, and the half-width kana the texts use.
        // clang-format off
        QTest::newRow("wave dash U+FF5E")   << u"～"_s << QByteArray("\x81\x60");
        QTest::newRow("minus U+FF0D")       << u"－"_s << QByteArray("\x81\x7C");
        QTest::newRow("circled 1")          << u"①"_s << QByteArray("\x87\x40");
        QTest::newRow("small roman 1")      << u"ⅰ"_s << QByteArray("\xFA\x40");
        QTest::newRow("half-width kana")    << u"ﾀﾞﾌﾞﾙ"_s << QByteArray("\xC0\xDE\xCC\xDE\xD9");
        QTest::newRow("font name")          << u"ＭＳ Ｐゴシック"_s << QByteArray("\x82\x6C\x82\x72\x20\x82\x6F\x83\x53\x83\x56\x83\x62\x83\x4E");
        QTest::newRow("ascii")              << u"Pin 1"_s << QByteArray("Pin 1");
        QTest::newRow("IBM row, lead 0xFB") << u"髙"_s << QByteArray("\xFB\xFC");
        // clang-format on
    }

    void mapping()
    {
        QFETCH(QString, text);
        QFETCH(QByteArray, bytes);
        QCOMPARE(Cp932::encode(text), bytes);
        QCOMPARE(Cp932::decode(bytes), text);
        QCOMPARE(Cp932::byteLength(text), bytes.size());
        QVERIFY(Cp932::canEncode(text));
    }

    void cut_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("n");
        QTest::addColumn<QString>("expected");
        // clang-format off
        QTest::newRow("fits")                   << u"あい"_s   << 4 << u"あい"_s;
        QTest::newRow("mid character")          << u"あい"_s   << 3 << u"あ"_s;
        QTest::newRow("mixed widths")           << u"aあｱい"_s << 4 << u"aあｱ"_s;
        QTest::newRow("mixed, cut before lead") << u"aあｱい"_s << 5 << u"aあｱ"_s;
        QTest::newRow("kana are single bytes")  << u"ｱｲｳｴ"_s   << 3 << u"ｱｲｳ"_s;
        QTest::newRow("zero")                   << u"あ"_s     << 0 << QString();
        QTest::newRow("one before double")      << u"あ"_s     << 1 << QString();
        // Lead bytes 0xF0-0xFC start pairs too (髙 is 0xFB 0xFC, ⅰ 0xFA 0x40).
        QTest::newRow("lead 0xFB")              << u"a髙b"_s   << 2 << u"a"_s;
        QTest::newRow("lead 0xFA")              << u"ⅰⅰ"_s     << 3 << u"ⅰ"_s;
        // clang-format on
    }

    void cut()
    {
        QFETCH(QString, text);
        QFETCH(int, n);
        QFETCH(QString, expected);
        // Whole characters only: a lead byte left at the end would decode to nothing.
        const QByteArray cut = Cp932::cut(Cp932::encode(text), n);
        QCOMPARE(cut, Cp932::encode(expected));
        const QByteArray field = Cp932::toField(text, n);
        QCOMPARE(field.size(), n);
        QCOMPARE(Cp932::fromField(field), expected);
    }

    void fields_data()
    {
        gotWantColumns<QString>();
        const auto row = [](const char *name, const QByteArray &field, const QString &text) {
            QTest::newRow(name) << Cp932::fromField(field) << text;
        };
        row("padded", "abc   ", u"abc"_s);
        row("cut at NUL", QByteArray("ab\0cd ", 6), u"ab"_s);
        row("spaces before NUL trimmed", QByteArray("ab \0xx", 6), u"ab"_s);
        row("leading spaces kept", "  a  ", u"  a"_s);
        row("all spaces", "     ", QString());
        row("double-byte then spaces", "\x82\xa0  ", u"あ"_s);
        // A lone lead byte at the end must not vanish (a dump would then lose it).
        row("lone lead byte at the end", "  a\x82  ", u"  a\uFFFD"_s);
    }

    void fields() { compareGotWant<QString>(); }
    void unmappable()
    {
        // U+301C WAVE DASH has no CP932 form (its look-alike U+FF5E has).
        const QString text = u"a\u301Cb😀c"_s;
        QVERIFY(!Cp932::canEncode(text));
        QCOMPARE(Cp932::encode(text), QByteArray("a?b?c"));
        QCOMPARE(Cp932::byteLength(text), 5);
    }

    void singleBytesAreThemselves()
    {
        // Every code 0x00-0x7F is its own byte both ways, control codes included.
        for (int c = 0; c < 0x80; ++c) {
            const QString text = u"あ"_s + QChar(c) + u"い"_s;
            const QByteArray bytes = QByteArray("\x82\xA0") + char(c) + QByteArray("\x82\xA2");
            QCOMPARE(Cp932::encode(text), bytes);
            QCOMPARE(Cp932::decode(bytes), text);
        }
        // A trail byte in the ASCII range stays part of its character.
        QCOMPARE(Cp932::decode(QByteArray("\x83\x5C\x5C")), u"ソ\\"_s);
    }
};

QTEST_APPLESS_MAIN(TestCp932)
#include "tst_cp932.moc"
