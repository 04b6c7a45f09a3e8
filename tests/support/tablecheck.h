#pragma once

#include <QTest>

// A table of rows that each hold what a pure function gave for the row's inputs
// ("got") and what it should give ("want"), compared by the test function.
template <class T> void gotWantColumns()
{
    QTest::addColumn<T>("got");
    QTest::addColumn<T>("want");
}

template <class T> void compareGotWant()
{
    QFETCH(T, got);
    QFETCH(T, want);
    QCOMPARE(got, want);
}
