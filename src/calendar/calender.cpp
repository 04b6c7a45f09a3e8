#include "calender.h"

#include "clock.h"
#include "dialogbuttons.h"
#include "monthlayout.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QRegularExpression>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {
const QColor Highlight(0x00, 0xFF, 0xFF); // BGR 0xFFFF00
const QString MonthFormat = u"yyyy/MM"_s;
const QString DateFormat = u"yyyy/MM/dd"_s;
} // namespace

Calender::Calender(const QString &startDate, const Clock &clock, QWidget *parent) : QDialog(parent)
{
    setObjectName(u"Calender"_s);
    setWindowTitle(u"日付選択"_s);
    setModal(true);

    auto *back = plainButton("M_BACK", u"＜ 前月"_s, this);
    auto *next = plainButton("M_NEXT", u"翌月 ＞"_s, this);
    m_caption = new QLabel(this);
    m_caption->setObjectName(u"lbl_Month"_s);
    m_caption->setAlignment(Qt::AlignCenter);
    QFont captionFont = m_caption->font();
    captionFont.setBold(true);
    captionFont.setPointSizeF(captionFont.pointSizeF() * 1.2);
    m_caption->setFont(captionFont);

    auto *top = new QHBoxLayout;
    top->addWidget(back);
    top->addWidget(m_caption, 1);
    top->addWidget(next);

    QLayout *grid = buildDayGrid();

    auto *ok = namedButton("cmd_OK", u"OK"_s, this);
    ok->setDefault(true);
    auto *cancel = plainButton("cmd_Cencel", u"キャンセル"_s, this);
    auto *bottom = buttonRow({ok, cancel});

    // State lives in hidden fields, as the editor and tests read it by name.
    auto hiddenField = [this](const QString &name) {
        auto *field = new QLineEdit(this);
        field->setObjectName(name);
        field->setVisible(false);
        return field;
    };
    m_setYmd = hiddenField(u"SET_YMD"_s);
    m_curYm = hiddenField(u"CUR_YM"_s);
    m_curIdx = hiddenField(u"CUR_IDX"_s);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addLayout(grid);
    layout->addLayout(bottom);
    layout->setSizeConstraint(QLayout::SetFixedSize);

    connect(back, &QPushButton::clicked, this, [this] { stepMonth(-1); });
    connect(next, &QPushButton::clicked, this, [this] { stepMonth(1); });
    connect(ok, &QPushButton::clicked, this, [this] {
        m_chosen = m_setYmd->text();
        accept();
    });
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);

    m_today = clock.now().date();
    QDate start = parseDate(startDate);
    if (!start.isValid())
        start = m_today;
    m_curIdx->setText(u"0"_s);
    showMonth(QDate(start.year(), start.month(), 1));
    selectCell(layoutMonth(start.year(), start.month()).firstCell + start.day() - 1);
}

// The weekday heads over six weeks of day cells; a cell is picked by a click.
QLayout *Calender::buildDayGrid()
{
    auto *grid = new QGridLayout;
    grid->setSpacing(2);
    const QString weekdays = u"日月火水木金土"_s;
    for (int column = 0; column < 7; ++column) {
        auto *header = new QLabel(weekdays.at(column), this);
        header->setAlignment(Qt::AlignCenter);
        if (column == 0)
            header->setStyleSheet(u"color: #C00000;"_s);
        else if (column == 6)
            header->setStyleSheet(u"color: #0000C0;"_s);
        grid->addWidget(header, 0, column);
    }
    for (int i = 0; i < CellCount; ++i) {
        auto *cell = new QLabel(this);
        cell->setObjectName(u"D%1"_s.arg(i + 1));
        cell->setAlignment(Qt::AlignCenter);
        cell->setFrameStyle(QFrame::Panel | QFrame::Sunken);
        cell->setMinimumSize(36, 26);
        cell->setAutoFillBackground(true);
        cell->installEventFilter(this);
        grid->addWidget(cell, 1 + i / 7, i % 7);
        m_cells << cell;
    }
    return grid;
}

QString Calender::chosenDate() const
{
    return m_chosen;
}

QString Calender::setYmd() const
{
    return m_setYmd->text();
}

QString Calender::curYm() const
{
    return m_curYm->text();
}

int Calender::curIdx() const
{
    return m_curIdx->text().toInt();
}

QDate Calender::parseDate(const QString &text)
{
    static const QRegularExpression pattern(u"^([0-9]{4})/([0-9]{1,2})/([0-9]{1,2})$"_s);
    const QRegularExpressionMatch match = pattern.match(text.trimmed());
    if (!match.hasMatch())
        return {};
    return QDate(match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt());
}

bool Calender::eventFilter(QObject *watched, QEvent *event)
{
    // A click chooses a day; a double-click chooses it and closes as OK does.
    const bool press = event->type() == QEvent::MouseButtonPress;
    if (press || event->type() == QEvent::MouseButtonDblClick) {
        const int index = m_cells.indexOf(qobject_cast<QLabel *>(watched));
        if (index >= 0) {
            if (static_cast<QMouseEvent *>(event)->button() == Qt::LeftButton) {
                selectCell(index + 1);
                if (!press && curIdx() == index + 1) {
                    m_chosen = m_setYmd->text();
                    accept();
                }
            }
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

void Calender::keyPressEvent(QKeyEvent *event)
{
    int days = 0;
    switch (event->key()) {
    case Qt::Key_Left:
        days = -1;
        break;
    case Qt::Key_Right:
        days = 1;
        break;
    case Qt::Key_Up:
        days = -7;
        break;
    case Qt::Key_Down:
        days = 7;
        break;
    default:
        QDialog::keyPressEvent(event);
        return;
    }
    const QDate chosen = QDate::fromString(m_setYmd->text(), DateFormat);
    const QDate to = chosen.isValid() ? chosen.addDays(days) : QDate();
    if (!to.isValid() || to.year() < 1 || to.year() > 9999)
        return;
    if (to.year() != shownMonth().year() || to.month() != shownMonth().month()) {
        m_curIdx->setText(u"0"_s);
        showMonth(QDate(to.year(), to.month(), 1));
    }
    selectCell(layoutMonth(to.year(), to.month()).firstCell + to.day() - 1);
}

void Calender::showMonth(const QDate &first)
{
    for (int i = 1; i <= CellCount; ++i) {
        m_cells.at(i - 1)->clear();
        setHighlight(i, false);
    }
    const MonthLayout layout = layoutMonth(first.year(), first.month());
    for (int i = 0; i < CellCount; ++i) {
        QFont font = m_cells.at(i)->font();
        font.setBold(QDate(first.year(), first.month(), i - layout.firstCell + 2) == m_today);
        m_cells.at(i)->setFont(font);
    }
    for (int day = 1; day <= layout.days; ++day)
        m_cells.at(layout.firstCell + day - 2)->setNum(day);
    m_curYm->setText(first.toString(MonthFormat));
    m_caption->setText(u"%1年%2月"_s.arg(first.year()).arg(first.month()));
}

void Calender::stepMonth(int months)
{
    const QDate first = shownMonth().addMonths(months);
    // Keep to four-digit years so CUR_YM and SET_YMD stay in their formats.
    if (first.year() < 1 || first.year() > 9999)
        return;
    m_curIdx->setText(u"0"_s);
    showMonth(first);
    // Coming back to the month of the chosen day shows that day highlighted again.
    const QDate chosen = QDate::fromString(m_setYmd->text(), DateFormat);
    if (chosen.year() == first.year() && chosen.month() == first.month())
        selectCell(layoutMonth(first.year(), first.month()).firstCell + chosen.day() - 1);
}

void Calender::selectCell(int index)
{
    if (index < 1 || index > CellCount || m_cells.at(index - 1)->text().isEmpty())
        return;
    setHighlight(curIdx(), false);
    setHighlight(index, true);
    m_curIdx->setText(QString::number(index));
    const int day = m_cells.at(index - 1)->text().toInt();
    m_setYmd->setText(m_curYm->text() + u'/' + u"%1"_s.arg(day, 2, 10, QChar(u'0')));
}

void Calender::setHighlight(int index, bool on)
{
    if (index < 1 || index > CellCount)
        return;
    QLabel *cell = m_cells.at(index - 1);
    QPalette colours = cell->palette();
    colours.setColor(QPalette::Window, on ? Highlight : palette().color(QPalette::Button));
    cell->setPalette(colours);
}

QDate Calender::shownMonth() const
{
    return QDate::fromString(m_curYm->text() + u"/01"_s, DateFormat);
}
