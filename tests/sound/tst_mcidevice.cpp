#include "mcidevice.h"
#include "testfiles.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

using namespace Qt::StringLiterals;

class TestMciDevice : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(writeFile(
            m_dir->filePath(u"tune.mid"_s),
            QByteArray::fromHex("4d546864 00000006 0000 0001 01e0 4d54726b 00000019"
                                "00c000 00903c7f 8360803c40 0090407f 8360804040 00ff2f00")));
        QVERIFY(writeFile(m_dir->filePath(u"text.mid"_s), "text, not MIDI"));
        m_mci = std::make_unique<MciDevice>();
    }
    void commandCodes_data()
    {
        QTest::addColumn<QString>("driver");
        QTest::addColumn<QString>("before"); // sent first, when not empty
        QTest::addColumn<QString>("command");
        QTest::addColumn<qint32>("code");
        QTest::addColumn<QString>("text");
        const auto row = [](const char *name, const char *driver, const QString &before,
                            const QString &command, qint32 code, const QString &text) {
            QTest::newRow(name) << QString::fromLatin1(driver) << before << command << code << text;
        };
        const QString open = u"Open \"%1/tune.mid\" alias Midi"_s, none;
        const QString notOpen = u"デバイスが開かれていません"_s,
                      badName = u"指定されたデバイス名は認識できません"_s;
        const QString badParameter = u"コマンドのパラメータが正しくありません"_s;
        row("empty", "file", none, none, 267, u"コマンド文字列が指定されていません"_s);
        row("unknown command", "file", none, u"Pause Midi"_s, 261, u"認識できないコマンドです"_s);
        row("play before open", "file", none, u"play midi notify"_s, 276, notOpen);
        row("close twice", "file", u"Close Midi"_s, u"Close Midi"_s, 276, notOpen);
        row("unknown alias", "file", none, u"Stop Cd"_s, 263, badName);
        row("open other alias", "file", none, u"Open \"%1/tune.mid\" alias Cd"_s, 263, badName);
        row("missing file", "file", none, u"Open \"%1/none.mid\" alias Midi"_s, 275,
            u"指定されたファイルが見つかりません"_s);
        row("not midi", "file", none, u"Open \"%1/text.mid\" alias Midi"_s, 296,
            u"MIDIファイルとして読み込めません"_s);
        row("open quote", "file", none, u"Open \"%1/tune.mid alias Midi"_s, 259, badParameter);
        row("play flag", "file", open, u"Play Midi wait"_s, 259, badParameter);
        row("open twice", "file", open, open, 265, u"デバイスは既に開かれています"_s);
        row("close", "file", open, u"CLOSE MIDI"_s, 0, none);
        row("no audio output", "no-such-driver", none, open, 266, u"オーディオ出力を開けません"_s);
        row("play without output", "no-such-driver", open, u"Play Midi"_s, 276, notOpen);
    }
    void commandCodes()
    {
        QFETCH(QString, driver);
        QFETCH(QString, before);
        QFETCH(QString, command);
        QFETCH(qint32, code);
        QFETCH(QString, text);
        m_mci->setAudioDriver(driver, m_dir->filePath(u"out.raw"_s));
        if (!before.isEmpty())
            send(before);
        QString result = u"stale"_s, errorText;
        QCOMPARE(send(command, &result, &errorText), code);
        QCOMPARE(errorText, text);
        QCOMPARE(result, QString());
        // An Open sent before stays open unless this command closed it.
        QCOMPARE(m_mci->isOpen(), before.startsWith(u"Open") && code != 0 && driver == u"file");
    }
    void playsToTheEnd_data()
    {
        QTest::addColumn<QString>("play");
        QTest::addColumn<int>("stopAfterMs"); // -1: play to the end
        QTest::addColumn<int>("notifies");
        QTest::newRow("notify") << u"play midi NOTIFY"_s << -1 << 1;
        QTest::newRow("no notify") << u"PLAY MIDI"_s << -1 << 0;
        QTest::newRow("stopped") << u"Play Midi notify"_s << 300 << 0;
    }
    void playsToTheEnd()
    {
        QFETCH(QString, play);
        QFETCH(int, stopAfterMs);
        QFETCH(int, notifies);
        const QString output = m_dir->filePath(u"out.raw"_s);
        m_mci->setAudioDriver(u"file"_s, output);
        QElapsedTimer clock;
        QList<qint64> notified; // ms after Play
        connect(m_mci.get(), &MciDevice::notify, this, [&] { notified << clock.elapsed(); });
        QCOMPARE(send(u"OPEN \"%1/tune.mid\" ALIAS MIDI"_s), 0);
        clock.start();
        QCOMPARE(send(play), 0);
        QVERIFY(m_mci->isPlaying());
        if (stopAfterMs >= 0) {
            QTest::qWait(stopAfterMs);
            QCOMPARE(send(u"Stop Midi"_s), 0);
        }
        // FluidSynth lets the last notes ring out before it calls the file done.
        QTRY_VERIFY_WITH_TIMEOUT(!m_mci->isPlaying(), 10000);
        QTest::qWait(250); // more than one poll
        QCOMPARE(notified.size(), notifies);
        QVERIFY(notified.isEmpty() || notified.first() >= 1000);
        QCOMPARE(send(u"Close Midi"_s), 0);
        const QByteArray raw = fileBytes(output);
        int peak = 0;
        for (qsizetype i = 0; i + 1 < raw.size(); i += 2)
            peak = qMax(peak, qAbs(int(qFromLittleEndian<qint16>(raw.constData() + i))));
        QVERIFY2(peak > 500, qPrintable(u"peak %1 in %2 bytes"_s.arg(peak).arg(raw.size())));
    }

private:
    // Sent with %1 as the folder of tune.mid (type 0, piano, two quarter notes at
    // 120 bpm: one second) and text.mid (not MIDI).
    qint32 send(QString command, QString *result = nullptr, QString *error = nullptr)
    {
        return m_mci->MciCommand(command.replace(u"%1"_s, m_dir->path()), result, error);
    }
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<MciDevice> m_mci;
};
QTEST_GUILESS_MAIN(TestMciDevice)
#include "tst_mcidevice.moc"
