// Tags and chat between two processes on loopback: this program sends from
// 127.0.0.1, a copy of itself started with --receiver answers from 127.0.0.2-21,
// each recipient storing the tag and putting its window up (offscreen) before
// it answers. Every address is 127.x.
#include "clock.h"
#include "lanpeer.h"
#include "prompt.h"
#include "spinuntil.h"
#include "tagsender.h"
#include "tagwindow.h"
#include "tagwire.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QUdpSocket>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

namespace {
constexpr int Recipients = 20;

NetConfig config(quint16 port, int host, const QString &name)
{
    NetConfig c;
    c.port = port;
    c.userName = name;
    c.localIp = Lo(host);
    c.targets[0] = {Lo(host), false}; // no sweeps: only the figures' datagrams
    c.acceptOutside = true;
    c.bindAddress = QHostAddress(Lo(host));
    return c;
}

// A peer of tests/support that shows what it gets and echoes private lines.
struct Recipient : LanPeer
{
    Recipient(const QString &dir, int host, quint16 port, const Clock &clock) : LanPeer(dir, clock)
    {
        ep.StartNetwork(config(port, host, QStringLiteral("r%1").arg(host)));
        // Shown before the answer is queued: tagArrived comes first.
        QObject::connect(&tags, &NetTags::tagArrived, &tags, [this](int k) {
            if (const auto tag = store.readTag(k)) {
                windows.push_back(std::make_unique<TagWindow>(k, *tag, settings.env()));
                windows.back()->show();
            }
        });
        QObject::connect(&chat, &ChatSession::privateLine, &chat, [this](const QString &line) {
            if (line.startsWith(QLatin1String("bench")))
                chat.sendPrivate(line.mid(13));
        });
    }
    std::vector<std::unique_ptr<TagWindow>> windows;
};

int receiver(quint16 port)
{
    // The offscreen platform's remarks on raising windows would drown the figures.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    QTemporaryDir dir;
    SystemClock clock;
    std::vector<std::unique_ptr<Recipient>> r;
    for (int i = 0; i < Recipients; ++i)
        r.push_back(
            std::make_unique<Recipient>(dir.filePath(QString::number(i)), i + 2, port, clock));
    std::puts("ready");
    std::fflush(stdout);
    return QApplication::exec();
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}
} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--receiver") == 0)
        return receiver(quint16(QByteArray(argv[2]).toUInt()));

    const quint16 port = freeLoopbackPort();
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(),
                {QStringLiteral("--receiver"), QString::number(port)});
    if (!child.waitForReadyRead(20000)) {
        std::puts("receiver did not start");
        return 1;
    }
    QTemporaryDir dir;
    SystemClock clock;
    CommLog log(dir.filePath(QStringLiteral("Pinboard.log")), clock);
    ScriptedPrompt prompt;
    NetEndpoint ep(log, clock, prompt);
    ep.StartNetwork(config(port, 1, QStringLiteral("bench")));
    int answers = 0;
    QString lastChat;
    QObject::connect(&ep, &NetEndpoint::datagramReceived,
                     [&](quint32, const QByteArray &b) { answers += b.startsWith('\x02'); });
    ChatSession chat(ep, prompt);
    QObject::connect(&chat, &ChatSession::privateLine, [&](const QString &l) { lastChat = l; });

    TagRecord tag;
    tag.setMessage(QStringLiteral("ベンチマーク"));
    Net::TagDatagram wire = TagWireMap::toDatagram(tag);
    sealForSending(wire, false, {}, QStringLiteral("127.0.0.1"), QStringLiteral("bench"));
    TagSender sender(ep);

    std::vector<double> one;
    for (int i = 0; i < 15; ++i) {
        answers = 0;
        QElapsedTimer t;
        t.start();
        sender.start(wire, {Lo(2)});
        if (!spinUntil([&] { return answers == 1 && !sender.isBusy(); }, 5000)) {
            std::puts("no answer");
            return 1;
        }
        one.push_back(double(t.nsecsElapsed()) / 1e6);
    }
    std::vector<double> all;
    QList<quint32> to;
    for (int i = 0; i < Recipients; ++i)
        to << Lo(i + 2);
    for (int i = 0; i < 3; ++i) {
        answers = 0;
        QElapsedTimer t;
        t.start();
        sender.start(wire, to);
        if (!spinUntil([&] { return answers == Recipients; }, 20000)) {
            std::puts("answers missing");
            return 1;
        }
        all.push_back(double(t.nsecsElapsed()) / 1e6);
    }
    chat.requestPrivate(Lo(2), QStringLiteral("r2"));
    if (!spinUntil([&] { return chat.PrivateChatState() == PrivateChat::Talking; }, 5000)) {
        std::puts("no private chat");
        return 1;
    }
    std::vector<double> chatTrip;
    for (int i = 0; i < 50; ++i) {
        const QString text = QStringLiteral("line %1").arg(i);
        QElapsedTimer t;
        t.start();
        chat.sendPrivate(text);
        if (!spinUntil(
                [&] { return lastChat.startsWith(QLatin1String("r2")) && lastChat.endsWith(text); },
                5000)) {
            std::puts("no echo");
            return 1;
        }
        chatTrip.push_back(double(t.nsecsElapsed()) / 1e6);
    }
    std::printf(
        "tag to 1 recipient, send to shown and answered: p50 %.1f ms, max %.1f ms (%zu runs)\n",
        median(one), *std::max_element(one.begin(), one.end()), one.size());
    std::printf("tag to %d recipients, all answered: median %.0f ms (%zu runs)\n", Recipients,
                median(all), all.size());
    std::printf("private chat line round trip: p50 %.2f ms, max %.2f ms (%zu lines)\n",
                median(chatTrip), *std::max_element(chatTrip.begin(), chatTrip.end()),
                chatTrip.size());
    child.kill();
    child.waitForFinished(3000);
    return 0;
}
