#include "alarm.h"

Alarm arrivalAlarm(const EnvRecord &env)
{
    if (env.byte(Env::NetSound) != 1)
        return {};
    const QString arrival = env.text(Env::ArrivalSound);
    return arrival.isEmpty() ? Alarm{Alarm::Beep, {}} : Alarm{Alarm::Sound, arrival};
}

Alarm alarmFor(const TagRecord &tag, const EnvRecord &env)
{
    if (tag.text(Tag::ReceivedMark) == u"1" && env.byte(Env::NetSound) == 1)
        return arrivalAlarm(env);
    if (tag.byte(Tag::SoundFlag) != 1)
        return {};
    const QString path = tag.text(Tag::FilePath);
    return path.isEmpty() ? Alarm{Alarm::Beep, {}} : Alarm{Alarm::Sound, path};
}
