#include "clock.h"

QDateTime SystemClock::now() const
{
    return QDateTime::currentDateTime();
}
