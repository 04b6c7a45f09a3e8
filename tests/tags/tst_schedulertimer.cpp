#include "schedulertimer.h"

#include <QSignalSpy>
#include <QTest>

class TestSchedulerTimer : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void waitIsCappedAtAnHour_data()
    {
        QTest::addColumn<qint64>("seconds");
        QTest::addColumn<int>("ms");
        QTest::newRow("nothing waiting") << qint64(2147483647) << 3600000;
        QTest::newRow("3601 s") << qint64(3601) << 3600000;
        QTest::newRow("exactly an hour") << qint64(3600) << 3600000;
        QTest::newRow("ten seconds") << qint64(10) << 10000;
        QTest::newRow("already due") << qint64(0) << 1000;
        QTest::newRow("negative") << qint64(-5) << 1000;
    }

    void waitIsCappedAtAnHour()
    {
        QFETCH(qint64, seconds);
        QFETCH(int, ms);
        SchedulerTimer t;
        t.arm(seconds);
        QVERIFY(t.isActive());
        QCOMPARE(t.intervalMs(), ms);
        t.armMs(seconds * 1000); // the same bounds to the millisecond
        QCOMPARE(t.intervalMs(), seconds > 0 ? ms : 1);
    }

    void clockChangeLooksAgainInOneSecond()
    {
        SchedulerTimer t;
        QSignalSpy ticks(&t, &SchedulerTimer::tick);
        t.arm(3600);
        t.clockChanged();
        QCOMPARE(t.intervalMs(), 1000);
        QVERIFY(ticks.wait(2000));
        QCOMPARE(ticks.count(), 1);
        QVERIFY(!t.isActive()); // one shot: the handler re-arms
    }
};

QTEST_GUILESS_MAIN(TestSchedulerTimer)
#include "tst_schedulertimer.moc"
