#include "cp932.h"

#include <QTest>

class TestCp932 : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void mapping_data();
    void mapping();
    void cut_data();
    void cut();
    void fields_data();
    void fields();
    void unmappable();
    void singleBytesAreThemselves();
};

void TestCp932::mapping_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes");
    // Where CP932 parts from plain Shift-JIS, and the half-width kana the texts use.
    QTest::newRow("wave dash U+FF5E") << QStringLiteral("～") << QByteArray("\x81\x60");
    QTest::newRow("minus U+FF0D") << QStringLiteral("－") << QByteArray("\x81\x7C");
    QTest::newRow("circled 1") << QStringLiteral("①") << QByteArray("\x87\x40");
    QTest::newRow("small roman 1") << QStringLiteral("ⅰ") << QByteArray("\xFA\x40");
    QTest::newRow("half-width kana")
        << QStringLiteral("ﾀﾞﾌﾞﾙ") << QByteArray("\xC0\xDE\xCC\xDE\xD9");
    QTest::newRow("font name")
        << QStringLiteral("ＭＳ Ｐゴシック")
        << QByteArray("\x82\x6C\x82\x72\x20\x82\x6F\x83\x53\x83\x56\x83\x62\x83\x4E");
    QTest::newRow("ascii") << QStringLiteral("Pin 1") << QByteArray("Pin 1");
    QTest::newRow("IBM row, lead 0xFB") << QStringLiteral("髙") << QByteArray("\xFB\xFC");
}

void TestCp932::mapping()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, bytes);
    QCOMPARE(Cp932::encode(text), bytes);
    QCOMPARE(Cp932::decode(bytes), text);
    QCOMPARE(Cp932::byteLength(text), bytes.size());
    QVERIFY(Cp932::canEncode(text));
}

void TestCp932::cut_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("n");
    QTest::addColumn<QString>("expected");
    QTest::newRow("fits") << QStringLiteral("あい") << 4 << QStringLiteral("あい");
    QTest::newRow("mid character") << QStringLiteral("あい") << 3 << QStringLiteral("あ");
    QTest::newRow("mixed widths") << QStringLiteral("aあｱい") << 4 << QStringLiteral("aあｱ");
    QTest::newRow("mixed, cut before lead")
        << QStringLiteral("aあｱい") << 5 << QStringLiteral("aあｱ");
    QTest::newRow("kana are single bytes") << QStringLiteral("ｱｲｳｴ") << 3 << QStringLiteral("ｱｲｳ");
    QTest::newRow("zero") << QStringLiteral("あ") << 0 << QString();
    QTest::newRow("one before double") << QStringLiteral("あ") << 1 << QString();
    // Lead bytes 0xF0-0xFC start pairs too (髙 is 0xFB 0xFC, ⅰ 0xFA 0x40).
    QTest::newRow("lead 0xFB") << QStringLiteral("a髙b") << 2 << QStringLiteral("a");
    QTest::newRow("lead 0xFA") << QStringLiteral("ⅰⅰ") << 3 << QStringLiteral("ⅰ");
}

void TestCp932::cut()
{
    QFETCH(QString, text);
    QFETCH(int, n);
    QFETCH(QString, expected);
    const QByteArray cut = Cp932::cut(Cp932::encode(text), n);
    QVERIFY(cut.size() <= n);
    QCOMPARE(Cp932::decode(cut), expected);
    const QByteArray field = Cp932::toField(text, n);
    QCOMPARE(field.size(), n);
    QCOMPARE(Cp932::fromField(field), expected);
}

void TestCp932::fields_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<QString>("text");
    QTest::newRow("padded") << QByteArray("abc   ") << QStringLiteral("abc");
    QTest::newRow("cut at NUL") << QByteArray("ab\0cd ", 6) << QStringLiteral("ab");
    QTest::newRow("spaces before NUL trimmed") << QByteArray("ab \0xx", 6) << QStringLiteral("ab");
    QTest::newRow("leading spaces kept") << QByteArray("  a  ") << QStringLiteral("  a");
    QTest::newRow("all spaces") << QByteArray("     ") << QString();
    QTest::newRow("double-byte then spaces") << QByteArray("\x82\xa0  ") << QStringLiteral("あ");
    // A lone lead byte at the end must not vanish (a dump would then lose it).
    QTest::newRow("lone lead byte at the end")
        << QByteArray("  a\x82  ") << QStringLiteral("  a\uFFFD");
}

void TestCp932::fields()
{
    QFETCH(QByteArray, field);
    QFETCH(QString, text);
    QCOMPARE(Cp932::fromField(field), text);
}

void TestCp932::unmappable()
{
    // U+301C WAVE DASH has no CP932 form (its look-alike U+FF5E has).
    const QString text = QStringLiteral("a\u301Cb😀c");
    QVERIFY(!Cp932::canEncode(text));
    QCOMPARE(Cp932::encode(text), QByteArray("a?b?c"));
    QCOMPARE(Cp932::byteLength(text), 5);
}

void TestCp932::singleBytesAreThemselves()
{
    // Every code 0x00-0x7F is its own byte both ways, control codes included.
    for (int c = 0; c < 0x80; ++c) {
        const QString text = QStringLiteral("あ") + QChar(c) + QStringLiteral("い");
        const QByteArray bytes = QByteArray("\x82\xA0") + char(c) + QByteArray("\x82\xA2");
        QCOMPARE(Cp932::encode(text), bytes);
        QCOMPARE(Cp932::decode(bytes), text);
    }
    // A trail byte in the ASCII range stays part of its character.
    QCOMPARE(Cp932::decode(QByteArray("\x83\x5C\x5C")), QStringLiteral("ソ\\"));
}

QTEST_APPLESS_MAIN(TestCp932)
#include "tst_cp932.moc"
