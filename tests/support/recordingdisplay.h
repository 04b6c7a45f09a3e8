#pragma once

#include "scheduler.h"

#include <QSet>
#include <QStringList>
#include <utility>

// Records what the scheduler asked for, in order.
class RecordingDisplay final : public TagDisplay
{
public:
    void showTag(int k, const TagRecord &) override
    {
        log << QStringLiteral("show %1").arg(k);
        shown.insert(k);
    }
    void takeDown(int k) override
    {
        log << QStringLiteral("down %1").arg(k);
        shown.remove(k);
    }
    bool isShown(int k) const override { return shown.contains(k); }
    void openFile(int k, const QString &path) override
    {
        log << QStringLiteral("open %1 %2").arg(k).arg(path);
    }
    void playSound(const QString &path) override { log << QStringLiteral("sound ") + path; }
    void beep() override { log << QStringLiteral("beep"); }
    void startBlink() override { log << QStringLiteral("blink"); }
    void sendMail(int k, const TagRecord &) override { log << QStringLiteral("mail %1").arg(k); }
    QStringList take() { return std::exchange(log, {}); }

    QStringList log;
    QSet<int> shown;
};
