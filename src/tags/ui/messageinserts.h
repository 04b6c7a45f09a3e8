#pragma once

#include <QObject>

class Clock;
class Prompt;
class QDate;
class QMenu;
class QPlainTextEdit;
struct TagEntryForm;

// The editor's menus that write into the message: dates and times, telephone
// notes and month calendars.
class MessageInserts : public QObject
{
    Q_OBJECT
public:
    MessageInserts(const TagEntryForm &form, const Clock &clock, Prompt &prompt, QObject *parent);

private:
    void fillCalendarMenu();
    void insertText(const QString &text);
    void insertCalendar(const QDate &month);
    void askCalendarMonth();

    QPlainTextEdit *m_message;
    QMenu *m_calendarMenu;
    const Clock &m_clock;
    Prompt &m_prompt;
};
