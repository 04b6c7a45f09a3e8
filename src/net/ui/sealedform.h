#pragma once

#include <QWidget>

class NetTags;
class TagRecord;

// One sealed tag waiting on the desktop: who sent it, and the choice to open it
// (with its password) or to discard it unread. Either answer tells the sender.
class SealedForm : public QWidget
{
    Q_OBJECT
public:
    SealedForm(NetTags &tags, int k, const TagRecord &tag, QWidget *parent = nullptr);
    int tagIndex() const { return m_k; }

private:
    NetTags &m_tags;
    int m_k;
};
