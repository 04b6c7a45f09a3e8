#pragma once

#include "tagentry.h"
#include "taglist.h"
#include "taglisthost.h"
#include "trashlist.h"

#include <QObject>
#include <QPointer>
#include <functional>

class Clock;
class DesktopDisplay;
class MailDesk;
class Prompt;
class Scheduler;
class Settings;
class TagStore;

// The editor and the two lists: one editor at a time, opened from the tray, a tag
// or a list; what they change reaches the scheduler, the desktop and the lists.
class EditorHost : public QObject, public TagListHost
{
    Q_OBJECT
public:
    EditorHost(const TagStore &store, Settings &settings, Prompt &prompt, const Clock &clock,
               Scheduler &scheduler, DesktopDisplay &display, MailDesk &mail,
               QObject *parent = nullptr);
    ~EditorHost() override;

    static QString editorOpenText();

    void openNew();
    void showTagList();
    void showTrashList();
    TagEntry *editor() const { return m_editor; }
    TagList *tagList() const { return m_tagList; }
    TrashList *trashList() const { return m_trashList; }
    // Refills the lists that are open: a tag was stored, trashed or restored.
    void refreshLists();
    // The tray icon again, for アイコン再表示.
    void setTrayRestorer(std::function<void()> restore) { m_restoreTray = std::move(restore); }
    // cmd_AddNet hands a checked tag to send; ready says whether the LAN is usable.
    using NetSend = std::function<void(const TagRecord &record, QWidget *editor)>;
    void setNetSend(NetSend send, std::function<bool()> ready)
    {
        m_netSend = std::move(send);
        m_netReady = std::move(ready);
    }

    bool isEditorOpen() const override;
    void openEditor(int k) override;
    void openEditorCopy(int k) override;
    bool isShown(int k) const override;
    void hideTag(int k) override;
    void redisplayTag(int k) override;
    void tagTrashed(int k) override;
    void tagRestored(int k) override;
    void tagDeletedForGood(int k) override;
    void stopMidi() override;
    void restoreTrayIcon() override;

private:
    static void showEditor(QWidget *editor);
    // A new editor, or nullptr after telling the user one is open already.
    TagEntry *newEditor();

    const TagStore &m_store;
    Settings &m_settings;
    Prompt &m_prompt;
    const Clock &m_clock;
    Scheduler &m_scheduler;
    DesktopDisplay &m_display;
    MailDesk &m_mail;
    QPointer<TagEntry> m_editor;
    QPointer<TagList> m_tagList;
    QPointer<TrashList> m_trashList;
    std::function<void()> m_restoreTray;
    NetSend m_netSend;
    std::function<bool()> m_netReady;
};
