#pragma once

#include <QDate>
#include <QDialog>
#include <QList>

class Clock;
class QLabel;
class QLineEdit;

// The modal month grid the tag editor opens from its date fields to pick a date.
class Calender : public QDialog
{
    Q_OBJECT
public:
    static constexpr int CellCount = 42;

    // startDate: the text of the caller's date field; when it is not a valid "yyyy/mm/dd"
    // (or yyyy/m/d) date the dialog opens on today from clock.
    Calender(const QString &startDate, const Clock &clock, QWidget *parent = nullptr);

    // "yyyy/mm/dd" after cmd_OK; empty when the dialog was cancelled or is still open.
    QString chosenDate() const;

    // The dialog's state fields SET_YMD, CUR_YM and CUR_IDX (0 while no cell is highlighted).
    QString setYmd() const;
    QString curYm() const;
    int curIdx() const;

    // "yyyy/mm/dd" or "yyyy/m/d" as a date; an invalid QDate for anything else.
    static QDate parseDate(const QString &text);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    // The arrow keys move the chosen day by a day or a week, into the next or last month.
    void keyPressEvent(QKeyEvent *event) override;

private:
    QLayout *buildDayGrid();
    void showMonth(const QDate &first);
    void stepMonth(int months);
    void selectCell(int index);
    void setHighlight(int index, bool on);
    QDate shownMonth() const;

    QList<QLabel *> m_cells;
    QLabel *m_caption = nullptr;
    QLineEdit *m_setYmd = nullptr;
    QLineEdit *m_curYm = nullptr;
    QLineEdit *m_curIdx = nullptr;
    QString m_chosen;
    QDate m_today; // its cell is set in bold
};
