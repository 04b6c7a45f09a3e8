#pragma once

#include "tagentryinput.h"

#include <array>

class QButtonGroup;
class QCheckBox;
class QComboBox;
class QDialog;
class QLabel;
class QLayout;
class QLineEdit;
class QMenu;
class QMenuBar;
class QPlainTextEdit;
class QPushButton;
class QWidget;

// The controls of the tag editor and how they are laid out; TagEntry wires them up
// and gives them meaning.
struct TagEntryForm
{
    // Builds every control inside host, which owns them from then on.
    explicit TagEntryForm(QDialog *host);

    // The controls set from in; the font and colours of in.look have no control.
    void setValues(const TagEntryInput &in);
    void setLookBoxes(const TagLook &look);
    // What the controls hold, on top of look (which brings the font and colours).
    TagEntryInput values(const TagLook &look) const;
    // Only the controls that the schedule kind (0-4) uses are enabled.
    void showKind(int kind);
    // Captions and enabled controls follow what the file is for: a sound, a file
    // to open, a mail attachment; cmd_AddNet needs a mail or a ready network.
    void showFileMode(bool netReady);

    QPlainTextEdit *message = nullptr;
    QLabel *length = nullptr;
    QPushButton *foreColor = nullptr;
    QPushButton *backColor = nullptr;
    QPushButton *font = nullptr;
    QPushButton *defaultLook = nullptr;
    QCheckBox *look3d = nullptr;
    QCheckBox *frame = nullptr;
    QCheckBox *frameM = nullptr;
    QCheckBox *transpar = nullptr;
    QCheckBox *topWindow = nullptr;
    QCheckBox *blink = nullptr;
    QButtonGroup *kinds = nullptr;
    QLineEdit *date = nullptr;
    QLineEdit *ddate = nullptr;
    QPushButton *calender = nullptr;
    QPushButton *calender2 = nullptr;
    QComboBox *hh = nullptr;
    QComboBox *mm = nullptr;
    QComboBox *dhh = nullptr;
    QComboBox *dmm = nullptr;
    QComboBox *day = nullptr;
    std::array<QCheckBox *, 7> week{};
    std::array<QCheckBox *, 5> no{};
    QCheckBox *soundOn = nullptr;
    QCheckBox *openFile = nullptr;
    QCheckBox *mail = nullptr;
    QLineEdit *soundPath = nullptr;
    QLabel *soundLabel = nullptr;
    QPushButton *chooseButton = nullptr;
    QPushButton *replay = nullptr;
    QPushButton *delSound = nullptr;
    QCheckBox *sealed = nullptr;
    QLineEdit *password = nullptr;
    QLineEdit *x = nullptr;
    QLineEdit *y = nullptr;
    QPushButton *addNet = nullptr;
    QPushButton *trash = nullptr;
    QPushButton *ok = nullptr;
    QPushButton *cancel = nullptr;
    QMenuBar *menuBar = nullptr;
    QMenu *dateMenu = nullptr;
    QMenu *telMenu = nullptr;
    QMenu *calendarMenu = nullptr;

private:
    QLayout *buildLook();
    QWidget *buildSchedule(QDialog *host);
    QLayout *buildScheduleGrid();
    QLayout *buildWeekdays();
    QWidget *buildFiles();
    QLayout *buildExtra();
    QLayout *buildButtons();
    void buildMenus(QDialog *host, QLayout *layout);
};
