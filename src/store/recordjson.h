#pragma once

#include "fixedrecord.h"

#include <QJsonObject>

// A record as a JSON object, one member per named field: numbers as numbers,
// texts decoded, dates as "yyyy/mm/dd hh:nn:ss", arrays as arrays. Pads are left
// out (and written back as zeros). An element whose bytes would not come back the
// same from that form (a code CP932 does not assign, a NUL inside a text, a date
// between whole seconds) is written as {"bytes": "<hex>"} instead, so a dump
// loads back to the very same bytes.
QJsonObject recordToJson(const FixedRecord &record);

// Sets the fields named in object; members left out keep their value. False,
// with the reason, for an unknown member, a wrong type, a number out of its
// type's range, a text longer than its field in CP932, a text with U+0000 or a
// lone surrogate, or a date not of the form.
bool recordFromJson(const QJsonObject &object, FixedRecord &record, QString *error);

// A variable text (the tag's message) in the same two forms.
QJsonValue bytesToJson(const QByteArray &bytes);
// nullopt with the reason when value is neither form or holds what CP932 cannot.
std::optional<QByteArray> bytesFromJson(const QJsonValue &value, QString *error);

// A key or value as an error message quotes it: in double quotes, cut to 80 characters.
QString quotedForError(const QString &text);
