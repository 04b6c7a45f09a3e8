#pragma once

#include <QWidget>

struct ResultLines;

// What became of a sealed tag we sent: opened or discarded, by whom, and the
// tag's text.
class ResultForm : public QWidget
{
    Q_OBJECT
public:
    explicit ResultForm(const ResultLines &lines, QWidget *parent = nullptr);
};
