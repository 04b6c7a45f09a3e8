#pragma once

// Where a month sits in a six-by-seven grid whose first column is Sunday.
struct MonthLayout
{
    int firstCell; // 1..7: the cell D<firstCell> shows day 1 (Sunday = column 1)
    int days;      // 28..31
    bool operator==(const MonthLayout &) const = default;
};

// {0, 0} when year/month is not a month QDate can hold.
MonthLayout layoutMonth(int year, int month);
