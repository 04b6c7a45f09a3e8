// LAN figures on loopback: discovery of three peers, a burst of 1,000 datagrams
// from a test peer, and a 16 x 254 sweep while the event loop keeps answering
// clicks. Every address is 127.x.
#include "clock.h"
#include "commlog.h"
#include "datagram.h"
#include "loopback.h"
#include "manualclock.h"
#include "netendpoint.h"
#include "prompt.h"
#include "scriptedprompt.h"
#include "spinuntil.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QMouseEvent>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QUdpSocket>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

namespace {
struct Peer
{
    Peer(const QString &log, const Clock &clock) : log(log, clock), ep(this->log, clock, prompt) {}
    CommLog log;
    ScriptedPrompt prompt;
    NetEndpoint ep;
};

NetConfig config(quint16 port, int host)
{
    return loopbackConfig(port, host, QStringLiteral("peer%1").arg(host));
}

void discovery(const QString &dir, const Clock &clock)
{
    std::vector<qint64> times;
    for (int round = 0; round < 7; ++round) {
        const quint16 port = freeLoopbackPort();
        std::vector<std::unique_ptr<Peer>> peers;
        for (int i = 1; i <= 3; ++i)
            peers.push_back(std::make_unique<Peer>(dir + QStringLiteral("/d.log"), clock));
        QElapsedTimer t;
        t.start();
        for (int i = 0; i < 3; ++i)
            peers[std::size_t(i)]->ep.StartNetwork(config(port, i + 1));
        const bool ok = spinUntil(
            [&] {
                return std::all_of(peers.begin(), peers.end(), [](const auto &p) {
                    return p->ep.participants().listed().size() == 2;
                });
            },
            5000);
        times.push_back(ok ? t.nsecsElapsed() / 1000 : -1);
    }
    std::sort(times.begin(), times.end());
    std::printf("discovery, 3 peers on 127.0.0.1-3 sweeping 127.0.0.255: median %.2f ms, worst "
                "%.2f ms (7 runs)\n",
                double(times[3]) / 1000, double(times.back()) / 1000);
}

void burst(const QString &dir, const Clock &clock, int bufferBytes)
{
    const quint16 port = freeLoopbackPort();
    Peer receiver(dir + QStringLiteral("/burst%1.log").arg(bufferBytes), clock);
    receiver.log.setEnabled(true);
    NetConfig c = config(port, 1);
    c.targets[0] = {Lo(4), false}; // the sender is its one target network
    c.receiveBufferBytes = bufferBytes;
    receiver.ep.StartNetwork(c);
    spinUntil([&] { return receiver.ep.queuedDatagrams() == 0; }, 1000);
    QUdpSocket sender;
    sender.bind(QHostAddress(Lo(4)), 0);
    constexpr int Burst = 1000;
    QElapsedTimer t;
    t.start();
    const QByteArray dummy = Net::dummy();
    const QByteArray chat =
        Net::chatLine(Net::GlobalChat, QStringLiteral("burst"), QString(140, QChar(0x3042)));
    int sent = 0;
    for (int i = 0; i < Burst; ++i)
        sent += sender.writeDatagram(i % 2 ? dummy : chat, QHostAddress(Lo(1)), port) > 0;
    const qint64 sendUs = t.nsecsElapsed() / 1000;
    spinUntil([&] { return receiver.ep.receivedCount() >= quint64(Burst); }, 3000);
    const qint64 allUs = t.nsecsElapsed() / 1000;
    QFile log(receiver.log.path());
    log.open(QIODevice::ReadOnly);
    const qsizetype lines = log.readAll().count("\r\n");
    std::printf(
        "burst of %d datagrams (half 11-byte dummies, half 297-byte chat lines), nothing "
        "read while they are sent; receive buffer asked %d, granted %d:\n"
        "  sent %d in %.2f ms; received %llu, logged %lld lines (2 each, +2 for its own start) "
        "in %.2f ms; lost %llu\n",
        Burst, bufferBytes, receiver.ep.receiveBufferBytes(), sent, double(sendUs) / 1000,
        qulonglong(receiver.ep.receivedCount()), qlonglong(lines), double(allUs) / 1000,
        qulonglong(Burst - std::min<quint64>(Burst, receiver.ep.receivedCount())));
}

void sweep(const QString &dir, const Clock &clock)
{
    const quint16 port = freeLoopbackPort();
    Peer peer(dir + QStringLiteral("/sweep.log"), clock);
    peer.log.setEnabled(true);
    NetConfig c = config(port, 1);
    // 127.0.0.0/8 is all loopback: sixteen /24s that nobody listens on but us.
    for (int slot = 0; slot < 16; ++slot)
        c.targets[std::size_t(slot)] = {0x7F0000FFu | (quint32(slot) << 8), true};
    QPushButton button;
    qint64 pressedAt = 0;
    std::vector<qint64> latencies;
    QElapsedTimer clockUs;
    clockUs.start();
    QObject::connect(&button, &QPushButton::clicked,
                     [&] { latencies.push_back(clockUs.nsecsElapsed() / 1000 - pressedAt); });
    button.show();
    QTimer clicker;
    clicker.setInterval(20);
    QObject::connect(&clicker, &QTimer::timeout, [&] {
        pressedAt = clockUs.nsecsElapsed() / 1000;
        const QPointF at(5, 5);
        QCoreApplication::postEvent(&button, new QMouseEvent(QEvent::MouseButtonPress, at,
                                                             button.mapToGlobal(at), Qt::LeftButton,
                                                             Qt::LeftButton, Qt::NoModifier));
        QCoreApplication::postEvent(&button, new QMouseEvent(QEvent::MouseButtonRelease, at,
                                                             button.mapToGlobal(at), Qt::LeftButton,
                                                             Qt::NoButton, Qt::NoModifier));
    });
    QElapsedTimer t;
    t.start();
    peer.ep.StartNetwork(c); // the start request is the sweep: 16 slots x 254
    clicker.start();
    spinUntil([&] { return peer.ep.queuedDatagrams() == 0; }, 30000);
    const qint64 wallUs = t.nsecsElapsed() / 1000;
    clicker.stop();
    std::sort(latencies.begin(), latencies.end());
    std::printf("sweep of 16 x 254 = 4064 datagrams: %.2f ms wall; %zu clicks during it answered "
                "in median %.2f ms, "
                "worst %.2f ms\n",
                double(wallUs) / 1000, latencies.size(),
                latencies.empty() ? 0.0 : double(latencies[latencies.size() / 2]) / 1000,
                latencies.empty() ? 0.0 : double(latencies.back()) / 1000);
}
} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QTemporaryDir dir;
    ManualClock clock(QDateTime(QDate(2024, 5, 1), QTime(10, 0, 0)));
    discovery(dir.path(), clock);
    burst(dir.path(), clock, 4 << 20);
    burst(dir.path(), clock, 212992); // what a stock kernel's rmem_max allows
    sweep(dir.path(), clock);
    return 0;
}
