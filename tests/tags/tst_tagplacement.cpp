#include "tablecheck.h"
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
    void place_data()
    {
        gotWantColumns<QRect>();
        const auto row = [](const char *name, QRect wanted, const QList<QRect> &areas, bool on,
                            QRect placed) {
            QTest::newRow(name) << placeTag(wanted, areas, on) << placed;
        };
        // clang-format off
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
        // clang-format on
    }

    void place() { compareGotWant<QRect>(); }
    void bounded_data()
    {
        gotWantColumns<QRect>();
        // x, y, width, height as read from the file
        const auto row = [](const char *name, QList<qint64> v, const QList<QRect> &areas,
                            QRect want) {
            QTest::newRow(name) << boundedGeometry(v[0], v[1], v[2], v[3], areas) << want;
        };
        const qint64 big = 2147483647, small = -2147483647 - 1;
        // clang-format off
        row("ordinary", {100, 100, 200, 120}, One, {100, 100, 200, 120});
        row("100000 square", {0, 0, 100000, 100000}, One, {0, 0, 1280, 760});
        row("near +2^31", {big, big, big, big}, Two, {3199, 1079, 3200, 1080});
        row("near -2^31", {small, small, small, small}, Two, {0, 0, 0, 0});
        row("partly off stays", {1200, 700, 200, 120}, One, {1200, 700, 200, 120});
        row("no screens", {big, 5, 90, 90}, {}, {639, 5, 90, 90});
        // clang-format on
    }

    void bounded() { compareGotWant<QRect>(); }
    void arrange_data()
    {
        gotWantColumns<Points>();
        // The third does not fit below the second and opens the next column.
        const QList<QSize> three{{200, 100}, {150, 100}, {100, 100}};
        const QRect low(0, 0, 1000, 300);
        const auto row = [](const char *name, Corner c, const QList<QSize> &sizes, QRect area,
                            int gap, const Points &want) {
            QTest::newRow(name) << arrangeTags(c, sizes, area, gap) << want;
        };
        // clang-format off
        row("top left", Corner::TopLeft, three, low, 10, {{10, 10}, {10, 120}, {220, 10}});
        row("bottom left", Corner::BottomLeft, three, low, 10, {{10, 190}, {10, 80}, {220, 190}});
        row("top right", Corner::TopRight, three, low, 10, {{790, 10}, {840, 120}, {680, 10}});
        row("bottom right", Corner::BottomRight, three, low, 10, {{790, 190}, {840, 80}, {680, 190}});
        row("no gap", Corner::TopLeft, three, low, 0, {{0, 0}, {0, 100}, {0, 200}});
        row("second screen", Corner::BottomRight, three, {1280, 40, 1920, 1000}, 8, {{2992, 932}, {3042, 824}, {3092, 716}});
        row("taller than the area", Corner::TopLeft, {{100, 400}, {100, 50}}, low, 10, {{10, 10}, {120, 10}});
        row("out of columns", Corner::TopLeft, QList<QSize>(5, {200, 100}), {0, 0, 400, 300}, 10, {{10, 10}, {10, 120}, {10, 10}, {10, 120}, {10, 10}});
        row("none", Corner::TopRight, {}, low, 10, {});
        // clang-format on
    }

    void arrange() { compareGotWant<Points>(); }
    void grow_data()
    {
        gotWantColumns<QSize>();
        const auto row = [](const char *name, QSize stored, QSize fitted, QSize want) {
            QTest::newRow(name) << grownToFit(stored, fitted, One.first().size()) << want;
        };
        row("text fits: kept", {200, 100}, {150, 80}, {200, 100});
        row("more lines: taller", {200, 40}, {150, 90}, {200, 90});
        row("bigger font: both", {200, 40}, {320, 90}, {320, 90});
        row("up to the work area", {200, 40}, {1600, 900}, {1280, 760});
        row("sized to text stays", {0, 0}, {320, 90}, {0, 0});
        row("width only", {200, 0}, {320, 90}, {320, 0});
        row("wider than the area", {1500, 40}, {100, 90}, {1500, 90});
    }

    void grow() { compareGotWant<QSize>(); }
    void cascade_data()
    {
        gotWantColumns<QPoint>();
        const QSize tag(200, 120);
        const auto row = [](const char *name, QPoint start, QSize size, const Points &taken,
                            QPoint want) {
            QTest::newRow(name) << cascadeTag(start, size, taken, One.first()) << want;
        };
        // Corners one step apart down to the lowest that keeps a tag above the task bar.
        const auto diagonal = [](QPoint from, int count) {
            Points p;
            for (int i = 0; i < count; ++i)
                p << from + QPoint(24 * i, 24 * i);
            return p;
        };
        const Points chain = diagonal({100, 100}, 23); // the last at 628 + 120 = 748
        // clang-format off
        row("nothing there", {100, 100}, tag, {}, {100, 100});
        row("the default taken", {100, 100}, tag, {{100, 100}}, {124, 124});
        row("after the last", {100, 100}, tag, diagonal({100, 100}, 3), {172, 172});
        row("close by counts", {100, 100}, tag, {{110, 90}}, {124, 124});
        row("a step off is free", {100, 100}, tag, {{124, 76}}, {100, 100});
        row("bottom: from the top", {100, 100}, tag, chain, {0, 0});
        row("next column", {100, 100}, tag, chain + diagonal({0, 0}, 27), {24, 0});
        row("start off the area", {2000, 100}, tag, {}, {0, 0});
        row("wider than the area", {100, 100}, {1500, 100}, {{100, 100}}, {100, 100});
        // clang-format on
    }

    void cascade() { compareGotWant<QPoint>(); }
};

QTEST_APPLESS_MAIN(TestTagPlacement)
#include "tst_tagplacement.moc"
