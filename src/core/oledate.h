#pragma once

#include <QDateTime>
#include <QString>

// Dates on disk are OLE automation dates: days since 1899/12/30 as a double, the
// fraction the time of day. Before the epoch the whole part counts days back and
// the fraction still adds the time: -1.25 is 1899/12/29 06:00.
//
// Values are wall-clock readings with no zone: a QDateTime here is always in
// Qt::UTC and only its date and time matter. Callers attach the local zone.
namespace OleDate {

double fromDateTime(const QDateTime &wallClock);
QDateTime toDateTime(double ole);

// "yyyy/MM/dd hh:mm:ss", the text form used in lists, dumps and logs.
QString format(const QDateTime &wallClock);
// Parses the text form; an invalid QDateTime when the text is not one.
QDateTime parse(const QString &text);

// 1900/01/01 00:00:00: a date field that holds no date.
QDateTime noDate();
// 0001/01/01 00:00:00: the dates of a record deleted for good.
QDateTime clearedDate();

} // namespace OleDate
