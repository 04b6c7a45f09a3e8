#pragma once

#include "envrecord.h"
#include "schedule.h"
#include "schedulertimer.h"
#include "tagrecord.h"

#include <QObject>
#include <vector>

class Clock;
class Prompt;
class TagStore;

// What the scheduler asks of the desktop. The app shows windows and plays sounds;
// tests record the calls.
class TagDisplay
{
public:
    virtual ~TagDisplay() = default;
    // Creates or refreshes the tag's window and brings it to the front.
    virtual void showTag(int k, const TagRecord &tag) = 0;
    virtual void takeDown(int k) = 0;
    virtual bool isShown(int k) const = 0;
    virtual void openFile(int k, const QString &path) = 0;
    virtual void playSound(const QString &path) = 0;
    virtual void beep() = 0;
    // The tray icon blinks until the user notices.
    virtual void startBlink() = 0;
    virtual void sendMail(int k, const TagRecord &tag) = 0;
};

// What rings when a tag comes due.
struct Alarm
{
    enum Kind { None, Sound, Beep } kind = None;
    QString path;
    bool operator==(const Alarm &) const = default;
};
// A tag from another computer rings the arrival sound when that is switched on
// (a beep when none is chosen); an own tag its sound file, or a beep without one.
Alarm alarmFor(const TagRecord &tag, const EnvRecord &env);
// A sealed tag from another computer, not yet opened: it waits in its own window
// and is neither scheduled nor listed until the user opens it.
bool isHeldSealed(const TagRecord &tag);

// Per-tag display states and the one timer: shows tags as they come due, takes
// them down as they expire, and wakes at the nearest change, an hour at most.
class Scheduler : public QObject
{
    Q_OBJECT
public:
    enum State { Idle = 0, Shown = 1, Waiting = 5 };

    Scheduler(const TagStore &store, Clock &clock, Prompt &prompt, TagDisplay &display,
              SchedulerTimer &timer, QObject *parent = nullptr);

    // Start-up: evaluates every stored tag, puts up the due ones (no alarm, no
    // blink), opens due files, sends due mail, and arms the timer.
    void loadAll();
    // What the user is told of tags that could not be read at start-up.
    static QString unreadableTagsText(const QStringList &numbers);
    // The timer's tick: evaluates the shown and waiting tags and re-arms.
    void SchedulerTick();
    // Shows one due tag with its alarm, or opens its file.
    void ShowDueTag(int k);

    // A tag was stored or restored: evaluate it afresh and wake in time for it.
    void tagChanged(int k);
    // The user hid the tag: it stays down for this occurrence.
    void hideTag(int k);
    // The tag left the schedule (trash, deleted): taken down and forgotten.
    void dropTag(int k);
    // Shows again every tag whose schedule says it is due now.
    void redisplay();
    // While paused no tag is newly shown; resuming catches up at once.
    void setPaused(bool paused);
    bool isPaused() const { return m_paused; }

    int state(int k) const;
    int tagCount() const { return int(m_entries.size()) - 1; }

private:
    struct Entry
    {
        int state = Idle;
        TagSchedule schedule;
    };
    void rearm(qint64 nearest);
    bool evaluate(int k, ScheduleAnswer *answer);
    Entry &entry(int k);

    const TagStore &m_store;
    Clock &m_clock;
    Prompt &m_prompt;
    TagDisplay &m_display;
    SchedulerTimer &m_timer;
    std::vector<Entry> m_entries; // index k; 0 unused
    bool m_paused = false;
};
