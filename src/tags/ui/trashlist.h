#pragma once

#include "taglistwindow.h"

// ごみ箱: the tags in the trash, to be restored or deleted for good; several rows
// can be chosen at once.
class TrashList : public TagListWindow
{
    Q_OBJECT
public:
    TrashList(const TagStore &store, Settings &settings, Prompt &prompt, TagListHost &host,
              QWidget *parent = nullptr);

    // The commands, as the menus call them.
    void restoreSelected();
    void deleteSelected();
    void emptyTrash();

protected:
    QString describe(const TagRecord &tag, int k) const override;
    void deletePressed() override { deleteSelected(); }
};
