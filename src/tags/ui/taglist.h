#pragma once

#include "taglistwindow.h"

// 付箋一覧: every tag that is not in the trash, with commands to change, copy, hide,
// show again or trash the selected one.
class TagList : public TagListWindow
{
    Q_OBJECT
public:
    TagList(const TagStore &store, Settings &settings, Prompt &prompt, TagListHost &host,
            QWidget *parent = nullptr);

    // The selected tag, 0 when none.
    int selectedTag() const;

    // The commands, as the menus call them.
    void editSelected();
    void createCopy();
    void eraseSelected();
    void redisplaySelected();
    void trashSelected();

protected:
    QString describe(const TagRecord &tag, int k) const override;
    void enterPressed() override { editSelected(); }
    void deletePressed() override { trashSelected(); }

private:
    // The selected tag when the editor may be opened on it, else 0 after saying why.
    int tagForEditor();
};
