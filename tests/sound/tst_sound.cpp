#include "scriptedprompt.h"
#include "soundplayer.h"
#include "testfiles.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

using namespace Qt::StringLiterals;

namespace {
// Type 0, piano, two quarter notes at 120 bpm: one second.
const QByteArray Tune = QByteArray::fromHex("4d546864 00000006 0000 0001 01e0 4d54726b 00000019"
                                            "00c000 00903c7f 8360803c40 0090407f 8360804040 00ff2f00");
// Mono 16-bit 8 kHz, a tenth of a second of silence.
const QByteArray Wave = QByteArray::fromHex("52494646 64060000 57415645 666d7420 10000000 0100 0100"
                                            "401f0000 803e0000 0200 1000 64617461 40060000") +
                        QByteArray(1600, 0);
} // namespace

// The MCI command interpreter, and the player that drives it for alarms.
class TestSound : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(writeFile(m_dir->filePath(u"tune.mid"_s), Tune));
        QVERIFY(writeFile(m_dir->filePath(u"text.mid"_s), "text, not MIDI"));
        m_player = std::make_unique<SoundPlayer>();
        mci().setAudioDriver(u"file"_s, m_dir->filePath(u"out.raw"_s));
        m_log.clear();
        m_prompt = ScriptedPrompt();
        connect(&mci(), &MciDevice::executed, this, [this](const QString &command, qint32 code) {
            m_log << command + u" => "_s + QString::number(code);
        });
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
        const QString notOpen = u"デバイスが開かれていません"_s;
        row("empty", "file", none, none, 267, u"コマンド文字列が指定されていません"_s);
        row("unknown command", "file", none, u"Pause Midi"_s, 261, u"認識できないコマンドです"_s);
        row("play before open", "file", none, u"play midi notify"_s, 276, notOpen);
        row("unknown alias", "file", none, u"Stop Cd"_s, 263,
            u"指定されたデバイス名は認識できません"_s);
        row("missing file", "file", none, u"Open \"%1/none.mid\" alias Midi"_s, 275,
            u"指定されたファイルが見つかりません"_s);
        row("not midi", "file", none, u"Open \"%1/text.mid\" alias Midi"_s, 296,
            u"MIDIファイルとして読み込めません"_s);
        row("play flag", "file", open, u"Play Midi wait"_s, 259,
            u"コマンドのパラメータが正しくありません"_s);
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
        mci().setAudioDriver(driver, m_dir->filePath(u"out.raw"_s));
        if (!before.isEmpty())
            send(before);
        QString result = u"stale"_s, errorText;
        QCOMPARE(send(command, &result, &errorText), code);
        QCOMPARE(errorText, text);
        QCOMPARE(result, QString());
        // An Open sent before stays open unless this command closed it.
        QCOMPARE(mci().isOpen(), before.startsWith(u"Open") && code != 0 && driver == u"file");
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
        QElapsedTimer clock;
        QList<qint64> notified; // ms after Play
        connect(&mci(), &MciDevice::notify, this, [&] { notified << clock.elapsed(); });
        QCOMPARE(send(u"OPEN \"%1/tune.mid\" ALIAS MIDI"_s), 0);
        clock.start();
        QCOMPARE(send(play), 0);
        QVERIFY(mci().isPlaying());
        if (stopAfterMs >= 0) {
            QTest::qWait(stopAfterMs);
            QCOMPARE(send(u"Stop Midi"_s), 0);
        }
        // FluidSynth lets the last notes ring out before it calls the file done.
        QTRY_VERIFY_WITH_TIMEOUT(!mci().isPlaying(), 10000);
        QTest::qWait(250); // more than one poll
        QCOMPARE(notified.size(), notifies);
        QVERIFY(notified.isEmpty() || notified.first() >= 1000);
        QCOMPARE(send(u"Close Midi"_s), 0);
        const QByteArray raw = fileBytes(m_dir->filePath(u"out.raw"_s));
        int peak = 0;
        for (qsizetype i = 0; i + 1 < raw.size(); i += 2)
            peak = qMax(peak, qAbs(int(qFromLittleEndian<qint16>(raw.constData() + i))));
        QVERIFY2(peak > 500, qPrintable(u"peak %1 in %2 bytes"_s.arg(peak).arg(raw.size())));
    }
    void midiAfterMidi()
    {
        const QString first = file(u"first.mid"_s, Tune), second = file(u"second.MID"_s, Tune);
        m_player->play(first, &m_prompt);
        m_player->play(second, &m_prompt);
        QVERIFY(m_player->midiPlaying());
        // At its end the second closes the device by itself.
        QTRY_VERIFY_WITH_TIMEOUT(!m_player->midiPlaying(), 10000);
        QVERIFY(!mci().isOpen());
        const QString run = u"Open \"%1\" alias Midi => 0|Play Midi notify => 0|Stop Midi => 0|"
                            u"Close Midi => 0"_s;
        QCOMPARE(m_log, (run.arg(first) + u'|' + run.arg(second)).split(u'|'));
        QCOMPARE(m_prompt.shown, QStringList());
    }
    void stopFailuresAreShown()
    {
        m_player->play(file(u"a.mid"_s, Tune), &m_prompt);
        mci().MciCommand(u"Close Midi"_s, nullptr, nullptr); // behind its back
        m_player->stopMidi(&m_prompt);
        QCOMPARE(
            m_prompt.shown,
            QStringList({u"MidiのﾌｧｲﾙのStopに失敗しました。（デバイスが開かれていません)"_s,
                         u"MidiのﾌｧｲﾙのCloseに失敗しました。（デバイスが開かれていません)"_s}));
        QVERIFY(!m_player->midiPlaying());
    }
    void routedByName_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("bytes"); // empty: the file does not exist
        QTest::addColumn<bool>("wave");
        QTest::addColumn<int>("commands");
        QTest::newRow("capital WAV") << u"CHIME.WAV"_s << Wave << true << 0;
        QTest::newRow("wav inside name") << u"chime.wav.mid"_s << Tune << false << 2;
        QTest::newRow("missing midi") << u"gone.mid"_s << QByteArray() << false << 0;
    }
    void routedByName()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, bytes);
        QFETCH(bool, wave);
        QFETCH(int, commands);
        const QString path = file(name, bytes);
        m_player->play(path, &m_prompt);
        QCOMPARE(m_player->waveSource(), wave ? QUrl::fromLocalFile(path) : QUrl());
        QCOMPARE(m_log.size(), commands);
        QCOMPARE(m_prompt.shown, QStringList());
    }

private:
    MciDevice &mci() { return m_player->mci(); }
    // Sent with %1 as the folder of tune.mid and text.mid.
    qint32 send(QString command, QString *result = nullptr, QString *error = nullptr)
    {
        return mci().MciCommand(command.replace(u"%1"_s, m_dir->path()), result, error);
    }
    QString file(const QString &name, const QByteArray &bytes)
    {
        const QString path = m_dir->filePath(name);
        return bytes.isEmpty() || writeFile(path, bytes) ? path : QString();
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<SoundPlayer> m_player;
    QStringList m_log; // "command => code"
    ScriptedPrompt m_prompt;
};
QTEST_MAIN(TestSound)
#include "tst_sound.moc"
