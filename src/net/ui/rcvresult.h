#pragma once

#include <QWidget>

class QListWidget;

// The answers of the recipients of a tag: one "<name> Received" line each,
// collected until the user closes the window with cmd_Confirm.
class RcvResult : public QWidget
{
    Q_OBJECT
public:
    explicit RcvResult(QWidget *parent = nullptr);
    void addLine(const QString &line);
    QStringList lines() const;

private:
    QListWidget *m_lines = nullptr;
};
