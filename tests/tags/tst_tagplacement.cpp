#include "tagplacement.h"

#include <QTest>

namespace {
// Primary screen above a 40-pixel task bar, a second one to its right.
const QList<QRect> One{{0, 0, 1280, 760}};
const QList<QRect> Two{{0, 0, 1280, 760}, {1280, 0, 1920, 1080}};
using Points = QList<QPoint>;
} // namespace

class TestTagPlacement : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void place_data();
    void place();
    void arrange_data();
    void arrange();
    void bounded_data();
    void bounded();
    void grow_data();
    void grow();
    void cascade_data();
    void cascade();
};

void TestTagPlacement::place_data()
{
    QTest::addColumn<QRect>("wanted");
    QTest::addColumn<QList<QRect>>("areas");
    QTest::addColumn<bool>("autoPosition");
    QTest::addColumn<QRect>("placed");
    const auto row = [](const char *name, QRect wanted, const QList<QRect> &areas, bool on,
                        QRect placed) { QTest::newRow(name) << wanted << areas << on << placed; };
    row("off: inside stays", {100, 100, 200, 120}, One, false, {100, 100, 200, 120});
    row("off: partly off stays", {1200, 700, 200, 120}, One, false, {1200, 700, 200, 120});
    row("off: on the second", {2000, 900, 200, 120}, Two, false, {2000, 900, 200, 120});
    row("on: inside stays", {100, 100, 200, 120}, One, true, {100, 100, 200, 120});
    row("on: off the right", {1200, 100, 200, 120}, One, true, {1080, 100, 200, 120});
    row("on: off the top left", {-50, -20, 200, 120}, One, true, {0, 0, 200, 120});
    row("on: over the task bar", {100, 700, 200, 120}, One, true, {100, 640, 200, 120});
    row("on: too big is shrunk", {100, 100, 2000, 900}, One, true, {0, 0, 1280, 760});
    row("on: mostly on the second", {1200, 100, 300, 120}, Two, true, {1280, 100, 300, 120});
    row("on: mostly on the first", {1100, 100, 300, 120}, Two, true, {980, 100, 300, 120});
    row("on: below the second", {2000, 1050, 200, 120}, Two, true, {2000, 960, 200, 120});
    row("gone screen, off", {4000, 200, 200, 120}, Two, false, {1080, 200, 200, 120});
    row("gone screen, on", {-3000, 900, 200, 120}, Two, true, {0, 640, 200, 120});
    row("second screen gone", {2000, 900, 200, 120}, One, false, {1080, 640, 200, 120});
    row("no size yet", {50, 60, 0, 0}, One, true, {50, 60, 0, 0});
    row("no screens at all", {-500, 9000, 200, 120}, {}, true, {-500, 9000, 200, 120});
}

void TestTagPlacement::place()
{
    QFETCH(QRect, wanted);
    QFETCH(QList<QRect>, areas);
    QFETCH(bool, autoPosition);
    QFETCH(QRect, placed);
    QCOMPARE(placeTag(wanted, areas, autoPosition), placed);
}

void TestTagPlacement::bounded_data()
{
    QTest::addColumn<QList<qint64>>("stored"); // x, y, width, height as read from the file
    QTest::addColumn<QList<QRect>>("areas");
    QTest::addColumn<QRect>("bounded");
    const qint64 big = 2147483647, small = -2147483647 - 1;
    QTest::newRow("ordinary") << QList<qint64>{100, 100, 200, 120} << One
                              << QRect(100, 100, 200, 120);
    QTest::newRow("100000 square")
        << QList<qint64>{0, 0, 100000, 100000} << One << QRect(0, 0, 1280, 760);
    QTest::newRow("near +2^31") << QList<qint64>{big, big, big, big} << Two
                                << QRect(3199, 1079, 3200, 1080);
    QTest::newRow("near -2^31") << QList<qint64>{small, small, small, small} << Two
                                << QRect(0, 0, 0, 0);
    QTest::newRow("partly off stays")
        << QList<qint64>{1200, 700, 200, 120} << One << QRect(1200, 700, 200, 120);
    QTest::newRow("no screens") << QList<qint64>{big, 5, 90, 90} << QList<QRect>{}
                                << QRect(639, 5, 90, 90);
}

void TestTagPlacement::bounded()
{
    QFETCH(QList<qint64>, stored);
    QFETCH(QList<QRect>, areas);
    QFETCH(QRect, bounded);
    QCOMPARE(boundedGeometry(stored[0], stored[1], stored[2], stored[3], areas), bounded);
}

void TestTagPlacement::arrange_data()
{
    QTest::addColumn<Corner>("corner");
    QTest::addColumn<QList<QSize>>("sizes");
    QTest::addColumn<QRect>("area");
    QTest::addColumn<int>("gap");
    QTest::addColumn<Points>("expected");
    // The third does not fit below the second and opens the next column.
    const QList<QSize> three{{200, 100}, {150, 100}, {100, 100}};
    const QRect low(0, 0, 1000, 300);
    const auto row = [](const char *name, Corner c, const QList<QSize> &sizes, QRect area, int gap,
                        const Points &expected) {
        QTest::newRow(name) << c << sizes << area << gap << expected;
    };
    row("top left", Corner::TopLeft, three, low, 10, {{10, 10}, {10, 120}, {220, 10}});
    row("bottom left", Corner::BottomLeft, three, low, 10, {{10, 190}, {10, 80}, {220, 190}});
    row("top right", Corner::TopRight, three, low, 10, {{790, 10}, {840, 120}, {680, 10}});
    row("bottom right", Corner::BottomRight, three, low, 10, {{790, 190}, {840, 80}, {680, 190}});
    row("no gap", Corner::TopLeft, three, low, 0, {{0, 0}, {0, 100}, {0, 200}});
    row("second screen", Corner::BottomRight, three, {1280, 40, 1920, 1000}, 8,
        {{2992, 932}, {3042, 824}, {3092, 716}});
    row("taller than the area", Corner::TopLeft, {{100, 400}, {100, 50}}, low, 10,
        {{10, 10}, {120, 10}});
    row("out of columns", Corner::TopLeft, QList<QSize>(5, {200, 100}), {0, 0, 400, 300}, 10,
        {{10, 10}, {10, 120}, {10, 10}, {10, 120}, {10, 10}});
    row("none", Corner::TopRight, {}, low, 10, {});
}

void TestTagPlacement::arrange()
{
    QFETCH(Corner, corner);
    QFETCH(QList<QSize>, sizes);
    QFETCH(QRect, area);
    QFETCH(int, gap);
    QFETCH(Points, expected);
    QCOMPARE(arrangeTags(corner, sizes, area, gap), expected);
}

void TestTagPlacement::grow_data()
{
    QTest::addColumn<QSize>("stored");
    QTest::addColumn<QSize>("fitted");
    QTest::addColumn<QSize>("grown");
    QTest::newRow("text fits: kept") << QSize(200, 100) << QSize(150, 80) << QSize(200, 100);
    QTest::newRow("more lines: taller") << QSize(200, 40) << QSize(150, 90) << QSize(200, 90);
    QTest::newRow("bigger font: both") << QSize(200, 40) << QSize(320, 90) << QSize(320, 90);
    QTest::newRow("up to the work area") << QSize(200, 40) << QSize(1600, 900) << QSize(1280, 760);
    QTest::newRow("sized to text stays") << QSize(0, 0) << QSize(320, 90) << QSize(0, 0);
    QTest::newRow("width only") << QSize(200, 0) << QSize(320, 90) << QSize(320, 0);
    QTest::newRow("wider than the area") << QSize(1500, 40) << QSize(100, 90) << QSize(1500, 90);
}

void TestTagPlacement::grow()
{
    QFETCH(QSize, stored);
    QFETCH(QSize, fitted);
    QFETCH(QSize, grown);
    QCOMPARE(grownToFit(stored, fitted, One.first().size()), grown);
}

void TestTagPlacement::cascade_data()
{
    QTest::addColumn<QPoint>("start");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<Points>("taken");
    QTest::addColumn<QPoint>("placed");
    const QSize tag(200, 120);
    // Corners one step apart down to the lowest that keeps a tag above the task bar.
    const auto diagonal = [](QPoint from, int count) {
        Points p;
        for (int i = 0; i < count; ++i)
            p << from + QPoint(24 * i, 24 * i);
        return p;
    };
    const Points chain = diagonal({100, 100}, 23); // the last at 628 + 120 = 748
    QTest::newRow("nothing there") << QPoint(100, 100) << tag << Points{} << QPoint(100, 100);
    QTest::newRow("the default taken")
        << QPoint(100, 100) << tag << Points{{100, 100}} << QPoint(124, 124);
    QTest::newRow("after the last")
        << QPoint(100, 100) << tag << diagonal({100, 100}, 3) << QPoint(172, 172);
    QTest::newRow("close by counts")
        << QPoint(100, 100) << tag << Points{{110, 90}} << QPoint(124, 124);
    QTest::newRow("a step off is free")
        << QPoint(100, 100) << tag << Points{{124, 76}} << QPoint(100, 100);
    QTest::newRow("bottom: from the top") << QPoint(100, 100) << tag << chain << QPoint(0, 0);
    QTest::newRow("next column") << QPoint(100, 100) << tag << chain + diagonal({0, 0}, 27)
                                 << QPoint(24, 0);
    QTest::newRow("start off the area") << QPoint(2000, 100) << tag << Points{} << QPoint(0, 0);
    QTest::newRow("wider than the area")
        << QPoint(100, 100) << QSize(1500, 100) << Points{{100, 100}} << QPoint(100, 100);
}

void TestTagPlacement::cascade()
{
    QFETCH(QPoint, start);
    QFETCH(QSize, size);
    QFETCH(Points, taken);
    QFETCH(QPoint, placed);
    QCOMPARE(cascadeTag(start, size, taken, One.first()), placed);
}

QTEST_APPLESS_MAIN(TestTagPlacement)
#include "tst_tagplacement.moc"
