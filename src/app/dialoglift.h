#pragma once

#include <QObject>

class QWidget;

// Top-most tags must not hide the program's own windows. Every window it opens
// (editor, lists, address book, message boxes) is lifted into the same top-most
// layer as it is shown, and raised again above tags that come up while it is open.
class DialogLift : public QObject
{
    Q_OBJECT
public:
    // Watches every window of the application from now on.
    explicit DialogLift(QObject *parent = nullptr);
    ~DialogLift() override;

    // Whether w is one of the windows kept above the tags: a plain window or dialog,
    // never a tag, menu, tool tip or the tray's own window.
    static bool isLifted(const QWidget &w);
    // Puts the open lifted windows back on top, after tags were raised.
    static void raiseAboveTags();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
};
