#pragma once

#include "alarm.h"
#include "envrecord.h"
#include "schedule.h"
#include "schedulertimer.h"
#include "tagrecord.h"

#include <QObject>
#include <map>
#include <set>
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

// A sealed tag from another computer, not yet opened: it waits in its own window
// and is neither scheduled nor listed until the user opens it.
bool isHeldSealed(const TagRecord &tag);

// Per-tag display states and the one timer: shows tags as they come due, takes
// them down as they expire, and wakes at the nearest change, an hour at most.
//
// Each tag's next change is kept as a moment in an index ordered by moment, so a
// tick looks only at the tags whose moment has come; a full pass over every tag
// runs at start-up and whenever the moments may have moved (clock set, resume
// from sleep, zone change, end of a pause).
class Scheduler : public QObject
{
    Q_OBJECT
public:
    enum State
    {
        Idle = 0,
        Shown = 1,
        Waiting = 5
    };

    Scheduler(const TagStore &store, Clock &clock, Prompt &prompt, TagDisplay &display,
              SchedulerTimer &timer, QObject *parent = nullptr);

    // Start-up: evaluates every stored tag, puts up the due ones (no alarm, no
    // blink), opens due files, sends due mail, and arms the timer.
    void loadAll();
    // The sealed tags loadAll found waiting to be opened, which it left alone.
    const QList<int> &heldSealed() const { return m_heldSealed; }
    // What the user is told of tags that could not be read at start-up.
    static QString unreadableTagsText(const QStringList &numbers);
    // The timer's tick: the tags whose moment has come (or comes within the
    // second, the due threshold) are evaluated; then the timer is re-armed.
    void SchedulerTick();
    // Every tag evaluated afresh, now: the clock was set, the machine woke up or
    // the zone changed.
    void reevaluateAll();
    // The same at the next tick, in a second (the wall clock was set).
    void reevaluateSoon();
    // The local zone changed: every wall time means another moment now.
    void zoneChanged();
    // The settings to ring alarms by (kept up to date by their owner); without
    // them record 1 is read for each alarm.
    void useSettings(const EnvRecord &env) { m_env = &env; }
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

    int state(int k) const;
    int tagCount() const { return int(m_entries.size()) - 1; }
    // When the timer is armed to wake, in milliseconds since the epoch; -1 when not.
    qint64 wakeAt() const { return m_timer.isActive() ? m_wakeAt : -1; }

private:
    static constexpr qint64 NoMoment = std::numeric_limits<qint64>::max();
    struct Entry
    {
        int state = Idle;
        TagSchedule schedule;
        qint64 moment = NoMoment; // next change, seconds since the epoch
    };
    // The rules of one tick for one tag.
    void apply(int k, const ScheduleAnswer &a, const LocalCalendar &now);
    bool evaluate(int k, const LocalCalendar &now, ScheduleAnswer *answer);
    void index(int k, const ScheduleAnswer &a, const LocalCalendar &now);
    void reindex(int k, const ScheduleAnswer &a, const LocalCalendar &now);
    void unindex(int k);
    void rearm();
    void wakeInTime();
    // Sends a due mail tag; a dated one is marked as sent.
    void mailDue(int k, const TagRecord &tag);
    Entry &entry(int k);
    // Tag k's record: read ahead for this tick, or from the store.
    std::optional<TagRecord> record(int k, QString *error = nullptr) const;

    const TagStore &m_store;
    Clock &m_clock;
    Prompt &m_prompt;
    TagDisplay &m_display;
    SchedulerTimer &m_timer;
    const EnvRecord *m_env = nullptr;
    ZoneDays m_zone;
    std::map<int, TagRecord> m_records; // read ahead for the tags a tick puts up
    std::vector<Entry> m_entries;       // index k; 0 unused
    QList<int> m_heldSealed;
    std::set<std::pair<qint64, int>> m_next; // (moment, k) of every tag that has one
    qint64 m_wakeAt = -1;
    bool m_paused = false;
    bool m_fullPassDue = false;
};
