#include "mcidevice.h"
#include "testfiles.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

namespace {
// Type 0, piano, two quarter notes at 120 bpm: one second.
const QByteArray Tune = QByteArray::fromHex("4d546864 00000006 0000 0001 01e0 4d54726b 00000019"
                                            "00c000 00903c7f 8360803c40 0090407f 8360804040"
                                            "00ff2f00");
} // namespace

class TestMciDevice : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void commandCodes_data();
    void commandCodes();
    void playsToTheEnd_data();
    void playsToTheEnd();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestMciDevice::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    const std::pair<const char *, QByteArray> files[] = {{"tune.mid", Tune},
                                                         {"text.mid", "text, not MIDI"}};
    for (const auto &[name, bytes] : files)
        QVERIFY(writeFile(m_dir->filePath(QLatin1String(name)), bytes));
}

void TestMciDevice::commandCodes_data()
{
    QTest::addColumn<QString>("driver");
    QTest::addColumn<QString>("before"); // sent first, when not empty
    QTest::addColumn<QString>("command");
    QTest::addColumn<qint32>("code");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *name, const char *driver, const char *before,
                        const char *command, qint32 code, const char *text) {
        QTest::newRow(name) << QString::fromUtf8(driver) << QString::fromUtf8(before)
                            << QString::fromUtf8(command) << code << QString::fromUtf8(text);
    };
    const char *open = "Open \"%1/tune.mid\" alias Midi";
    const char *notOpen = "デバイスが開かれていません";
    const char *badParameter = "コマンドのパラメータが正しくありません";
    row("empty", "file", "", "", 267, "コマンド文字列が指定されていません");
    row("unknown command", "file", "", "Pause Midi", 261, "認識できないコマンドです");
    row("play before open", "file", "", "play midi notify", 276, notOpen);
    row("close twice", "file", "Close Midi", "Close Midi", 276, notOpen);
    row("unknown alias", "file", "", "Stop Cd", 263, "指定されたデバイス名は認識できません");
    row("open other alias", "file", "", "Open \"%1/tune.mid\" alias Cd", 263,
        "指定されたデバイス名は認識できません");
    row("missing file", "file", "", "Open \"%1/none.mid\" alias Midi", 275,
        "指定されたファイルが見つかりません");
    row("not midi", "file", "", "Open \"%1/text.mid\" alias Midi", 296,
        "MIDIファイルとして読み込めません");
    row("open quote", "file", "", "Open \"%1/tune.mid alias Midi", 259, badParameter);
    row("play flag", "file", open, "Play Midi wait", 259, badParameter);
    row("open twice", "file", open, open, 265, "デバイスは既に開かれています");
    row("close", "file", open, "CLOSE MIDI", 0, "");
    row("no audio output", "no-such-driver", "", open, 266, "オーディオ出力を開けません");
    row("play without output", "no-such-driver", open, "Play Midi", 276, notOpen);
}

void TestMciDevice::commandCodes()
{
    QFETCH(QString, driver);
    QFETCH(QString, before);
    QFETCH(QString, command);
    QFETCH(qint32, code);
    QFETCH(QString, text);
    MciDevice mci;
    mci.setAudioDriver(driver, m_dir->filePath(QStringLiteral("out.raw")));
    if (!before.isEmpty())
        mci.MciCommand(before.replace(QStringLiteral("%1"), m_dir->path()), nullptr, nullptr);
    QString result = QStringLiteral("stale"), errorText;
    command.replace(QStringLiteral("%1"), m_dir->path());
    QCOMPARE(mci.MciCommand(command, &result, &errorText), code);
    QCOMPARE(errorText, text);
    QCOMPARE(result, QString());
    // An Open sent before stays open unless this command closed it.
    QCOMPARE(mci.isOpen(), before.startsWith(u"Open") && code != 0 && driver == u"file");
}

void TestMciDevice::playsToTheEnd_data()
{
    QTest::addColumn<QString>("play");
    QTest::addColumn<int>("stopAfterMs"); // -1: play to the end
    QTest::addColumn<int>("notifies");
    QTest::newRow("notify") << QStringLiteral("play midi NOTIFY") << -1 << 1;
    QTest::newRow("no notify") << QStringLiteral("PLAY MIDI") << -1 << 0;
    QTest::newRow("stopped") << QStringLiteral("Play Midi notify") << 300 << 0;
}

void TestMciDevice::playsToTheEnd()
{
    QFETCH(QString, play);
    QFETCH(int, stopAfterMs);
    QFETCH(int, notifies);
    const QString output = m_dir->filePath(QStringLiteral("out.raw"));
    MciDevice mci;
    mci.setAudioDriver(QStringLiteral("file"), output);
    QElapsedTimer clock;
    QList<qint64> notified; // ms after Play
    connect(&mci, &MciDevice::notify, this, [&] { notified << clock.elapsed(); });
    const QString open =
        QStringLiteral("OPEN \"%1\" ALIAS MIDI").arg(m_dir->filePath(QStringLiteral("tune.mid")));
    QCOMPARE(mci.MciCommand(open, nullptr, nullptr), 0);
    clock.start();
    QCOMPARE(mci.MciCommand(play, nullptr, nullptr), 0);
    QVERIFY(mci.isPlaying());
    if (stopAfterMs >= 0) {
        QTest::qWait(stopAfterMs);
        QCOMPARE(mci.MciCommand(QStringLiteral("Stop Midi"), nullptr, nullptr), 0);
    }
    // FluidSynth lets the last notes ring out before it calls the file done.
    QTRY_VERIFY_WITH_TIMEOUT(!mci.isPlaying(), 10000);
    QTest::qWait(250); // more than one poll
    QCOMPARE(notified.size(), notifies);
    QVERIFY(notified.isEmpty() || notified.first() >= 1000);
    QCOMPARE(mci.MciCommand(QStringLiteral("Close Midi"), nullptr, nullptr), 0);

    const QByteArray raw = fileBytes(output);
    int peak = 0;
    for (qsizetype i = 0; i + 1 < raw.size(); i += 2)
        peak = qMax(peak, qAbs(int(qFromLittleEndian<qint16>(raw.constData() + i))));
    QVERIFY2(peak > 500,
             qPrintable(QStringLiteral("peak %1 in %2 bytes").arg(peak).arg(raw.size())));
}

QTEST_GUILESS_MAIN(TestMciDevice)
#include "tst_mcidevice.moc"
