#include "cp932.h"
#include "scriptedprompt.h"
#include "soundplayer.h"
#include "soundselect.h"
#include "tempstore.h"
#include "testfiles.h"

#include <QComboBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
constexpr int SoundAt = 1273, SoundLength = 298, ChoiceAt = 1572;

// Record 1 with an arrival sound chosen; the player writes its audio to a file.
struct Fixture : TempStore
{
    SoundPlayer player;
    ScriptedPrompt prompt;
    Fixture()
    {
        EnvRecord env;
        env.setText(Env::ArrivalSound, u"/snd/old.mid"_s);
        env.setInteger(Env::ArrivalSoundChoice, 1);
        QVERIFY(store.writeEnv(env));
        player.mci().setAudioDriver(u"file"_s, path(u"o.raw"_s));
    }
    void click(SoundSelect &dialog, const QString &names)
    {
        for (const QString &name : names.split(u' '))
            dialog.findChild<QPushButton *>(name)->click();
    }
};
} // namespace

class TestSoundSelect : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void entryStoresTheChoice_data();
    void entryStoresTheChoice();
    void replayAndClose_data();
    void replayAndClose();
    void fileDialogFilters();
};

void TestSoundSelect::entryStoresTheChoice_data()
{
    QTest::addColumn<QString>("chosen"); // the file dialog's answer; empty = cancelled
    QTest::addColumn<QString>("clicks");
    QTest::addColumn<bool>("written");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<int>("choice");
    const QString old = u"/snd/old.mid"_s, entry = u"cmd_Sound cmd_Entry"_s;
    QTest::newRow("chosen") << u"/snd/Alarm.WAV"_s << entry << true << u"/snd/Alarm.WAV"_s << 1;
    QTest::newRow("japanese") << u"/音/到着ｵﾝ.mid"_s << entry << true << u"/音/到着ｵﾝ.mid"_s << 1;
    QTest::newRow("deleted") << QString() << u"cmd_DelSound cmd_Entry"_s << true << QString() << 0;
    QTest::newRow("dialog cancelled") << QString() << entry << true << old << 1;
    QTest::newRow("cancel") << u"/snd/new.mid"_s << u"cmd_Sound cmd_Cancel"_s << false << old << 1;
}

void TestSoundSelect::entryStoresTheChoice()
{
    QFETCH(QString, chosen);
    QFETCH(QString, clicks);
    QFETCH(bool, written);
    QFETCH(QString, stored);
    QFETCH(int, choice);
    Fixture f;
    const QByteArray before = fileBytes(f.store.file().path());
    SoundSelect dialog(f.settings(), f.player, f.prompt);
    dialog.setFileChooser([&] { return chosen; });
    QCOMPARE(dialog.findChild<QLineEdit *>(u"txt_Sound"_s)->text(), u"/snd/old.mid"_s);
    f.click(dialog, clicks);
    // Only the two fields change, and only on cmd_Entry.
    QByteArray expected = before;
    if (written) {
        expected.replace(SoundAt, SoundLength, Cp932::toField(stored, SoundLength));
        LE::setInt16(expected, ChoiceAt, qint16(choice));
    }
    QCOMPARE(fileBytes(f.store.file().path()), expected);
    QCOMPARE(dialog.result(), written ? QDialog::Accepted : QDialog::Rejected);
    QVERIFY(f.prompt.shown.isEmpty());
}

void TestSoundSelect::replayAndClose_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("shown"); // none: it plays
    // Type 0, one note of a second.
    QTest::newRow("midi") << QByteArray::fromHex("4d546864 00000006 0000 0001 01e0 4d54726b "
                                                 "0000000d 00903c64 8740803c40 00ff2f00")
                          << QStringList();
    QTest::newRow("not midi") << QByteArray("text")
                              << QStringList{QStringLiteral("MidiのﾌｧｲﾙのOpenに失敗しました。（"
                                                            "MIDIファイルとして読み込めません)")};
}

void TestSoundSelect::replayAndClose()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QStringList, shown);
    Fixture f;
    const QString path = f.path(u"tune.mid"_s);
    QVERIFY(writeFile(path, bytes));
    SoundSelect dialog(f.settings(), f.player, f.prompt);
    dialog.setFileChooser([&] { return path; });
    dialog.show();
    f.click(dialog, u"cmd_Sound cmd_Replay"_s);
    QCOMPARE(f.player.midiPlaying(), shown.isEmpty());
    QCOMPARE(f.player.mci().isPlaying(), shown.isEmpty());
    dialog.close();
    QVERIFY(!f.player.midiPlaying());
    QVERIFY(!f.player.mci().isOpen());
    QCOMPARE(f.prompt.shown, shown);
}

void TestSoundSelect::fileDialogFilters()
{
    QTemporaryDir t;
    QDir folder(t.path());
    for (const char *name : {"a.wav", "B.MID", "c.Mid", "d.txt", "e.midi"})
        QVERIFY(writeFile(folder.filePath(QLatin1String(name)), "x"));
    const auto dialog = SoundSelect::createFileDialog();
    auto *types = dialog->findChild<QComboBox *>(u"fileTypeCombo"_s);
    QVERIFY(types && types->count() == 2);
    QCOMPARE(types->itemText(0), u"音源形式(*.WAV;MID)"_s);
    QCOMPARE(types->itemText(1), u"すべてのファイル(*.*)"_s);
    dialog->setDirectory(folder);
    dialog->show();
    auto *list = dialog->findChild<QListView *>(u"listView"_s);
    QVERIFY(list);
    const auto shownNames = [list] {
        QStringList names;
        for (int row = 0; row < list->model()->rowCount(list->rootIndex()); ++row)
            names << list->model()->index(row, 0, list->rootIndex()).data().toString();
        names.sort();
        return names.join(u' ');
    };
    QTRY_COMPARE(shownNames(), u"B.MID a.wav c.Mid"_s);
    dialog->selectNameFilter(dialog->nameFilters().at(1));
    QTRY_COMPARE(shownNames(), u"B.MID a.wav c.Mid d.txt e.midi"_s);
}

QTEST_MAIN(TestSoundSelect)
#include "tst_soundselect.moc"
