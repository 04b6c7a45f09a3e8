#include "editorhost.h"

#include "bringup.h"
#include "desktopdisplay.h"
#include "maildesk.h"
#include "prompt.h"
#include "scheduler.h"
#include "tagentry.h"
#include "taglist.h"
#include "tagstore.h"
#include "trashlist.h"

EditorHost::EditorHost(const TagStore &store, Settings &settings, Prompt &prompt,
                       const Clock &clock, Scheduler &scheduler, DesktopDisplay &display,
                       MailDesk &mail, QObject *parent)
    : QObject(parent), m_store(store), m_settings(settings), m_prompt(prompt), m_clock(clock),
      m_scheduler(scheduler), m_display(display), m_mail(mail)
{
    // The list tells whether a tag is on the desktop, whoever put it up or took it down.
    connect(&m_display, &DesktopDisplay::shownChanged, this, [this] {
        if (m_tagList)
            m_tagList->refill();
    });
}

EditorHost::~EditorHost()
{
    delete m_editor;
    delete m_tagList;
    delete m_trashList;
}

QString EditorHost::editorOpenText()
{
    return QStringLiteral("登録画面が表示されています。終了させて下さい。");
}

bool EditorHost::isEditorOpen() const
{
    return !m_editor.isNull();
}

TagEntry *EditorHost::newEditor()
{
    if (m_editor) {
        m_prompt.inform(editorOpenText());
        m_editor->raise();
        m_editor->activateWindow();
        return nullptr;
    }
    auto *editor = new TagEntry(m_store, m_settings, m_prompt, m_clock, m_display.sound());
    editor->setAttribute(Qt::WA_DeleteOnClose);
    connect(editor, &TagEntry::tagStored, this, [this, editor](int k) {
        m_mail.tagStored(editor, k);
        m_scheduler.tagChanged(k);
        refreshLists();
    });
    connect(editor, &TagEntry::tagTrashed, this, [this](int k) {
        m_scheduler.dropTag(k);
        refreshLists();
    });
    connect(editor, &TagEntry::mailRecipientsRequested, this,
            [this, editor](int k) { m_mail.editRecipients(editor, k, editor); });
    connect(editor, &QObject::destroyed, this, [this, editor] { m_mail.editorClosed(editor); });
    if (m_netSend) {
        editor->setNetSend(m_netReady);
        connect(editor, &TagEntry::netSendRequested, this,
                [this, editor](const TagRecord &record) { m_netSend(record, editor); });
    }
    m_editor = editor;
    return editor;
}

// Opened from the tray or a tag, the editor is what the user types into next.
void EditorHost::showEditor(QWidget *editor)
{
    bringUp(editor);
}

void EditorHost::openNew()
{
    if (TagEntry *e = newEditor()) {
        e->openNew();
        showEditor(e);
    }
}

void EditorHost::openEditor(int k)
{
    if (TagEntry *e = newEditor()) {
        if (!e->openTag(k)) {
            delete e;
            return;
        }
        showEditor(e);
    }
}

void EditorHost::openEditorCopy(int k)
{
    if (TagEntry *e = newEditor()) {
        if (!e->openCopy(k)) {
            delete e;
            return;
        }
        showEditor(e);
    }
}

void EditorHost::showTagList()
{
    if (!m_tagList) {
        m_tagList = new TagList(m_store, m_settings, m_prompt, *this);
        m_tagList->setAttribute(Qt::WA_DeleteOnClose);
    }
    bringUp(m_tagList);
}

void EditorHost::showTrashList()
{
    if (!m_trashList) {
        m_trashList = new TrashList(m_store, m_settings, m_prompt, *this);
        m_trashList->setAttribute(Qt::WA_DeleteOnClose);
    }
    bringUp(m_trashList);
}

void EditorHost::refreshLists()
{
    if (m_tagList)
        m_tagList->refill();
    if (m_trashList)
        m_trashList->refill();
}

bool EditorHost::isShown(int k) const
{
    return m_display.isShown(k);
}

void EditorHost::hideTag(int k)
{
    m_scheduler.hideTag(k);
}

void EditorHost::redisplayTag(int k)
{
    m_scheduler.tagChanged(k);
}

void EditorHost::tagTrashed(int k)
{
    m_scheduler.dropTag(k);
    refreshLists();
}

void EditorHost::tagRestored(int k)
{
    m_scheduler.tagChanged(k);
    refreshLists();
}

void EditorHost::tagDeletedForGood(int k)
{
    m_mail.forgetTag(k);
}

void EditorHost::stopMidi()
{
    m_display.sound().stopMidi(&m_prompt);
}

void EditorHost::restoreTrayIcon()
{
    if (m_restoreTray)
        m_restoreTray();
}
