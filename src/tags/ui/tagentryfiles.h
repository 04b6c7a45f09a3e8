#pragma once

#include <QString>

class Prompt;
class QWidget;
class SoundPlayer;

// What the file chooser of the editor asks for and where it starts: a sound from
// the music folder, or a file to open or attach next to the one named now.
struct FileQuestion
{
    QString title;
    QString folder;
};
FileQuestion fileQuestion(bool openFile, bool mail, const QString &current);

// The chooser the editor uses unless told otherwise: Qt's own dialog, with the
// sound filter first when a sound is wanted. "" when cancelled.
QString chooseFileWithDialog(QWidget *parent, const QString &title, const QString &folder,
                             bool soundsOnly);

// cmd_Replay: plays a sound, or for a file to open tells which program opens it.
void tryFile(const QString &path, bool openFile, SoundPlayer &sound, Prompt &prompt);
