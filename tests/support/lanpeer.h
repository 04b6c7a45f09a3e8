// LAN participants on 127.0.0.x for the tests and benchmarks: nothing leaves loopback.
#pragma once

#include "chatsession.h"
#include "commlog.h"
#include "fileset.h"
#include "loopback.h"
#include "netendpoint.h"
#include "nettags.h"
#include "scriptedprompt.h"
#include "settings.h"
#include "tagstore.h"

#include <QDir>
#include <QNetworkDatagram>
#include <QTemporaryDir>
#include <map>
#include <memory>
#include <vector>

// One participant as the program has it: its own data files, settings, log,
// endpoint, tag and chat handlers.
struct LanPeer
{
    // dir is made and given fresh data files with a default environment record.
    LanPeer(const QString &dir, const Clock &clock)
        : files(prepared(dir)), store(files.dt1), settings(store), log(files.log, clock),
          ep(log, clock, prompt), tags(ep, store, settings, prompt), chat(ep, prompt)
    {
        settings.load();
    }
    static FileSet prepared(const QString &dir)
    {
        QDir().mkpath(dir);
        const FileSet f = FileSet::forDirectory(dir);
        if (!prepareFileSet(f).ok || !TagStore(f.dt1).writeEnv(EnvRecord()))
            qFatal("cannot prepare %s", qPrintable(dir));
        return f;
    }

    FileSet files;
    TagStore store;
    Settings settings;
    CommLog log;
    ScriptedPrompt prompt;
    NetEndpoint ep;
    NetTags tags;
    ChatSession chat;
};

// Peers and bare sockets around one free port, their files in a throwaway folder.
// The bare sockets record what they hear in arrival order; the start requests of
// the peers' sweeps are only counted.
class LanLoopback : public QObject
{
public:
    explicit LanLoopback(const Clock &clock) : m_clock(clock)
    {
        if (port == 0)
            qFatal("no free UDP port on 127.0.0.1");
    }

    // A peer on 127.0.0.host; started (sweeping 127.0.0.x) unless name is empty.
    LanPeer &peer(int host, const QString &name = {}, bool log = false)
    {
        const QString dir = m_dir.filePath(QString::number(m_peers.size()));
        LanPeer &p = *m_peers.emplace_back(std::make_unique<LanPeer>(dir, m_clock));
        p.log.setEnabled(log);
        if (!name.isEmpty())
            p.ep.StartNetwork(loopbackConfig(port, host, name));
        return p;
    }
    // The bare socket on 127.0.0.host, bound on first use.
    QUdpSocket &raw(int host)
    {
        std::unique_ptr<QUdpSocket> &slot = m_raw[host];
        if (slot)
            return *slot;
        QUdpSocket *s = (slot = std::make_unique<QUdpSocket>()).get();
        if (!s->bind(QHostAddress(Lo(host)), port))
            qFatal("cannot bind 127.0.0.%d", host);
        s->setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, 1 << 20);
        connect(s, &QUdpSocket::readyRead, this, [this, s, host] {
            while (s->hasPendingDatagrams()) {
                const QByteArray bytes = s->receiveDatagram().data();
                if (bytes.startsWith('\xFF'))
                    ++starts;
                else
                    heard.append({host, bytes});
            }
        });
        return *s;
    }
    QList<QByteArray> heardBy(int host) const
    {
        QList<QByteArray> got;
        for (const auto &[h, bytes] : heard) {
            if (h == host)
                got << bytes;
        }
        return got;
    }
    QString dir(const QString &name) const { return m_dir.filePath(name); }

    const quint16 port = freeLoopbackPort();
    QList<QPair<int, QByteArray>> heard;
    int starts = 0;

private:
    const Clock &m_clock;
    QTemporaryDir m_dir;
    std::vector<std::unique_ptr<LanPeer>> m_peers;
    std::map<int, std::unique_ptr<QUdpSocket>> m_raw;
};
