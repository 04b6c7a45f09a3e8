#pragma once

#include <QDialog>
#include <functional>
#include <memory>

class Prompt;
class QFileDialog;
class QLineEdit;
class QPushButton;
class SoundPlayer;
class Settings;

// Chooses the sound played when a tag from another computer arrives; stored
// in record 1 as ArrivalSound and ArrivalSoundChoice.
class SoundSelect : public QDialog
{
    Q_OBJECT
public:
    SoundSelect(Settings &settings, SoundPlayer &player, Prompt &prompt, QWidget *parent = nullptr);

    // Answers cmd_Sound with a path, or an empty text when the user cancelled.
    using FileChooser = std::function<QString()>;
    void setFileChooser(FileChooser chooser) { m_chooseFile = std::move(chooser); }

    // The file dialog cmd_Sound shows by default, not yet shown.
    static std::unique_ptr<QFileDialog> createFileDialog(QWidget *parent = nullptr);

    void done(int result) override;

private:
    void choose();
    void store();

    Settings &m_settings;
    SoundPlayer &m_player;
    Prompt &m_prompt;
    FileChooser m_chooseFile;
    QLineEdit *m_sound;
};
