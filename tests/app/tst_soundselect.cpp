#include "cp932.h"
#include "prompt.h"
#include "scriptedprompt.h"
#include "settings.h"
#include "soundplayer.h"
#include "soundselect.h"
#include "tagstore.h"

#include <QComboBox>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

namespace {
constexpr int SoundAt = 1273, SoundLength = 298, ChoiceAt = 1572;

QByteArray fileBytes(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

QString write(const QString &path, const QByteArray &bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size() ? path : QString();
}

void click(SoundSelect &dialog, const QString &name)
{
    auto *button = dialog.findChild<QPushButton *>(name);
    QVERIFY2(button, qPrintable(name));
    button->click();
}
} // namespace

class TestSoundSelect : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void entryStoresTheChoice_data();
    void entryStoresTheChoice();
    void replayAndClose_data();
    void replayAndClose();
    void fileDialogFilters();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<TagStore> m_store;
    std::unique_ptr<Settings> m_settings;
    // Record 1 as it stands now, for the object about to be made.
    Settings &settings()
    {
        m_settings = std::make_unique<Settings>(*m_store);
        m_settings->load();
        return *m_settings;
    }
    SoundPlayer m_player;
    ScriptedPrompt m_prompt;
};

void TestSoundSelect::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_store = std::make_unique<TagStore>(m_dir->filePath(QStringLiteral("Pinboard.dt1")));
    EnvRecord env;
    env.setText(Env::ArrivalSound, QStringLiteral("/snd/old.mid"));
    env.setInteger(Env::ArrivalSoundChoice, 1);
    QVERIFY(m_store->writeEnv(env));
    m_prompt.shown.clear();
    m_player.mci().setAudioDriver(QStringLiteral("file"), m_dir->filePath(QStringLiteral("o.raw")));
}

void TestSoundSelect::entryStoresTheChoice_data()
{
    QTest::addColumn<QString>("chosen"); // the file dialog's answer; empty = cancelled
    QTest::addColumn<QString>("clicks");
    QTest::addColumn<bool>("written");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<int>("choice");
    const QString old = QStringLiteral("/snd/old.mid");
    QTest::newRow("chosen") << QStringLiteral("/snd/Alarm.WAV")
                            << QStringLiteral("cmd_Sound cmd_Entry") << true
                            << QStringLiteral("/snd/Alarm.WAV") << 1;
    QTest::newRow("japanese") << QStringLiteral("/音/到着ｵﾝ.mid")
                              << QStringLiteral("cmd_Sound cmd_Entry") << true
                              << QStringLiteral("/音/到着ｵﾝ.mid") << 1;
    QTest::newRow("deleted") << QString() << QStringLiteral("cmd_DelSound cmd_Entry") << true
                             << QString() << 0;
    QTest::newRow("dialog cancelled")
        << QString() << QStringLiteral("cmd_Sound cmd_Entry") << true << old << 1;
    QTest::newRow("cancel") << QStringLiteral("/snd/new.mid")
                            << QStringLiteral("cmd_Sound cmd_Cancel") << false << old << 1;
}

void TestSoundSelect::entryStoresTheChoice()
{
    QFETCH(QString, chosen);
    QFETCH(QString, clicks);
    QFETCH(bool, written);
    QFETCH(QString, stored);
    QFETCH(int, choice);
    const QByteArray before = fileBytes(m_store->file().path());
    SoundSelect dialog(settings(), m_player, m_prompt);
    dialog.setFileChooser([&] { return chosen; });
    QCOMPARE(dialog.findChild<QLineEdit *>(QStringLiteral("txt_Sound"))->text(),
             QStringLiteral("/snd/old.mid"));
    for (const QString &name : clicks.split(u' '))
        click(dialog, name);

    // Only the two fields change, and only on cmd_Entry.
    QByteArray expected = before;
    if (written) {
        expected.replace(SoundAt, SoundLength, Cp932::toField(stored, SoundLength));
        LE::setInt16(expected, ChoiceAt, qint16(choice));
    }
    QCOMPARE(fileBytes(m_store->file().path()), expected);
    QCOMPARE(dialog.result(), written ? QDialog::Accepted : QDialog::Rejected);
    QCOMPARE(m_prompt.shown, QStringList());
}

void TestSoundSelect::replayAndClose_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("playing");
    QTest::addColumn<QStringList>("shown");
    // Type 0, one note of a second.
    QTest::newRow("midi") << QByteArray::fromHex(
                                 "4d546864 00000006 0000 0001 01e0 4d54726b 0000000d"
                                 "00903c64 8740803c40 00ff2f00")
                          << true << QStringList();
    QTest::newRow("not midi") << QByteArray("text") << false
                              << QStringList{QStringLiteral("MidiのﾌｧｲﾙのOpenに失敗しました。（"
                                                            "MIDIファイルとして読み込めません)")};
}

void TestSoundSelect::replayAndClose()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, playing);
    QFETCH(QStringList, shown);
    const QString path = write(m_dir->filePath(QStringLiteral("tune.mid")), bytes);
    SoundSelect dialog(settings(), m_player, m_prompt);
    dialog.setFileChooser([&] { return path; });
    dialog.show();
    click(dialog, QStringLiteral("cmd_Sound"));
    click(dialog, QStringLiteral("cmd_Replay"));
    QCOMPARE(m_player.midiPlaying(), playing);
    QCOMPARE(m_player.mci().isPlaying(), playing);
    dialog.close();
    QVERIFY(!m_player.midiPlaying());
    QVERIFY(!m_player.mci().isOpen());
    QCOMPARE(m_prompt.shown, shown);
}

void TestSoundSelect::fileDialogFilters()
{
    QDir folder(m_dir->path());
    QVERIFY(folder.mkdir(QStringLiteral("snd")) && folder.cd(QStringLiteral("snd")));
    for (const char *name : {"a.wav", "B.MID", "c.Mid", "d.txt", "e.midi"})
        QVERIFY(!write(folder.filePath(QLatin1String(name)), "x").isEmpty());
    const auto dialog = SoundSelect::createFileDialog();
    auto *types = dialog->findChild<QComboBox *>(QStringLiteral("fileTypeCombo"));
    QVERIFY(types && types->count() == 2);
    QCOMPARE(types->itemText(0), QStringLiteral("音源形式(*.WAV;MID)"));
    QCOMPARE(types->itemText(1), QStringLiteral("すべてのファイル(*.*)"));

    dialog->setDirectory(folder);
    dialog->show();
    auto *list = dialog->findChild<QListView *>(QStringLiteral("listView"));
    QVERIFY(list);
    const auto shownNames = [list] {
        QStringList names;
        for (int row = 0; row < list->model()->rowCount(list->rootIndex()); ++row)
            names << list->model()->index(row, 0, list->rootIndex()).data().toString();
        names.sort();
        return names.join(u' ');
    };
    QTRY_COMPARE(shownNames(), QStringLiteral("B.MID a.wav c.Mid"));
    dialog->selectNameFilter(dialog->nameFilters().at(1));
    QTRY_COMPARE(shownNames(), QStringLiteral("B.MID a.wav c.Mid d.txt e.midi"));
}

QTEST_MAIN(TestSoundSelect)
#include "tst_soundselect.moc"
