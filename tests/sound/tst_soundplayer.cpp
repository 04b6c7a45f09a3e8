#include "scriptedprompt.h"
#include "soundplayer.h"
#include "testfiles.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
// Type 0, one half-second note.
const QByteArray Tune = QByteArray::fromHex("4d546864 00000006 0000 0001 01e0 4d54726b 00000010"
                                            "00c000 00903c64 8360803c40 00ff2f00");
// Mono 16-bit 8 kHz, a tenth of a second of silence.
const QByteArray Wave = QByteArray::fromHex("52494646 64060000 57415645 666d7420 10000000 0100 0100"
                                            "401f0000 803e0000 0200 1000 64617461 40060000") +
                        QByteArray(1600, 0);
} // namespace

class TestSoundPlayer : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_player = std::make_unique<SoundPlayer>();
        m_player->mci().setAudioDriver(u"file"_s, m_dir->filePath(u"o.raw"_s));
        m_log.clear();
        m_prompt.shown.clear();
        connect(&m_player->mci(), &MciDevice::executed, this,
                [this](const QString &command, qint32 code) {
                    m_log << command + u" => "_s + QString::number(code);
                });
    }
    void midiAfterMidi()
    {
        const QString first = file(u"first.mid"_s, Tune), second = file(u"second.MID"_s, Tune);
        m_player->play(first, &m_prompt);
        QVERIFY(m_player->midiPlaying());
        m_player->play(second, &m_prompt);
        QVERIFY(m_player->midiPlaying());
        // At its end the second closes the device by itself.
        QTRY_VERIFY_WITH_TIMEOUT(!m_player->midiPlaying(), 10000);
        QVERIFY(!m_player->mci().isOpen());
        const QString run = u"Open \"%1\" alias Midi => 0|Play Midi notify => 0|Stop Midi => 0|"
                            u"Close Midi => 0"_s;
        QCOMPARE(m_log, (run.arg(first) + u'|' + run.arg(second)).split(u'|'));
        QCOMPARE(m_prompt.shown, QStringList());
    }
    void stopFailuresAreShown()
    {
        m_player->play(file(u"a.mid"_s, Tune), &m_prompt);
        m_player->mci().MciCommand(u"Close Midi"_s, nullptr, nullptr); // behind its back
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
        QTest::newRow("mixed case") << u"chime.Wav"_s << Wave << true << 0;
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
QTEST_MAIN(TestSoundPlayer)
#include "tst_soundplayer.moc"
