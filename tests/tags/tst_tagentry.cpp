#include "clock.h"
#include "manualclock.h"
#include "oledate.h"
#include "prompt.h"
#include "scriptedprompt.h"
#include "settings.h"
#include "soundplayer.h"
#include "tagentry.h"
#include "tagstore.h"
#include "tagwindow.h"
#include "tempstore.h"
#include "textcalendar.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QTest>
#include <memory>

using namespace Qt::StringLiterals;

class TestTagEntry : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_entry.reset();
        m_data = std::make_unique<TempStore>();
        m_store = &m_data->store;
        m_prompt = ScriptedPrompt();
        m_sound = std::make_unique<SoundPlayer>();
        reopen(0);
    }

    void newTagRoundTrip()
    {
        m_entry->openNew();
        QCOMPARE(get<QLineEdit>("txt_Date")->text(), u"2024/05/01"_s);
        QVERIFY(get<QCheckBox>("chk_Frame")->isChecked()); // DefaultFrame of a fresh record 1
        QVERIFY(!get<QPushButton>("cmd_Delete")->isEnabled());
        message()->setPlainText(u"会議\n3F"_s);
        QCOMPARE(get<QLabel>("lbl_Length")->text(), u"残りﾊﾞｲﾄ数：27992"_s);
        check("opt_Sel1");
        pick("cmb_HH", 10);
        pick("cmb_MM", 30);
        pick("cmb_DHH", 12); // after "なし"
        pick("cmb_DMM", 1);
        check("chk_Blink");
        get<QLineEdit>("txt_Xadr")->setText(u"40"_s);
        QSignalSpy stored(m_entry.get(), &TagEntry::tagStored);
        click("Command1");

        QCOMPARE(m_prompt.shown, QStringList());
        QCOMPARE(stored.count(), 1);
        QCOMPARE(stored.at(0).at(0).toInt(), 1);
        QCOMPARE(m_entry->result(), int(QDialog::Accepted));
        const auto tag = m_store->readTag(1);
        QVERIFY(tag);
        QCOMPARE(tag->tagNumber(), u"00001"_s);
        QCOMPARE(tag->message(), u"会議\r\n3F"_s);
        QCOMPARE(tag->byte(Tag::ScheduleKind), 1);
        QCOMPARE(tag->date(Tag::DisplayDateTime),
                 QDateTime(QDate(2024, 5, 1), QTime(10, 30), Qt::UTC));
        QCOMPARE(tag->date(Tag::EraseDateTime),
                 QDateTime(QDate(2024, 5, 1), QTime(11, 0), Qt::UTC));
        QCOMPARE(tag->byte(Tag::Blink) + tag->byte(Tag::Frame), 2);
        QCOMPARE(tag->longValue(Tag::PosX), 40);
        // Closing keeps the editor's size in twips.
        const auto env = m_store->readEnv();
        QCOMPARE(env->longValue(Env::EntryWidth), m_entry->width() * 1440 / m_entry->logicalDpiX());
        QVERIFY(env->longValue(Env::EntryHeight) > 0);
    }

    // The rules themselves are tested on TagEntryInput; here, that a fault keeps the
    // dialog open and puts the cursor on the control at fault.
    void faultFocus()
    {
        m_entry->openNew();
        m_entry->show();
        QVERIFY(QTest::qWaitForWindowActive(m_entry.get()));
        message()->setPlainText(u"x"_s);
        check("opt_Sel1");
        get<QLineEdit>("txt_Ddate")->setText(u"2024/05/01"_s);
        pick("cmb_HH", 10);
        pick("cmb_MM", 0);
        click("Command1");
        QCOMPARE(m_prompt.shown,
                 QStringList{u"表示日と消去日が同じ時は、消去時刻も指定して下さい。"_s});
        QCOMPARE(m_prompt.titles, QStringList{Prompt::defaultTitle()});
        QCOMPARE(QApplication::focusWidget()->objectName(), u"cmb_DHH"_s);
        QVERIFY(m_entry->isVisible());
        QCOMPARE(m_store->tagCount(), 0);
    }

    void editExisting()
    {
        QCOMPARE(addWeeklyTag(), 1);
        reopen(1);
        QCOMPARE(m_entry->tagIndex(), 1);
        QCOMPARE(message()->toPlainText(), u"朝礼\n3F"_s);
        QVERIFY(get<QRadioButton>("opt_Sel3")->isChecked());
        QVERIFY(get<QCheckBox>("chk_Week1")->isChecked() && get<QCheckBox>("chk_No1")->isChecked());
        QVERIFY(!get<QCheckBox>("chk_Week0")->isChecked() &&
                !get<QCheckBox>("chk_No0")->isChecked());
        QCOMPARE(get<QComboBox>("cmb_HH")->currentText(), u"08時"_s);
        QCOMPARE(get<QComboBox>("cmb_MM")->currentText(), u"15分"_s);
        QCOMPARE(get<QComboBox>("cmb_DHH")->currentText(), u"なし"_s);
        QVERIFY(!get<QLineEdit>("txt_Date")->isEnabled() &&
                !get<QComboBox>("cmb_Day")->isEnabled());
        QVERIFY(get<QCheckBox>("chk_Week3")->isEnabled());
        QVERIFY(!m_entry->isChanged());

        message()->setPlainText(u"朝礼は中止"_s);
        check("chk_Week5");
        QVERIFY(m_entry->isChanged());
        QSignalSpy stored(m_entry.get(), &TagEntry::tagStored);
        click("Command1");
        QCOMPARE(stored.count(), 1);
        QCOMPARE(stored.at(0).at(0).toInt(), 1);
        QCOMPARE(m_store->tagCount(), 1);
        const auto tag = m_store->readTag(1);
        QCOMPARE(tag->message(), u"朝礼は中止"_s);
        QCOMPARE(tag->byte(Tag::WeekdayFlags, 5), 1);
        QCOMPARE(tag->tagNumber(), u"00001"_s);
        QCOMPARE(tag->text(Tag::SenderName), u"総務"_s);
        QCOMPARE(tag->longValue(Tag::Width), 240);
    }

    void trash_data()
    {
        QTest::addColumn<bool>("yes");
        QTest::newRow("Yes") << true;
        QTest::newRow("No") << false;
    }

    void trash()
    {
        QFETCH(bool, yes);
        QCOMPARE(addWeeklyTag(), 1);
        reopen(1);
        m_entry->show();
        message()->setPlainText(u"変更"_s); // trashing asks nothing more
        QSignalSpy trashed(m_entry.get(), &TagEntry::tagTrashed);
        m_prompt.answers = {yes};
        click("cmd_Delete");
        QCOMPARE(
            m_prompt.shown,
            QStringList{
                u"現在編集を行っているタグをごみ箱に入れます。（削除する）。よろしいですか？"_s});
        QCOMPARE(m_prompt.titles, QStringList{u"削除の確認"_s});
        QCOMPARE(m_store->readTag(1)->stateMark(), yes ? u"D"_s : u"0"_s);
        QCOMPARE(trashed.count(), yes ? 1 : 0);
        QCOMPARE(m_entry->isVisible(), !yes);
        QCOMPARE(m_store->readTag(1)->message(), u"朝礼\r\n3F"_s);
    }

    void closeWithChanges_data()
    {
        QTest::addColumn<bool>("change");
        QTest::addColumn<QList<bool>>("answers");
        QTest::newRow("unchanged") << false << QList<bool>{};
        QTest::newRow("changed, No") << true << QList<bool>{false};
        QTest::newRow("changed, Yes") << true << QList<bool>{true};
    }

    void closeWithChanges()
    {
        QFETCH(bool, change);
        QFETCH(QList<bool>, answers);
        m_entry->openNew();
        m_entry->show();
        if (change)
            check("chk_3d");
        m_prompt.answers = answers;
        click("cmd_Cancel");
        QCOMPARE(m_entry->isVisible(), change && !answers.first()); // No keeps the edit
        const QStringList asked{
            u"付箋の内容が更新されています。このまま更新内容を破棄して終了しても良いですか？"_s};
        QCOMPARE(m_prompt.shown, change ? asked : QStringList());
        QCOMPARE(m_prompt.titles, change ? QStringList{u"終了確認"_s} : QStringList());
        QCOMPARE(m_prompt.noByDefault,
                 change ? QList<int>{0} : QList<int>()); // Enter keeps the edit
        QCOMPARE(m_store->tagCount(), 0);
    }

    void mailSwitch()
    {
        m_entry->openNew();
        auto *addNet = get<QPushButton>("cmd_AddNet");
        QVERIFY(!addNet->isEnabled());
        check("chk_Mail");
        QVERIFY(addNet->isEnabled());
        QCOMPARE(get<QCheckBox>("chk_Sound")->text(), u"ﾒｰﾙにﾌｧｲﾙを添付する。"_s);
        QSignalSpy recipients(m_entry.get(), &TagEntry::mailRecipientsRequested);
        addNet->click();
        QCOMPARE(recipients.count(), 1);
        QCOMPARE(recipients.at(0).at(0).toInt(), 0);

        QStringList titles;
        m_entry->setFileChooser([&titles](const QString &title, const QString &) {
            titles << title;
            return u"/tmp/添付.txt"_s;
        });
        check("chk_Sound");
        click("cmd_Sound");
        check("chk_OpenFile"); // takes over from mail
        QVERIFY(!get<QCheckBox>("chk_Mail")->isChecked() &&
                !get<QCheckBox>("chk_Sound")->isChecked());
        click("cmd_Sound");
        QCOMPARE(titles, (QStringList{u"メールに添付するファイルを選択して下さい。"_s,
                                      u"指定時刻に開く（実行する）ファイルを選択して下さい。"_s}));
        QCOMPARE(get<QLineEdit>("txt_Sound")->text(), u"/tmp/添付.txt"_s);
        QCOMPARE(get<QCheckBox>("chk_Sound")->text(), u"ｻｳﾝﾄﾞを鳴らす。"_s);
        QVERIFY(!addNet->isEnabled());
    }

    void tagGrowsWithItsText()
    {
        TagRecord t;
        t.setMessage(u"アラーム：お"_s);
        t.setLong(Tag::Width, 120);
        t.setLong(Tag::Height, 24);
        QCOMPARE(m_store->addTag(t).value_or(0), 1);
        // Only the time changes: the size stays as the user left it.
        reopen(1);
        pick("cmb_HH", 9);
        click("Command1");
        QCOMPARE(m_store->readTag(1)->longValue(Tag::Height), 24);

        reopen(1);
        message()->setPlainText(
            u"アラーム：お客様へ見積書を送る\n午後の会議\n資料は3部\n会議室B"_s);
        click("Command1");
        const auto tag = m_store->readTag(1);
        TagWindow w(1, *tag, EnvRecord());
        w.show();
        QVERIFY(w.label()->height() >= w.label()->heightForWidth(w.label()->width()));
        QVERIFY(tag->longValue(Tag::Width) > 120);
    }

    void eraseTimeTakenBack()
    {
        TagRecord t;
        t.setMessage(u"昼休み"_s);
        t.setByte(Tag::ScheduleKind, 2);
        t.setDate(Tag::DisplayDateTime, QDateTime(QDate(1900, 1, 1), QTime(12, 0), Qt::UTC));
        t.setText(Tag::EraseTime, u"12:45"_s);
        QCOMPARE(m_store->addTag(t).value_or(0), 1);
        reopen(1);
        QCOMPARE(get<QComboBox>("cmb_DMM")->currentText(), u"45分"_s);
        QTest::keyClick(get<QComboBox>("cmb_DHH"), Qt::Key_Home); // the first entry
        QCOMPARE(get<QComboBox>("cmb_DMM")->currentIndex(), 0);
        click("Command1");
        QCOMPARE(m_prompt.shown, QStringList());
        QCOMPARE(m_store->readTag(1)->text(Tag::EraseTime), QString());
        // Delete on either list takes the time back as well.
        reopen(1);
        pick("cmb_DHH", 14);
        pick("cmb_DMM", 2);
        QTest::keyClick(get<QComboBox>("cmb_DMM"), Qt::Key_Delete);
        QCOMPARE(get<QComboBox>("cmb_DHH")->currentText(), u"なし"_s);
        QCOMPARE(get<QComboBox>("cmb_DMM")->currentText(), u"なし"_s);
    }

    void newTagsCascade()
    {
        QList<QPoint> places;
        for (int i = 0; i < 3; ++i) {
            reopen(0);
            m_entry->openNew();
            message()->setPlainText(u"メモ"_s);
            click("Command1");
            const auto tag = m_store->readTag(i + 1);
            places << QPoint(int(tag->longValue(Tag::PosX)), int(tag->longValue(Tag::PosY)));
        }
        QCOMPARE(places, (QList<QPoint>{{100, 100}, {124, 124}, {148, 148}}));
    }

    void insertMenus()
    {
        m_entry->openNew();
        QPlainTextEdit *message = this->message();
        message->setPlainText(u"山田様"_s);
        message->moveCursor(QTextCursor::End);
        get<QAction>("mnu_TelReq")->trigger();
        get<QAction>("mnu_DateTimeL")->trigger();
        QCOMPARE(
            message->toPlainText(),
            u"山田様 から電話がありました。折り返し電話を下さい。 2024年05月01日 09時00分00秒"_s);

        const QList<QAction *> months = get<QMenu>("mnu_Calender")->actions();
        QCOMPARE(months.size(), 16); // fourteen months, a separator, the free choice
        QCOMPARE(months.at(0)->text(), u"2024年05月"_s);
        QCOMPARE(months.at(13)->text(), u"2025年06月"_s);
        message->clear();
        months.at(1)->trigger();
        QCOMPARE(message->toPlainText(), textCalendar(2024, 6));
        // Between words, it goes on lines of its own.
        message->setPlainText(u"予定 メモ"_s);
        QTextCursor at = message->textCursor();
        at.setPosition(2);
        message->setTextCursor(at);
        months.at(1)->trigger();
        QCOMPARE(message->toPlainText(), u"予定\n"_s + textCalendar(2024, 6) + u"\n メモ"_s);

        message->clear();
        m_prompt.textAnswers = {u"2025/13"_s, u"2025/2"_s};
        for (int i = 0; i < 2; ++i)
            get<QAction>("mnu_CalenderAny")->trigger();
        const QString ask =
            u"作成するカレンダーの年月を入力して下さい。\r\nyyyy/mm の形式で入力して下さい。"_s;
        QCOMPARE(m_prompt.shown,
                 (QStringList{
                     ask, u"入力された値が日付形式ではありません。年／月の形式で入力して下さい。"_s,
                     ask}));
        QCOMPARE(m_prompt.titles.first(), u"年月指定"_s);
        QCOMPARE(message->toPlainText(), textCalendar(2025, 2));
    }

private:
    template <class W> W *get(const char *name) const
    {
        W *w = m_entry->findChild<W *>(QLatin1String(name));
        if (!w)
            qFatal("no control %s", name);
        return w;
    }
    void click(const char *name) { get<QPushButton>(name)->click(); }
    void check(const char *name) { get<QAbstractButton>(name)->setChecked(true); }
    void pick(const char *name, int index) { get<QComboBox>(name)->setCurrentIndex(index); }
    int addWeeklyTag();
    // A fresh editor on stored tag k.
    void reopen(int k)
    {
        m_entry = std::make_unique<TagEntry>(*m_store, settings(), m_prompt, m_clock, *m_sound);
        QVERIFY(!k || m_entry->openTag(k));
    }
    QPlainTextEdit *message() const { return get<QPlainTextEdit>("txt_Message"); }

    std::unique_ptr<TempStore> m_data;
    TagStore *m_store = nullptr;
    Settings &settings() { return m_data->settings(); }
    ScriptedPrompt m_prompt;
    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(9, 0))};
    std::unique_ptr<SoundPlayer> m_sound;
    std::unique_ptr<TagEntry> m_entry;
};

int TestTagEntry::addWeeklyTag()
{
    TagRecord t;
    t.setMessage(u"朝礼\r\n3F"_s);
    t.setByte(Tag::ScheduleKind, 3);
    t.setDate(Tag::DisplayDateTime, QDateTime(QDate(1900, 1, 1), QTime(8, 15), Qt::UTC));
    t.setByte(Tag::WeekdayFlags, 1, 1);
    t.setByte(Tag::WeekOfMonthFlags, 1, 2);
    t.setText(Tag::SenderName, u"総務"_s);
    t.setLong(Tag::Width, 240);
    return m_store->addTag(t).value_or(0);
}

QTEST_MAIN(TestTagEntry)
#include "tst_tagentry.moc"
