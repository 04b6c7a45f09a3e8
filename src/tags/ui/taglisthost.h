#pragma once

// What the tag list and the trash ask of the application: the editor, the tag
// windows, the scheduler, sound and tray icon are its business.
class TagListHost
{
public:
    virtual ~TagListHost() = default;
    virtual bool isEditorOpen() const = 0;
    virtual void openEditor(int k) = 0;     // 設定変更
    virtual void openEditorCopy(int k) = 0; // 新規作成 (ｺﾋﾟｰの作成)
    virtual bool isShown(int k) const = 0;  // the tag's window is on the desktop
    virtual void hideTag(int k) = 0;        // 非表示
    virtual void redisplayTag(int k) = 0;   // 再表示
    virtual void tagTrashed(int k) = 0;     // after "D" is written: window down, off the schedule
    virtual void tagRestored(int k) = 0; // after "0" is written: evaluated again, scheduler armed
    virtual void tagDeletedForGood(int k) = 0; // after "9" is written: its mail recipients go
    virtual void stopMidi() = 0;               // before the trash is emptied
    virtual void restoreTrayIcon() = 0;        // アイコン再表示
};
