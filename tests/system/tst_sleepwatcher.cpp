// The watchers of the system: the login manager's sleep signal on a private bus of our own, and the
// scheduler catching up after a long sleep as soon as it hears of the wake-up.
#include "manualclock.h"
#include "recordingdisplay.h"
#include "scheduler.h"
#include "scriptedprompt.h"
#include "sleepwatcher.h"
#include "tagstore.h"
#include "testfiles.h"
#include "zonewatcher.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

using namespace Qt::StringLiterals;

class TestSleepWatcher : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void scheduleCatchesUpAfterSleep();
    void zoneChangesAreNoticedWithinASecond();

private:
    void prepareForSleep(bool sleeping);
    QProcess m_bus;
    QString m_address;
};

void TestSleepWatcher::initTestCase()
{
    m_bus.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address=1"_s});
    if (!m_bus.waitForStarted(5000))
        QSKIP("dbus-daemon cannot be started");
    QTRY_VERIFY_WITH_TIMEOUT(m_bus.canReadLine(), 5000);
    m_address = QString::fromUtf8(m_bus.readLine()).trimmed();
    QVERIFY(!m_address.isEmpty());
}

void TestSleepWatcher::cleanupTestCase()
{
    QDBusConnection::disconnectFromBus(u"sender"_s);
    m_bus.terminate();
    m_bus.waitForFinished(5000);
}

void TestSleepWatcher::prepareForSleep(bool sleeping)
{
    QDBusConnection sender = QDBusConnection::connectToBus(m_address, u"sender"_s);
    QDBusMessage signal = QDBusMessage::createSignal(
        u"/org/freedesktop/login1"_s, u"org.freedesktop.login1.Manager"_s, u"PrepareForSleep"_s);
    QVERIFY(sender.send(signal << sleeping));
}

void TestSleepWatcher::scheduleCatchesUpAfterSleep()
{
    QTemporaryDir dir;
    TagStore store(dir.filePath(u"Pinboard.dt1"_s));
    QVERIFY(store.writeEnv(EnvRecord()));
    auto add = [&](int kind, int y, int m, int d, int h, int flag = -1, int eraseHour = 0) {
        TagRecord t;
        t.setByte(Tag::ScheduleKind, kind);
        t.setDate(Tag::DisplayDateTime, QDateTime(QDate(y, m, d), QTime(h, 0), QTimeZone::utc()));
        if (flag >= 0)
            t.setByte(flag, 1);
        if (eraseHour)
            t.setDate(Tag::EraseDateTime,
                      QDateTime(QDate(y, m, d), QTime(eraseHour, 30), QTimeZone::utc()));
        QVERIFY(store.addTag(t));
    };
    add(2, 1900, 1, 1, 10);                    // 1: daily, shows
    add(2, 1900, 1, 1, 11, Tag::OpenFileFlag); // 2: too late to open its file
    add(2, 1900, 1, 1, 12, Tag::MailFlag);     // 3: too late to mail
    add(1, 2024, 5, 1, 12, Tag::MailFlag);     // 4: a dated mail still goes
    add(1, 2024, 5, 1, 8, -1, 11);             // 5: up now, erased at 11:30
    ManualClock clock(QDateTime(QDate(2024, 5, 1), QTime(9, 0), Qt::LocalTime));
    ScriptedPrompt prompt;
    RecordingDisplay display;
    SchedulerTimer timer;
    Scheduler scheduler(store, clock, prompt, display, timer);
    scheduler.loadAll();
    QCOMPARE(display.take(), QStringList{u"show 5"_s});

    SleepWatcher watcher(m_address);
    QVERIFY(watcher.isActive());
    QSignalSpy sleeping(&watcher, &SleepWatcher::sleeping);
    connect(&watcher, &SleepWatcher::resumed, &scheduler, &Scheduler::reevaluateAll);
    prepareForSleep(true);
    QVERIFY(sleeping.wait(2000));
    clock.advance(4 * 3600); // the timer's hour stood still while asleep
    QVERIFY(display.log.isEmpty());
    prepareForSleep(false);
    QTRY_VERIFY_WITH_TIMEOUT(!display.log.isEmpty(), 1000);
    QCOMPARE(display.log.join(u", "), u"show 1, blink, mail 4, down 5"_s);
    QCOMPARE(sleeping.count(), 1);
    QVERIFY(timer.isActive());
}

void TestSleepWatcher::zoneChangesAreNoticedWithinASecond()
{
    const QByteArray tz = qgetenv("TZ");
    QTemporaryDir dir;
    const QString localtime = dir.filePath(u"localtime"_s);
    const QString timezone = dir.filePath(u"timezone"_s);
    QVERIFY(writeFile(localtime, "TZif Asia/Tokyo") && writeFile(timezone, "Asia/Tokyo\n"));
    ZoneWatcher watcher({localtime, timezone});
    QVERIFY(watcher.isActive());
    QSignalSpy changed(&watcher, &ZoneWatcher::zoneChanged);
    // Something else in the same folder is not a change of zone.
    QVERIFY(writeFile(dir.filePath(u"other"_s), "x"));
    QTest::qWait(600);
    QCOMPARE(changed.count(), 0);
    // Replaced by a rename, as the desktop's zone setting does.
    const QString next = dir.filePath(u"localtime.new"_s);
    QVERIFY(writeFile(next, "TZif Europe/Berlin"));
    QVERIFY(QFile::remove(localtime) && QFile::rename(next, localtime));
    QTRY_COMPARE_WITH_TIMEOUT(changed.count(), 1, 1000);
    // The watch survived the rename: a change in place is noticed too.
    QVERIFY(writeFile(localtime, "TZif Asia/Tokyo"));
    QTRY_COMPARE_WITH_TIMEOUT(changed.count(), 2, 1000);
    QVERIFY(writeFile(timezone, "Europe/Berlin\n"));
    QTRY_COMPARE_WITH_TIMEOUT(changed.count(), 3, 1000);
    QCOMPARE(qgetenv("TZ"), tz); // the process's own setting is left as it was
}

QTEST_GUILESS_MAIN(TestSleepWatcher)
#include "tst_sleepwatcher.moc"
