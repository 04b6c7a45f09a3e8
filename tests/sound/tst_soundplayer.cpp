#include "prompt.h"
#include "scriptedprompt.h"
#include "soundplayer.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

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
    void init();
    void midiAfterMidi();
    void stopFailuresAreShown();
    void routedByName_data();
    void routedByName();

private:
    QString file(const QString &name, const QByteArray &bytes);

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<SoundPlayer> m_player;
    QStringList m_log; // "command => code"
    ScriptedPrompt m_prompt;
};

QString TestSoundPlayer::file(const QString &name, const QByteArray &bytes)
{
    QFile f(m_dir->filePath(name));
    if (!bytes.isEmpty() && f.open(QIODevice::WriteOnly))
        f.write(bytes);
    return f.fileName();
}

void TestSoundPlayer::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_player = std::make_unique<SoundPlayer>();
    m_player->mci().setAudioDriver(QStringLiteral("file"),
                                   m_dir->filePath(QStringLiteral("o.raw")));
    m_log.clear();
    m_prompt.shown.clear();
    connect(&m_player->mci(), &MciDevice::executed, this,
            [this](const QString &command, qint32 code) {
                m_log << command + QStringLiteral(" => ") + QString::number(code);
            });
}

void TestSoundPlayer::midiAfterMidi()
{
    const QString first = file(QStringLiteral("first.mid"), Tune);
    const QString second = file(QStringLiteral("second.MID"), Tune);
    m_player->play(first, &m_prompt);
    QVERIFY(m_player->midiPlaying());
    m_player->play(second, &m_prompt);
    QVERIFY(m_player->midiPlaying());
    // At its end the second closes the device by itself.
    QTRY_VERIFY_WITH_TIMEOUT(!m_player->midiPlaying(), 10000);
    QVERIFY(!m_player->mci().isOpen());
    const QString stopClose[] = {QStringLiteral("Stop Midi => 0"),
                                 QStringLiteral("Close Midi => 0")};
    QCOMPARE(m_log,
             QStringList({QStringLiteral("Open \"%1\" alias Midi => 0").arg(first),
                          QStringLiteral("Play Midi notify => 0"), stopClose[0], stopClose[1],
                          QStringLiteral("Open \"%1\" alias Midi => 0").arg(second),
                          QStringLiteral("Play Midi notify => 0"), stopClose[0], stopClose[1]}));
    QCOMPARE(m_prompt.shown, QStringList());
}

void TestSoundPlayer::stopFailuresAreShown()
{
    m_player->play(file(QStringLiteral("a.mid"), Tune), &m_prompt);
    m_player->mci().MciCommand(QStringLiteral("Close Midi"), nullptr, nullptr); // behind its back
    m_player->stopMidi(&m_prompt);
    QCOMPARE(
        m_prompt.shown,
        QStringList(
            {QStringLiteral("MidiのﾌｧｲﾙのStopに失敗しました。（デバイスが開かれていません)"),
             QStringLiteral("MidiのﾌｧｲﾙのCloseに失敗しました。（デバイスが開かれていません)")}));
    QVERIFY(!m_player->midiPlaying());
}

void TestSoundPlayer::routedByName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("bytes"); // empty: the file does not exist
    QTest::addColumn<bool>("wave");
    QTest::addColumn<int>("commands");
    QTest::newRow("capital WAV") << QStringLiteral("CHIME.WAV") << Wave << true << 0;
    QTest::newRow("mixed case") << QStringLiteral("chime.Wav") << Wave << true << 0;
    QTest::newRow("wav inside name") << QStringLiteral("chime.wav.mid") << Tune << false << 2;
    QTest::newRow("missing midi") << QStringLiteral("gone.mid") << QByteArray() << false << 0;
}

void TestSoundPlayer::routedByName()
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

QTEST_MAIN(TestSoundPlayer)
#include "tst_soundplayer.moc"
