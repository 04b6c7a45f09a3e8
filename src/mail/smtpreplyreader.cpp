#include "smtpreplyreader.h"

#include <algorithm>
#include <utility>

bool SmtpReplyReader::read(QByteArrayView &data, QList<QByteArray> *reply)
{
    while (!data.isEmpty()) {
        const qsizetype lf = data.indexOf('\n');
        const qsizetype end = lf < 0 ? data.size() : lf;
        const qsizetype room = MaxLineBytes - m_line.size();
        if (room > 0)
            m_line.append(data.first(std::min(room, end)));
        if (lf < 0) {
            data = {};
            return false;
        }
        data = data.sliced(lf + 1);
        QByteArray line = std::exchange(m_line, {});
        if (line.endsWith('\r'))
            line.chop(1);
        const bool more = line.size() >= 4 && line.at(3) == '-';
        if (m_replyBytes + line.size() <= MaxReplyBytes) {
            m_replyBytes += line.size();
            m_reply << line;
        }
        if (more)
            continue;
        *reply = std::exchange(m_reply, {});
        m_replyBytes = 0;
        return true;
    }
    return false;
}

void SmtpReplyReader::clear()
{
    m_line.clear();
    m_reply.clear();
    m_replyBytes = 0;
}
