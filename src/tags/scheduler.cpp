#include "scheduler.h"

#include "clock.h"
#include "prompt.h"
#include "tagstore.h"

bool isHeldSealed(const TagRecord &tag)
{
    return tag.isReceived() && tag.isSealed();
}

Scheduler::Scheduler(const TagStore &store, Clock &clock, Prompt &prompt, TagDisplay &display,
                     SchedulerTimer &timer, QObject *parent)
    : QObject(parent), m_store(store), m_clock(clock), m_prompt(prompt), m_display(display),
      m_timer(timer)
{
    connect(&m_timer, &SchedulerTimer::tick, this, &Scheduler::SchedulerTick);
}

Scheduler::Entry &Scheduler::entry(int k)
{
    if (k >= int(m_entries.size()))
        m_entries.resize(k + 1);
    return m_entries[k];
}

int Scheduler::state(int k) const
{
    return k > 0 && k < int(m_entries.size()) ? m_entries[k].state : Idle;
}

bool Scheduler::evaluate(int k, const LocalCalendar &now, ScheduleAnswer *answer)
{
    *answer = EvaluateSchedule(m_entries[k].schedule, now);
    if (answer->result != ScheduleResult::Damaged)
        return true;
    // Damaged: told once, then left alone until the tag is stored again.
    m_prompt.inform(damagedDataText());
    m_entries[k].state = Idle;
    unindex(k);
    return false;
}

void Scheduler::unindex(int k)
{
    Entry &e = m_entries[k];
    if (e.moment != NoMoment)
        m_next.erase({e.moment, k});
    e.moment = NoMoment;
}

void Scheduler::index(int k, const ScheduleAnswer &a, const LocalCalendar &now)
{
    unindex(k);
    Entry &e = m_entries[k];
    if (e.state != Shown && e.state != Waiting)
        return;
    const qint64 seconds = secondsToNextChange(e.schedule, a, now);
    if (seconds < 0)
        return; // shown until someone takes it down
    e.moment = now.now() + qMax<qint64>(seconds, 1);
    m_next.insert({e.moment, k});
}

void Scheduler::reindex(int k, const ScheduleAnswer &a, const LocalCalendar &now)
{
    Entry &e = m_entries[k];
    const qint64 seconds =
        e.state == Shown || e.state == Waiting ? secondsToNextChange(e.schedule, a, now) : -1;
    const qint64 moment = seconds < 0 ? NoMoment : now.now() + qMax<qint64>(seconds, 1);
    if (moment != e.moment) // a full pass mostly finds the moment it had
        index(k, a, now);
}

void Scheduler::rearm()
{
    const qint64 nowMs = m_clock.now().toMSecsSinceEpoch();
    qint64 wait = SchedulerTimer::MaxWaitSeconds * 1000;
    if (!m_next.empty())
        wait = qBound<qint64>(1, m_next.begin()->first * 1000 - nowMs, wait);
    m_timer.armMs(wait);
    m_wakeAt = nowMs + wait;
}

void Scheduler::wakeInTime()
{
    // Only ever sooner: a later moment must not push back what the timer waits for.
    if (!m_next.empty() && (!m_timer.isActive() || m_next.begin()->first * 1000 < m_wakeAt))
        rearm();
}

void Scheduler::loadAll()
{
    m_entries.assign(1, Entry{});
    m_next.clear();
    m_heldSealed.clear();
    m_zone.forget();
    const LocalCalendar now(m_clock.now(), m_zone);
    const auto env = m_store.readEnv();
    const int count = env ? env->tagCount() : 0;
    m_entries.resize(count + 1);
    QStringList unreadable;
    m_store.readTags(count, [&](int k, const TagRecord *tag, const QString &error) {
        Entry &e = m_entries[k];
        if (!tag) {
            qWarning().noquote() << "Pinboard:" << error;
            unreadable << m_store.storedTagNumber(k);
            return;
        }
        if (tag->state() != TagState::Live)
            return;
        if (isHeldSealed(*tag)) {
            m_heldSealed << k;
            return;
        }
        e.schedule = TagSchedule::fromRecord(*tag);
        if (e.schedule.kind == TagSchedule::OnDate && e.schedule.mail &&
            tag->byte(Tag::MailSent) == 1)
            return; // mailed once; nothing more to do
        e.state = Waiting;
        ScheduleAnswer a{};
        if (!evaluate(k, now, &a))
            return;
        if (a.result == ScheduleResult::Due) {
            if (e.schedule.openFile)
                m_display.openFile(k, tag->text(Tag::FilePath));
            else if (e.schedule.mail)
                mailDue(k, *tag);
            else
                m_display.showTag(k, *tag);
            e.state = Shown;
        }
        index(k, a, now);
    });
    rearm();
    // Said once per start, so a damaged tag is never dropped without a word.
    if (!unreadable.isEmpty())
        m_prompt.warn(unreadableTagsText(unreadable));
}

QString Scheduler::unreadableTagsText(const QStringList &numbers)
{
    return QStringLiteral("次の付箋のデータが壊れているため、表示できません。\r\n付箋番号：") +
           numbers.join(QStringLiteral("、"));
}

void Scheduler::apply(int k, const ScheduleAnswer &a, const LocalCalendar &now)
{
    Entry &e = m_entries[k];
    switch (a.result) {
    case ScheduleResult::Damaged:
        return;
    case ScheduleResult::NotNow:
        // A recurring tag that is not on screen (hidden, or a file or mail
        // action already done) waits for its next occurrence.
        if (e.state == Shown && e.schedule.kind >= TagSchedule::Daily && !m_display.isShown(k))
            e.state = Waiting;
        break;
    case ScheduleResult::Expired:
        if (e.state == Shown) {
            m_display.takeDown(k);
            e.state = Waiting;
        }
        break;
    case ScheduleResult::Due:
        if (e.state == Waiting && !m_paused) {
            if (e.schedule.mail) {
                if (const auto tag = record(k))
                    mailDue(k, *tag);
                e.state = Shown;
            } else {
                ShowDueTag(k);
            }
        }
        break;
    }
    reindex(k, a, now);
}

void Scheduler::mailDue(int k, const TagRecord &tag)
{
    m_display.sendMail(k, tag);
    if (tag.byte(Tag::ScheduleKind) != TagSchedule::OnDate)
        return;
    TagRecord sent = tag;
    sent.setByte(Tag::MailSent, 1);
    QString error;
    // The mail has gone; only the mark is lost, so a restart may send it again.
    // Nothing the user could do about it now: the log says so.
    if (!m_store.writeTag(k, sent, &error))
        qWarning().noquote() << "Pinboard: the mail of tag" << k
                             << "went out but could not be marked as sent:" << error;
}

void Scheduler::SchedulerTick()
{
    m_timer.stop();
    if (m_fullPassDue) {
        reevaluateAll();
        return;
    }
    const QDateTime clockNow = m_clock.now();
    // Nothing is looked at before the second it waits for: a timer that woke a
    // little early waits on for the rest.
    if (clockNow.toMSecsSinceEpoch() < m_wakeAt) {
        rearm();
        return;
    }
    const LocalCalendar now(clockNow, m_zone);
    std::vector<std::pair<int, ScheduleAnswer>> due; // a moment a second ahead counts as come
    for (auto it = m_next.begin(); it != m_next.end() && it->first <= now.now() + 1; ++it)
        due.push_back({it->second, {}});
    std::vector<int> coming; // tags that go up or out now need their records
    for (auto &[k, a] : due)
        if (evaluate(k, now, &a) && a.result == ScheduleResult::Due &&
            m_entries[k].state == Waiting && !m_paused)
            coming.push_back(k);
    if (coming.size() > 1) // read with one open of the file
        m_store.readTags(coming, [this](int k, const TagRecord *tag, const QString &) {
            if (tag)
                m_records.emplace(k, *tag);
        });
    for (const auto &[k, a] : due)
        if (a.result != ScheduleResult::Damaged)
            apply(k, a, now);
    m_records.clear();
    rearm();
}

void Scheduler::zoneChanged()
{
    m_zone.forget();
    reevaluateAll();
}

void Scheduler::reevaluateAll()
{
    m_timer.stop();
    m_fullPassDue = false;
    const LocalCalendar now(m_clock.now(), m_zone);
    for (int k = 1; k < int(m_entries.size()); ++k) {
        const Entry &e = m_entries[k];
        if (e.state != Shown && e.state != Waiting)
            continue;
        ScheduleAnswer a{};
        if (evaluate(k, now, &a))
            apply(k, a, now);
    }
    rearm();
}

std::optional<TagRecord> Scheduler::record(int k, QString *error) const
{
    const auto it = m_records.find(k);
    return it != m_records.end() ? it->second : m_store.readTag(k, error);
}

void Scheduler::ShowDueTag(int k)
{
    QString error;
    const auto tag = record(k, &error);
    if (!tag) {
        qWarning().noquote() << "Pinboard:" << error;
        return;
    }
    Entry &e = entry(k);
    if (tag->byte(Tag::OpenFileFlag) == 1) {
        m_display.openFile(k, tag->text(Tag::FilePath));
        e.state = Shown;
        return;
    }
    m_display.showTag(k, *tag);
    const Alarm alarm = alarmFor(*tag, m_env ? *m_env : m_store.readEnv().value_or(EnvRecord()));
    if (alarm.kind == Alarm::Sound)
        m_display.playSound(alarm.path);
    else if (alarm.kind == Alarm::Beep)
        m_display.beep();
    m_display.startBlink();
    e.state = Shown;
}

void Scheduler::tagChanged(int k)
{
    const auto tag = m_store.readTag(k);
    Entry &e = entry(k);
    if (!tag || tag->stateMark() != QLatin1String(TagRecord::Live) || isHeldSealed(*tag)) {
        dropTag(k);
        return;
    }
    e.schedule = TagSchedule::fromRecord(*tag);
    const LocalCalendar now(m_clock.now(), m_zone);
    ScheduleAnswer a{};
    if (!evaluate(k, now, &a))
        return;
    bool mailNow = false;
    if (a.result == ScheduleResult::Due) {
        if (m_display.isShown(k)) {
            m_display.showTag(k, *tag); // refresh in place
        } else if (!e.schedule.mail) {
            e.state = Waiting;
            ShowDueTag(k);
        } else {
            e.state = Waiting; // the tick sends it
            mailNow = true;
        }
    } else {
        if (m_display.isShown(k))
            m_display.takeDown(k);
        e.state = Waiting;
    }
    index(k, a, now);
    if (mailNow) {
        unindex(k);
        e.moment = now.now() + 1;
        m_next.insert({e.moment, k});
    }
    wakeInTime();
}

void Scheduler::hideTag(int k)
{
    m_display.takeDown(k);
    // Down before its moment has passed: the next tick lets it wait for its next
    // occurrence, which would otherwise find it still counted as shown.
    if (k < int(m_entries.size()) && m_entries[k].moment != NoMoment) {
        const qint64 now = LocalCalendar(m_clock.now(), m_zone).now();
        unindex(k);
        m_entries[k].moment = now;
        m_next.insert({now, k});
        wakeInTime();
    }
}

void Scheduler::dropTag(int k)
{
    if (m_display.isShown(k))
        m_display.takeDown(k);
    entry(k).state = Idle;
    unindex(k);
}

void Scheduler::redisplay()
{
    const LocalCalendar now(m_clock.now(), m_zone);
    for (int k = 1; k < int(m_entries.size()); ++k) {
        Entry &e = m_entries[k];
        if (e.state == Idle || m_display.isShown(k) || e.schedule.openFile || e.schedule.mail)
            continue;
        ScheduleAnswer a{};
        if (evaluate(k, now, &a) && a.result == ScheduleResult::Due)
            if (const auto tag = m_store.readTag(k)) {
                m_display.showTag(k, *tag);
                e.state = Shown;
            }
    }
}

void Scheduler::setPaused(bool paused)
{
    const bool resumed = m_paused && !paused;
    m_paused = paused;
    // Tags that came due while paused have moved on in the index: all afresh.
    if (resumed)
        reevaluateSoon();
}

void Scheduler::reevaluateSoon()
{
    m_fullPassDue = true;
    m_timer.arm(1);
    m_wakeAt = m_clock.now().toMSecsSinceEpoch() + 1000;
}
