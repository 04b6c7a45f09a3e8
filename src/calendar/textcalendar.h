#pragma once

#include <QString>

// The month as text to insert into a message: a heading with the month formatted "yyyy年m月",
// the row "Sun Mon Tue Wed Thu Fri Sat", then the days laid out in weeks under their weekday
// columns (right-aligned in each column), for a fixed-pitch font ("ＭＳ ゴシック").
// Lines joined with "\n"; the text ends with "\n". Empty for a month that does not exist.
QString textCalendar(int year, int month);
