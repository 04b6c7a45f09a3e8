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
const QByteArray Tune =
    QByteArray::fromHex("4d546864 00000006 0000 0001 01e0 4d54726b 00000019"
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
    // "code text" of a command, after `before` when not empty; an Open sent before
    // stays open unless the command closed it.
    void commandCodes()
    {
        const QString open = u"Open \"%1/tune.mid\" alias Midi"_s;
        const QString notOpen = u"276 デバイスが開かれていません"_s;
        QCOMPARE(code({}, {}), u"267 コマンド文字列が指定されていません"_s);
        QCOMPARE(code({}, u"Pause Midi"_s), u"261 認識できないコマンドです"_s);
        QCOMPARE(code({}, u"play midi notify"_s), notOpen);
        QCOMPARE(code({}, u"Stop Cd"_s), u"263 指定されたデバイス名は認識できません"_s);
        QCOMPARE(code({}, u"Open \"%1/none.mid\" alias Midi"_s),
                 u"275 指定されたファイルが見つかりません"_s);
        QCOMPARE(code({}, u"Open \"%1/text.mid\" alias Midi"_s),
                 u"296 MIDIファイルとして読み込めません"_s);
        QCOMPARE(code(open, u"Play Midi wait"_s), u"259 コマンドのパラメータが正しくありません"_s);
        QCOMPARE(code(open, open), u"265 デバイスは既に開かれています"_s);
        QCOMPARE(code(open, u"CLOSE MIDI"_s), u"0 "_s);
        QCOMPARE(code({}, open, u"no-such-driver"_s), u"266 オーディオ出力を開けません"_s);
        QCOMPARE(code(open, u"Play Midi"_s, u"no-such-driver"_s), notOpen);
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
    // By the name's ending, in any case; a missing MIDI file is passed over quietly.
    void routedByName()
    {
        const QString wave = file(u"CHIME.WAV"_s, Wave);
        m_player->play(wave, &m_prompt);
        QCOMPARE(m_player->waveSource(), QUrl::fromLocalFile(wave));
        QVERIFY(m_log.isEmpty());
        m_player->play(m_dir->filePath(u"gone.mid"_s), &m_prompt);
        QVERIFY(m_log.isEmpty());
        m_player->play(file(u"chime.wav.mid"_s, Tune), &m_prompt);
        QCOMPARE(m_log.size(), 2); // Open and Play
        QCOMPARE(m_prompt.shown, QStringList());
    }

private:
    MciDevice &mci() { return m_player->mci(); }
    QString code(const QString &before, const QString &command, const QString &driver = u"file"_s)
    {
        mci().setAudioDriver(driver, m_dir->filePath(u"out.raw"_s));
        if (!before.isEmpty())
            send(before);
        QString result = u"stale"_s, errorText;
        const qint32 code = send(command, &result, &errorText);
        const bool open = before.startsWith(u"Open") && code != 0 && driver == u"file";
        if (!result.isEmpty() || mci().isOpen() != open)
            return u"result %1, open %2"_s.arg(result).arg(mci().isOpen());
        send(u"Close Midi"_s);
        return QString::number(code) + u' ' + errorText;
    }
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
