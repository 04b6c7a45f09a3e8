#include "scheduler.h"

#include "clock.h"
#include "prompt.h"
#include "tagstore.h"

#include <limits>

Alarm alarmFor(const TagRecord &tag, const EnvRecord &env)
{
    if (tag.text(Tag::ReceivedMark) == u"1" && env.byte(Env::NetSound) == 1) {
        const QString arrival = env.text(Env::ArrivalSound);
        return arrival.isEmpty() ? Alarm{Alarm::Beep, {}} : Alarm{Alarm::Sound, arrival};
    }
    if (tag.byte(Tag::SoundFlag) != 1)
        return {};
    const QString path = tag.text(Tag::FilePath);
    return path.isEmpty() ? Alarm{Alarm::Beep, {}} : Alarm{Alarm::Sound, path};
}

bool isHeldSealed(const TagRecord &tag)
{
    return tag.text(Tag::ReceivedMark) == u"1" && tag.byte(Tag::SealedFlag) == 1;
}

Scheduler::Scheduler(const TagStore &store, Clock &clock, Prompt &prompt, TagDisplay &display,
                     SchedulerTimer &timer, QObject *parent)
    : QObject(parent), m_store(store), m_clock(clock), m_prompt(prompt), m_display(display), m_timer(timer)
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

bool Scheduler::evaluate(int k, ScheduleAnswer *answer)
{
    const auto a = EvaluateSchedule(m_entries[k].schedule, m_clock.now(), m_prompt);
    if (!a) {
        m_entries[k].state = Idle; // damaged: the user has been told; leave it alone
        return false;
    }
    *answer = *a;
    return true;
}

void Scheduler::rearm(qint64 nearest)
{
    m_timer.arm(nearest < 3601 ? nearest : SchedulerTimer::MaxWaitSeconds);
}

void Scheduler::loadAll()
{
    m_entries.assign(1, Entry{});
    qint64 nearest = std::numeric_limits<qint32>::max();
    const auto env = m_store.readEnv();
    const int count = env ? env->tagCount() : 0;
    QStringList unreadable;
    for (int k = 1; k <= count; ++k) {
        QString error;
        const auto tag = m_store.readTag(k, &error);
        Entry &e = entry(k);
        if (!tag) {
            qWarning().noquote() << "Pinboard:" << error;
            unreadable << m_store.storedTagNumber(k);
            continue;
        }
        if (tag->stateMark() != QLatin1String(TagRecord::Live) || isHeldSealed(*tag))
            continue;
        e.schedule = TagSchedule::fromRecord(*tag);
        if (e.schedule.kind == TagSchedule::OnDate && e.schedule.mail && tag->byte(Tag::MailSent) == 1)
            continue; // mailed once; nothing more to do
        ScheduleAnswer a{};
        if (!evaluate(k, &a))
            continue;
        e.state = Waiting;
        if (a.result == ScheduleResult::NotNow) {
            if (a.seconds != -1)
                nearest = qMin<qint64>(nearest, a.seconds);
        } else if (a.result == ScheduleResult::Due) {
            if (e.schedule.openFile)
                m_display.openFile(k, tag->text(Tag::FilePath));
            else if (e.schedule.mail)
                m_display.sendMail(k, *tag);
            else
                m_display.showTag(k, *tag);
            e.state = Shown;
            if (a.seconds >= 2)
                nearest = qMin<qint64>(nearest, a.seconds);
        }
    }
    rearm(nearest);
    // Said once per start, so a damaged tag is never dropped without a word.
    if (!unreadable.isEmpty())
        m_prompt.warn(unreadableTagsText(unreadable));
}

QString Scheduler::unreadableTagsText(const QStringList &numbers)
{
    return QStringLiteral("次の付箋のデータが壊れているため、表示できません。\r\n付箋番号：") + numbers.join(QStringLiteral("、"));
}

void Scheduler::SchedulerTick()
{
    m_timer.stop();
    qint64 nearest = std::numeric_limits<qint32>::max();
    for (int k = 1; k < int(m_entries.size()); ++k) {
        Entry &e = m_entries[k];
        if (e.state != Shown && e.state != Waiting)
            continue;
        ScheduleAnswer a{};
        if (!evaluate(k, &a))
            continue;
        switch (a.result) {
        case ScheduleResult::NotNow:
            // A recurring tag that is not on screen (hidden, or a file or mail
            // action already done) waits for its next occurrence.
            if (e.state == Shown && e.schedule.kind >= TagSchedule::Daily && !m_display.isShown(k))
                e.state = Waiting;
            if (a.seconds != -1)
                nearest = qMin<qint64>(nearest, a.seconds);
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
                    if (const auto tag = m_store.readTag(k)) {
                        m_display.sendMail(k, *tag);
                        if (e.schedule.kind == TagSchedule::OnDate) {
                            TagRecord sent = *tag;
                            sent.setByte(Tag::MailSent, 1);
                            m_store.writeTag(k, sent);
                        }
                    }
                    e.state = Shown;
                } else {
                    ShowDueTag(k);
                }
            }
            if (a.seconds >= 2)
                nearest = qMin<qint64>(nearest, a.seconds);
            break;
        }
    }
    rearm(nearest);
}

void Scheduler::ShowDueTag(int k)
{
    QString error;
    const auto tag = m_store.readTag(k, &error);
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
    const auto env = m_store.readEnv();
    const Alarm alarm = alarmFor(*tag, env ? *env : EnvRecord());
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
    ScheduleAnswer a{};
    if (!evaluate(k, &a))
        return;
    if (a.result == ScheduleResult::Due) {
        if (m_display.isShown(k))
            m_display.showTag(k, *tag); // refresh in place
        else if (!e.schedule.mail) {
            e.state = Waiting;
            ShowDueTag(k);
        } else
            e.state = Waiting; // the tick sends it
    } else {
        if (m_display.isShown(k))
            m_display.takeDown(k);
        e.state = Waiting;
    }
    // Wake in time for this tag if it is nearer than what the timer waits for.
    const qint64 wait = a.result == ScheduleResult::NotNow ? a.seconds
                        : a.result == ScheduleResult::Due && e.schedule.mail ? 1
                                                                              : a.seconds;
    if (wait >= 1 && (!m_timer.isActive() || wait * 1000 < m_timer.intervalMs()))
        rearm(wait);
}

void Scheduler::hideTag(int k)
{
    m_display.takeDown(k);
}

void Scheduler::dropTag(int k)
{
    if (m_display.isShown(k))
        m_display.takeDown(k);
    entry(k).state = Idle;
}

void Scheduler::redisplay()
{
    for (int k = 1; k < int(m_entries.size()); ++k) {
        Entry &e = m_entries[k];
        if (e.state == Idle || m_display.isShown(k) || e.schedule.openFile || e.schedule.mail)
            continue;
        ScheduleAnswer a{};
        if (evaluate(k, &a) && a.result == ScheduleResult::Due)
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
    if (resumed)
        m_timer.arm(1);
}
