// Needs a real X server without a tray (scripts/test runs it under xvfb-run)
// and Debian's trayer as the tray host that turns up late.
#include "clock.h"
#include "prompt.h"
#include "scriptedprompt.h"
#include "tagmain.h"
#include "trayattach.h"

#include <QProcess>
#include <QStandardPaths>
#include <QSystemTrayIcon>
#include <QTemporaryDir>
#include <QTest>

class TestTrayX11 : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void iconArrivesWhenTheTrayDoes();
};

void TestTrayX11::iconArrivesWhenTheTrayDoes()
{
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        QSKIP("needs the xcb platform on an X server");
    const QString trayer = QStandardPaths::findExecutable(QStringLiteral("trayer"));
    if (trayer.isEmpty())
        QSKIP("trayer is not installed");
    QVERIFY2(!QSystemTrayIcon::isSystemTrayAvailable(), "this display already has a tray");

    QTemporaryDir dir;
    ScriptedPrompt prompt;
    SystemClock clock;
    TagMain main(dir.path(), prompt, clock);
    QVERIFY(main.start());
    QVERIFY(main.trayAttach()->isRetrying());
    main.trayAttach()->setIntervalMs(200);

    QProcess host;
    host.start(trayer, {QStringLiteral("--edge"), QStringLiteral("top")});
    QVERIFY(host.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(!main.trayAttach()->isRetrying(), 15000);
    QVERIFY(QSystemTrayIcon::isSystemTrayAvailable());
    QVERIFY(main.trayIcon()->isVisible());
    QVERIFY(prompt.shown.isEmpty());

    main.shutdown();
    QVERIFY(main.trayIcon() == nullptr);
    host.terminate();
    host.waitForFinished();
}

QTEST_MAIN(TestTrayX11)
#include "tst_trayx11.moc"
