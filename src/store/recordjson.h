#pragma once

#include "fixedrecord.h"

#include <QJsonObject>

// A record as a JSON object, one member per named field: numbers as numbers,
// texts decoded, dates as "yyyy/mm/dd hh:nn:ss", arrays as arrays. Pads are left out.
QJsonObject recordToJson(const FixedRecord &record);

// Sets the fields named in object; members left out keep their value. False,
// with the reason, for an unknown member, a wrong type, a number out of its
// type's range, a text longer than its field in CP932 or holding a NUL, or a date
// not of the form.
bool recordFromJson(const QJsonObject &object, FixedRecord &record, QString *error);
