// The login manager's sleep signal on a private bus of our own, and the scheduler
// catching up after a long sleep as soon as it hears of the wake-up.
#include "clock.h"
#include "manualclock.h"
#include "prompt.h"
#include "scheduler.h"
#include "scriptedprompt.h"
#include "sleepwatcher.h"
#include "tagstore.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QProcess>
#include <QSet>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

namespace {
class FakeDisplay final : public TagDisplay
{
public:
    void showTag(int k, const TagRecord &) override
    {
        log << QStringLiteral("show %1").arg(k), shown.insert(k);
    }
    void takeDown(int k) override { log << QStringLiteral("down %1").arg(k), shown.remove(k); }
    bool isShown(int k) const override { return shown.contains(k); }
    void openFile(int k, const QString &) override { log << QStringLiteral("open %1").arg(k); }
    void playSound(const QString &) override {}
    void beep() override {}
    void startBlink() override {}
    void sendMail(int k, const TagRecord &) override { log << QStringLiteral("mail %1").arg(k); }
    QStringList log;
    QSet<int> shown;
};

QDateTime wall(int y, int m, int d, int h, int n)
{
    return QDateTime(QDate(y, m, d), QTime(h, n), QTimeZone::utc());
}
} // namespace

class TestSleepWatcher : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void signalsBothWays();
    void scheduleCatchesUpAfterSleep();

private:
    void prepareForSleep(bool sleeping);

    QProcess m_bus;
    QString m_address;
};

void TestSleepWatcher::initTestCase()
{
    m_bus.start(QStringLiteral("dbus-daemon"),
                {QStringLiteral("--session"), QStringLiteral("--nofork"),
                 QStringLiteral("--print-address=1")});
    if (!m_bus.waitForStarted(5000))
        QSKIP("dbus-daemon cannot be started");
    QTRY_VERIFY_WITH_TIMEOUT(m_bus.canReadLine(), 5000);
    m_address = QString::fromUtf8(m_bus.readLine()).trimmed();
    QVERIFY(!m_address.isEmpty());
}

void TestSleepWatcher::cleanupTestCase()
{
    QDBusConnection::disconnectFromBus(QStringLiteral("sender"));
    m_bus.terminate();
    m_bus.waitForFinished(5000);
}

void TestSleepWatcher::prepareForSleep(bool sleeping)
{
    QDBusConnection sender = QDBusConnection::connectToBus(m_address, QStringLiteral("sender"));
    QVERIFY(sender.isConnected());
    QDBusMessage signal = QDBusMessage::createSignal(
        QStringLiteral("/org/freedesktop/login1"), QStringLiteral("org.freedesktop.login1.Manager"),
        QStringLiteral("PrepareForSleep"));
    signal << sleeping;
    QVERIFY(sender.send(signal));
}

void TestSleepWatcher::signalsBothWays()
{
    SleepWatcher watcher(m_address);
    QVERIFY(watcher.isActive());
    QSignalSpy sleeping(&watcher, &SleepWatcher::sleeping);
    QSignalSpy resumed(&watcher, &SleepWatcher::resumed);
    prepareForSleep(true);
    QVERIFY(sleeping.wait(2000));
    QCOMPARE(resumed.count(), 0);
    prepareForSleep(false);
    QVERIFY(resumed.wait(2000));
    QCOMPARE(sleeping.count(), 1);
}

void TestSleepWatcher::scheduleCatchesUpAfterSleep()
{
    QTemporaryDir dir;
    TagStore store(dir.filePath(QStringLiteral("Pinboard.dt1")));
    QVERIFY(store.writeEnv(EnvRecord()));
    auto add = [&](int kind, const QDateTime &display,
                   const std::function<void(TagRecord &)> &tweak = {}) {
        TagRecord t;
        t.setByte(Tag::ScheduleKind, kind);
        t.setDate(Tag::DisplayDateTime, display);
        if (tweak)
            tweak(t);
        return store.addTag(t).value_or(0);
    };
    add(2, wall(1900, 1, 1, 10, 0)); // 1: shows
    add(2, wall(1900, 1, 1, 11, 0),
        [](TagRecord &t) { t.setByte(Tag::OpenFileFlag, 1); }); // 2: too late
    add(2, wall(1900, 1, 1, 12, 0),
        [](TagRecord &t) { t.setByte(Tag::MailFlag, 1); }); // 3: too late
    add(1, wall(2024, 5, 1, 12, 0),
        [](TagRecord &t) { t.setByte(Tag::MailFlag, 1); }); // 4: dated mail goes
    add(1, wall(2024, 5, 1, 8, 0),
        [](TagRecord &t) { t.setDate(Tag::EraseDateTime, wall(2024, 5, 1, 11, 30)); });
    ManualClock clock(QDateTime(QDate(2024, 5, 1), QTime(9, 0), Qt::LocalTime));
    ScriptedPrompt prompt;
    FakeDisplay display;
    SchedulerTimer timer;
    Scheduler scheduler(store, clock, prompt, display, timer);
    scheduler.loadAll();
    QCOMPARE(display.log, QStringList{QStringLiteral("show 5")});
    display.log.clear();

    SleepWatcher watcher(m_address);
    connect(&watcher, &SleepWatcher::resumed, &scheduler, &Scheduler::reevaluateAll);
    prepareForSleep(true);
    clock.advance(4 * 3600); // the timer's hour stood still while asleep
    QElapsedTimer sinceWake;
    sinceWake.start();
    prepareForSleep(false);
    QTRY_VERIFY_WITH_TIMEOUT(!display.log.isEmpty(), 1000);
    qInfo("tags brought up to date %lld ms after the wake-up signal", sinceWake.elapsed());
    QCOMPARE(display.log, (QStringList{QStringLiteral("show 1"), QStringLiteral("mail 4"),
                                       QStringLiteral("down 5")}));
    QVERIFY(timer.isActive());
}

QTEST_GUILESS_MAIN(TestSleepWatcher)
#include "tst_sleepwatcher.moc"
