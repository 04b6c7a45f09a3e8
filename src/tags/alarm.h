#pragma once

#include "envrecord.h"
#include "tagrecord.h"

// What rings when a tag comes due or arrives from another computer.
struct Alarm
{
    enum Kind
    {
        None,
        Sound,
        Beep
    } kind = None;
    QString path;
    bool operator==(const Alarm &) const = default;
};

// The arrival sound: nothing when switched off, a beep when none is chosen.
Alarm arrivalAlarm(const EnvRecord &env);
// A tag from another computer rings the arrival sound; an own tag its sound
// file, or a beep without one.
Alarm alarmFor(const TagRecord &tag, const EnvRecord &env);
