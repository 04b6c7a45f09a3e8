#include "messageinserts.h"

#include "clock.h"
#include "prompt.h"
#include "tagentryform.h"
#include "tagentryinput.h"
#include "textcalendar.h"

#include <QAction>
#include <QMenu>
#include <QPlainTextEdit>

using namespace Qt::StringLiterals;

MessageInserts::MessageInserts(const TagEntryForm &form, const Clock &clock, Prompt &prompt,
                               QObject *parent)
    : QObject(parent), m_message(form.message), m_calendarMenu(form.calendarMenu), m_clock(clock),
      m_prompt(prompt)
{
    for (QMenu *menu : {form.dateMenu, form.telMenu}) {
        for (QAction *a : menu->actions())
            connect(a, &QAction::triggered, this, [this, a] {
                insertText(TagEntryText::insertion(a->objectName(), m_clock.now()));
            });
    }
    connect(m_calendarMenu, &QMenu::aboutToShow, this, &MessageInserts::fillCalendarMenu);
    fillCalendarMenu();
}

// The months follow the clock, so they are laid out anew each time the menu opens.
void MessageInserts::fillCalendarMenu()
{
    m_calendarMenu->clear();
    const QList<QDate> months = TagEntryText::calendarMonths(m_clock.now().date());
    for (int i = 0; i < months.size(); ++i) {
        const QDate month = months.at(i);
        QAction *a = m_calendarMenu->addAction(TagEntryText::monthCaption(month));
        a->setObjectName(u"mnu_Calender%1"_s.arg(i));
        connect(a, &QAction::triggered, this, [this, month] { insertCalendar(month); });
    }
    m_calendarMenu->addSeparator();
    QAction *any = m_calendarMenu->addAction(u"年月を指定..."_s);
    any->setObjectName(u"mnu_CalenderAny"_s);
    connect(any, &QAction::triggered, this, &MessageInserts::askCalendarMonth);
}

void MessageInserts::insertText(const QString &text)
{
    if (!text.isEmpty())
        m_message->insertPlainText(text);
}

void MessageInserts::insertCalendar(const QDate &month)
{
    // Its columns line up only from the start of a line: a calendar never shares
    // a line with other text.
    QString calendar = textCalendar(month.year(), month.month());
    if (calendar.isEmpty())
        return;
    if (!m_message->textCursor().atBlockStart())
        calendar.prepend(u'\n');
    if (!m_message->textCursor().atBlockEnd())
        calendar.append(u'\n');
    insertText(calendar);
}

void MessageInserts::askCalendarMonth()
{
    const auto answer = m_prompt.askText(
        u"作成するカレンダーの年月を入力して下さい。\r\nyyyy/mm の形式で入力して下さい。"_s,
        u"年月指定"_s);
    if (!answer)
        return;
    const QDate month = TagEntryText::parseYearMonth(*answer);
    if (!month.isValid()) {
        m_prompt.warn(u"入力された値が日付形式ではありません。年／月の形式で入力して下さい。"_s);
        return;
    }
    insertCalendar(month);
}
