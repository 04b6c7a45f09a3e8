#include "tablecheck.h"
#include "tagactions.h"
#include "tagpopupmenu.h"
#include "tagwindow.h"

#include <QLabel>
#include <QPainter>
#include <QPrinter>
#include <QProcess>
#include <QScreen>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <memory>

using namespace Qt::StringLiterals;

namespace {
TagRecord makeTag(const QString &message, qint32 fore = 0x0000FF, qint32 back = 0xFFFF00)
{
    TagRecord t;
    t.setMessage(message);
    t.setText(Tag::FontName, u"DejaVu Sans"_s);
    t.setByte(Tag::FontSize, 12);
    t.setLong(Tag::ForeColor, fore);
    t.setLong(Tag::BackColor, back);
    t.setLong(Tag::PosX, 100);
    t.setLong(Tag::PosY, 80);
    return t;
}
const QColor Red(255, 0, 0), Cyan(0, 255, 255), White(255, 255, 255), Light(223, 223, 223);
} // namespace

class TestTagWindow : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void look()
    {
        TagRecord t = makeTag(u"買い物\r\nmilk"_s);
        for (int f :
             {Tag::FontBold, Tag::FontItalic, Tag::FontUnderline, Tag::TopMost, Tag::Transparent})
            t.setByte(f, 1);
        EnvRecord env;
        env.setInteger(Env::TagOpacity, 50);
        TagWindow w(7, t, env);
        QCOMPARE(w.label()->text(), u"買い物\nmilk"_s);
        QCOMPARE(w.label()->textFormat(), Qt::PlainText);
        const QFont f = w.label()->font();
        QCOMPARE(f.family(), u"DejaVu Sans"_s);
        QCOMPARE(f.pointSize(), 12);
        QVERIFY(f.bold() && f.italic() && f.underline() && !f.strikeOut());
        QCOMPARE(w.label()->palette().color(QPalette::WindowText), Red);
        QCOMPARE(w.backColor(), Cyan);
        QCOMPARE(ColorRef::fromColor(QColor(0x12, 0x34, 0x56)), 0x563412);
        QVERIFY(w.windowFlags().testFlags(Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint));
        QCOMPARE(qRound(w.windowOpacity() * 100), 50);
        QCOMPARE(w.geometry(), QRect(QPoint(100, 80), w.fittedSize()));

        t.setByte(Tag::TopMost, 0), t.setByte(Tag::Transparent, 0);
        t.setLong(Tag::Width, 300), t.setLong(Tag::Height, 90);
        w.refresh(t, env);
        QVERIFY(!(w.windowFlags() & Qt::WindowStaysOnTopHint));
        QCOMPARE(w.windowOpacity(), 1.0);
        QCOMPARE(w.size(), QSize(300, 90));
    }

    void border_data()
    {
        QTest::addColumn<int>("frame");
        QTest::addColumn<int>("frameM");
        QTest::addColumn<int>("look3D");
        QTest::addColumn<QList<QColor>>("diagonal"); // from the top-left corner inwards
        QTest::newRow("none") << 0 << 0 << 0 << QList<QColor>{Cyan, Cyan, Cyan, Cyan};
        QTest::newRow("frame") << 1 << 0 << 0 << QList<QColor>{Red, Cyan, Cyan, Cyan};
        QTest::newRow("thick frame") << 1 << 1 << 0 << QList<QColor>{Red, Red, Red, Cyan};
        QTest::newRow("3-D") << 0 << 0 << 1 << QList<QColor>{White, Light, Cyan, Cyan};
        QTest::newRow("frame and 3-D") << 1 << 0 << 1 << QList<QColor>{Red, White, Light, Cyan};
    }

    void border()
    {
        QFETCH(int, frame);
        QFETCH(int, frameM);
        QFETCH(int, look3D);
        QFETCH(QList<QColor>, diagonal);
        TagRecord t = makeTag(u"x"_s);
        t.setByte(Tag::Frame, frame);
        t.setByte(Tag::FrameM, frameM);
        t.setByte(Tag::Look3D, look3D);
        const QImage shot = TagWindow(1, t, EnvRecord()).grab().toImage();
        for (int i = 0; i < diagonal.size(); ++i)
            QCOMPARE(shot.pixelColor(i, i), diagonal.at(i));
        QCOMPARE(shot.pixelColor(shot.width() - 1, shot.height() - 1),
                 look3D && !frame ? QColor(64, 64, 64) : diagonal.first());
    }

    void received_data()
    {
        QTest::addColumn<QString>("mark");
        QTest::addColumn<QString>("sender");
        QTest::newRow("received") << u"1"_s << u"営業部 田中"_s;
        QTest::newRow("own") << QString() << u"営業部 田中"_s;
        QTest::newRow("no sender") << u"1"_s << QString();
    }

    void received()
    {
        QFETCH(QString, mark);
        QFETCH(QString, sender);
        TagRecord t = makeTag(u"会議は3時から"_s);
        t.setText(Tag::ReceivedMark, mark);
        t.setText(Tag::SenderName, sender);
        TagWindow w(1, t, EnvRecord());
        const bool received = QByteArray(QTest::currentDataTag()) == "received";
        QCOMPARE(w.toolTip(),
                 received ? u"このタブは、営業部 田中 から送られました。"_s : QString());
        QCOMPARE(w.noteLabel()->isHidden(), !received);
        if (received) {
            QCOMPARE(w.noteLabel()->text(), u"営業部 田中から届きました。"_s);
            QVERIFY(w.noteLabel()->geometry().bottom() < w.label()->geometry().top());
        }
    }

    void blinkingEatsOnePress()
    {
        TagRecord t = makeTag(u"http://example.com"_s);
        t.setByte(Tag::Blink, 1);
        TagWindow w(4, t, EnvRecord());
        QVERIFY(!w.isBlinking());
        QStringList order;
        connect(&w, &TagWindow::pressed, this, [&](int k) { order << u"pressed %1"_s.arg(k); });
        connect(&w, &TagWindow::popupRequested, this,
                [&](int k) { order << u"popup %1"_s.arg(k); });
        w.show();
        QVERIFY(w.isBlinking());
        QCOMPARE(w.timer1()->interval(), 500);
        QTRY_COMPARE_WITH_TIMEOUT(w.label()->palette().color(QPalette::WindowText), Cyan, 1500);
        QTest::mousePress(w.label(), Qt::RightButton);
        QCOMPARE(order, QStringList{u"pressed 4"_s});
        QVERIFY(!w.isBlinking());
        QCOMPARE(w.label()->palette().color(QPalette::WindowText), Red);
        QTest::mousePress(w.label(), Qt::RightButton);
        QCOMPARE(order, (QStringList{u"pressed 4"_s, u"pressed 4"_s, u"popup 4"_s}));
    }

    void popupUrlFlag_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("onLabel");
        QTest::addColumn<bool>("url");
        // clang-format off
        QTest::newRow("http, label")   << u"見て http://a.jp"_s << true  << true;
        QTest::newRow("http, window")  << u"見て http://a.jp"_s << false << true;
        QTest::newRow("https, label")  << u"https://a.jp"_s     << true  << true;
        QTest::newRow("https, window") << u"https://a.jp"_s     << false << false;
        QTest::newRow("none, label")   << u"www.a.jp"_s         << true  << false;
        // clang-format on
    }

    void popupUrlFlag()
    {
        QFETCH(QString, text);
        QFETCH(bool, onLabel);
        QFETCH(bool, url);
        TagWindow w(9, makeTag(text), EnvRecord());
        QSignalSpy spy(&w, &TagWindow::popupRequested);
        QWidget *target = onLabel ? static_cast<QWidget *>(w.label()) : &w;
        QTest::mousePress(target, Qt::MiddleButton, {}, QPoint(1, 1));
        QCOMPARE(spy.size(), 1);
        QCOMPARE(spy.at(0).at(0).toInt(), 9);
        QCOMPARE(spy.at(0).at(1).toPoint(), target->mapToGlobal(QPoint(1, 1)));
        QCOMPARE(spy.at(0).at(2).toBool(), url);
    }

    void dragAndDoubleClick()
    {
        TagWindow w(2, makeTag(u"drag me"_s), EnvRecord());
        w.show();
        QVERIFY(QTest::qWaitForWindowExposed(&w));
        QSignalSpy moved(&w, &TagWindow::moved);
        QSignalSpy popup(&w, &TagWindow::popupRequested);
        QSignalSpy dbl(&w, &TagWindow::doubleClicked);
        QTest::mouseClick(w.label(), Qt::LeftButton, {}, QPoint(5, 5));
        QTest::mousePress(w.label(), Qt::LeftButton, {}, QPoint(5, 5));
        QTest::mouseMove(w.label(), QPoint(35, 25));
        QTest::mouseRelease(w.label(), Qt::LeftButton, {}, QPoint(5, 5));
        QCOMPARE(w.pos(), QPoint(130, 100));
        QCOMPARE(moved.size(), 1);
        QCOMPARE(moved.at(0).at(1).toPoint(), QPoint(130, 100));
        QTest::mouseDClick(&w, Qt::LeftButton);
        QCOMPARE(dbl.size(), 1);
        QCOMPARE(dbl.at(0).at(0).toInt(), 2);
        QCOMPARE(popup.size(), 0);
    }

    void fitToText()
    {
        TagRecord t = makeTag(u"one"_s);
        t.setLong(Tag::Width, 500);
        t.setLong(Tag::Height, 300);
        TagWindow w(1, t, EnvRecord());
        const QSize one = TagActions::fitToText(w);
        QVERIFY(w.size() == one && one.width() < 200 && one.height() < 60);
        t.setMessage(u"one\r\ntwo"_s);
        w.refresh(t, EnvRecord());
        QVERIFY(TagActions::fitToText(w).height() > one.height());
        t.setMessage(u"word "_s.repeated(80)); // wraps at the widest a tag gets
        w.refresh(t, EnvRecord());
        QCOMPARE(TagActions::fitToText(w).width(), w.maxTextWidth() + 2 * w.borderWidth());
    }

    void hostileGeometryIsBounded()
    {
        EnvRecord env;
        env.setByte(Env::AutoPosition, 0);
        const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
        for (const qint32 v : {100000, 2147483647, -2147483647 - 1}) {
            TagRecord t = makeTag(u"big"_s);
            for (int f : {Tag::Width, Tag::Height, Tag::PosX, Tag::PosY})
                t.setLong(f, v);
            TagWindow w(1, t, env);
            QVERIFY2(w.width() <= screen.width() && w.height() <= screen.height(),
                     qPrintable(QString::number(v)));
            QVERIFY(screen.contains(w.pos()));
        }
    }

    void fitKeepsLinesWhole_data()
    {
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("font");
        QTest::addColumn<int>("size");
        QTest::addColumn<bool>("italic");
        QTest::newRow("latin italic")
            << u"Wolf will wait, WWW"_s << u"DejaVu Serif"_s << 16 << true;
        QTest::newRow("japanese") << u"アラーム：お客様に電話\r\n13時"_s << u"Noto Sans CJK JP"_s
                                  << 14 << false;
        QTest::newRow("fallback") << u"会議の資料を印刷 bold"_s << u"ＭＳ Ｐゴシック"_s << 12
                                  << false;
        QTest::newRow("tab") << u"予定\t10:00\t会議室"_s << u"DejaVu Sans"_s << 12 << false;
    }

    void fitKeepsLinesWhole()
    {
        QFETCH(QString, message);
        QFETCH(QString, font);
        QFETCH(int, size);
        QFETCH(bool, italic);
        TagRecord t = makeTag(message);
        t.setText(Tag::FontName, font);
        t.setByte(Tag::FontSize, size);
        t.setByte(Tag::FontItalic, italic);
        t.setLong(Tag::Width, 60);
        TagWindow w(1, t, EnvRecord());
        w.show();
        TagActions::fitToText(w);
        // Laid out at the width it got, the label needs no more lines than the text has.
        const QLabel *l = w.label();
        QCOMPARE(l->heightForWidth(l->width()), l->heightForWidth(10000));
        QVERIFY(l->height() >= l->heightForWidth(l->width()));
    }

    void menu()
    {
        TagPopupMenu m;
        const QList<QAction *> actions = m.actions();
        for (int i = 0; i < actions.size(); ++i)
            QCOMPARE(actions[i]->isEnabled(), i != TagPopupMenu::SendTo);
        QSignalSpy chosen(&m, &TagPopupMenu::chosen);
        m.prepare(5, false);
        QVERIFY(!m.entryAction(TagPopupMenu::URLOpen)->isEnabled());
        m.prepare(6, true);
        QVERIFY(m.entryAction(TagPopupMenu::URLOpen)->isEnabled());
        actions[TagPopupMenu::Delete]->trigger();
        QCOMPARE(chosen.size(), 1);
        QCOMPARE(chosen.at(0).at(0).toInt(), 6);
        QCOMPARE(chosen.at(0).at(1).value<TagPopupMenu::Entry>(), TagPopupMenu::Delete);
    }

    void printing()
    {
        TagRecord t = makeTag(u"印刷のテスト\r\nsecond line"_s);
        t.setByte(Tag::Frame, 1);
        QImage page(400, 300, QImage::Format_RGB32);
        page.fill(Qt::white);
        QPainter painter(&page);
        TagActions::renderTag(painter, page.rect(), t);
        painter.end();
        int back = 0, fore = 0;
        for (int i = 0; i < page.width() * page.height(); ++i) {
            const QColor c = page.pixelColor(i % page.width(), i / page.width());
            back += c == Cyan;
            fore += c.red() > 200 && c.green() < 60 && c.blue() < 60;
        }
        QVERIFY2(back > 1000 && fore > 100, qPrintable(u"%1 %2"_s.arg(back).arg(fore)));
        QCOMPARE(page.pixelColor(page.width() - 1, page.height() - 1), QColor(Qt::white));

        QTemporaryDir dir;
        QPrinter printer(QPrinter::HighResolution);
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(dir.filePath(u"tag.pdf"_s));
        QVERIFY(TagActions::printOn(printer, t));
        QFile pdf(printer.outputFileName());
        QVERIFY(pdf.open(QIODevice::ReadOnly) && pdf.read(5) == "%PDF-" && pdf.size() > 2000);
    }

    void firstUrl_data()
    {
        gotWantColumns<QString>();
        const auto row = [](const char *name, const QString &text, const QString &url) {
            QTest::newRow(name) << TagActions::firstUrl(text) << url;
        };
        row("none", u"ftp://a.jp www.b.jp"_s, QString());
        row("earliest wins", u"https://s.jp/?a=1&b then http://p.jp"_s, u"https://s.jp/?a=1&b"_s);
        row("in Japanese", u"詳細はhttp://a.jp/doc。以上"_s, u"http://a.jp/doc"_s);
        row("end of sentence", u"See http://a.jp/p."_s, u"http://a.jp/p"_s);
        row("in brackets", u"(http://a.jp/x)"_s, u"http://a.jp/x"_s);
        row("own brackets", u"http://w.org/F_(b)"_s, u"http://w.org/F_(b)"_s);
        row("new line", u"<http://a.jp>\r\nnext"_s, u"http://a.jp"_s);
        row("bare scheme", u"http:// only"_s, QString());
    }

    void firstUrl() { compareGotWant<QString>(); }
};

QTEST_MAIN(TestTagWindow)
#include "tst_tagwindow.moc"
