#include "smtpreplyreader.h"

#include <QTest>

namespace {
using Replies = QList<QList<QByteArray>>;

// Every reply the reader completes from stream cut into the given pieces.
Replies readAll(SmtpReplyReader &reader, const QList<QByteArrayView> &pieces)
{
    Replies replies;
    QList<QByteArray> reply;
    for (QByteArrayView piece : pieces) {
        while (reader.read(piece, &reply))
            replies << reply;
    }
    return replies;
}
} // namespace

class TestSmtpReplyReader : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void replies_data()
    {
        QTest::addColumn<QByteArray>("stream");
        QTest::addColumn<Replies>("expected");
        QTest::addColumn<qsizetype>("held");
        QTest::newRow("one line") << QByteArray("220 ready\r\n") << Replies{{"220 ready"}}
                                  << qsizetype(0);
        QTest::newRow("continued reply, then a partial line")
            << QByteArray("250-a\r\n250-bb\r\n250 c\r\n354")
            << Replies{{"250-a", "250-bb", "250 c"}} << qsizetype(3);
        QTest::newRow("bare LF, empty and short lines end a reply")
            << QByteArray("250-x\n\n25\r\n") << Replies{{"250-x", ""}, {"25"}} << qsizetype(0);
        QTest::newRow("unfinished reply is held")
            << QByteArray("250-a\r\n250-b\r\n") << Replies{} << qsizetype(10);
    }
    // The same replies whether the bytes come at once or split at any point.
    void replies()
    {
        QFETCH(QByteArray, stream);
        QFETCH(Replies, expected);
        QFETCH(qsizetype, held);
        for (qsizetype split = 0; split <= stream.size(); ++split) {
            SmtpReplyReader reader;
            const QByteArrayView all(stream);
            QCOMPARE(readAll(reader, {all.first(split), all.sliced(split)}), expected);
            QCOMPARE(reader.bufferedBytes(), held);
        }
    }
    void limits()
    {
        SmtpReplyReader reader;
        const QByteArray longLine = "250 " + QByteArray(2 * SmtpReplyReader::MaxLineBytes, 'x');
        const Replies cut = readAll(reader, {longLine, "\r\n"});
        QCOMPARE(cut.size(), 1);
        QCOMPARE(cut[0][0], longLine.first(SmtpReplyReader::MaxLineBytes));

        const QByteArray line = "250-" + QByteArray(96, 'y') + "\r\n";
        const QByteArray flood = line.repeated(2 * SmtpReplyReader::MaxReplyBytes / 100);
        QCOMPARE(readAll(reader, {flood}), Replies{});
        QCOMPARE(reader.bufferedBytes(), SmtpReplyReader::MaxReplyBytes / 100 * 100);
        const Replies flooded = readAll(reader, {"250 end\r\n"});
        QCOMPARE(flooded.size(), 1);
        QCOMPARE(flooded[0].size(), SmtpReplyReader::MaxReplyBytes / 100 + 1);
        QCOMPARE(flooded[0].last(), QByteArray("250 end"));
        reader.clear();
        QCOMPARE(reader.bufferedBytes(), qsizetype(0));
    }
};
QTEST_APPLESS_MAIN(TestSmtpReplyReader)
#include "tst_smtpreplyreader.moc"
