#pragma once

#include "envrecord.h"
#include "tagentryform.h"
#include "tagentryinput.h"
#include "tagoperations.h"
#include "tagrecord.h"

#include <QDialog>
#include <array>
#include <functional>

class Clock;
class Prompt;
class QCheckBox;
class QLineEdit;
class SoundPlayer;
class Settings;
class TagStore;

// The dialog in which a tag is written or changed: message, look, schedule, sound
// or file, and the seal for sending. OK checks the input (validateForStore), stores
// the tag and says so; showing it is the owner's part.
class TagEntry : public QDialog
{
    Q_OBJECT
public:
    static constexpr int DefaultWidthTwips = 8500;
    static constexpr int DefaultHeightTwips = 7400;

    TagEntry(const TagStore &store, Settings &settings, Prompt &prompt, const Clock &clock,
             SoundPlayer &sound, QWidget *parent = nullptr);

    void openNew();                      // defaults from record 1, today's date in txt_Date
    bool openTag(int k);                 // edit stored tag k; false when it cannot be read
    bool openCopy(int k);                // a copy of tag k as a new tag
    int tagIndex() const { return m_k; } // 0 for a new tag not yet stored

    // What the controls hold now.
    TagEntryInput input() const;
    // Some control changed since the tag was opened.
    bool isChanged() const { return m_changed; }

    // Answers cmd_Sound with a path, or "" when cancelled. By default a file dialog.
    using FileChooser = std::function<QString(const QString &title, const QString &folder)>;
    void setFileChooser(FileChooser chooser) { m_chooseFile = std::move(chooser); }

    void done(int result) override;

    // Offers cmd_AddNet for sending to other computers; ready says whether the
    // network is set up (the first of the send checks).
    void setNetSend(std::function<bool()> ready);

Q_SIGNALS:
    void tagStored(int k);
    void tagTrashed(int k);
    void mailRecipientsRequested(int k);
    // cmd_AddNet passed the send checks: the tag as it would be stored.
    void netSendRequested(const TagRecord &record);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void connectControls();
    void connectFileModes();
    void watchChanges();

    void startFrom(int k, const TagRecord &tag);
    void start(int k, const TagRecord &base, const TagEntryInput &in, const EnvRecord &env);
    void load(const TagEntryInput &in);
    void setLook(const TagLook &look);
    void showLook();
    void markChanged();
    void kindChanged();
    void fileModeChanged();
    void exclusiveFileModes(QCheckBox *turnedOn);

    void storeTag();
    void sendToNet();
    void trashTag();
    void restoreDefaultLook();
    void chooseColor(bool fore);
    void chooseFont();
    void chooseFile();
    void replay();
    void pickDate(QLineEdit *field, QLineEdit *fallback);
    void clearEraseTime();

    const EnvRecord &env() const;
    void applyEntrySize(const EnvRecord &env);
    void storeEntrySize();

    TagEntryForm m_ui;
    const TagStore &m_store;
    Settings &m_settings;
    TagOperations m_operations;
    Prompt &m_prompt;
    const Clock &m_clock;
    SoundPlayer &m_sound;
    FileChooser m_chooseFile;
    std::function<bool()> m_netReady;

    int m_k = 0;
    TagRecord m_base; // fields the editor does not show come from here
    TagLook m_look;   // font and colours; the look check boxes hold the rest
    bool m_loading = false;
    bool m_changed = false;
};
