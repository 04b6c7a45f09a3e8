// The settings dialog's checks, defaults and storing; choosing the local address.
#include "envrecord.h"
#include "fileset.h"
#include "localaddress.h"
#include "netsetup.h"
#include "netsetupinput.h"
#include "prompt.h"
#include "scriptedprompt.h"
#include "settings.h"
#include "tagstore.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
NetSetupInput valid()
{
    NetSetupInput in;
    in.port = QStringLiteral("12222");
    in.userName = QStringLiteral("alice");
    in.octets[0] = {QStringLiteral("127"), QStringLiteral("0"), QStringLiteral("0"),
                    QStringLiteral("255")};
    return in;
}
void setRow(NetSetupInput &in, int row, const QString &dotted)
{
    const QStringList parts = dotted.split(u'.');
    for (int i = 0; i < 4; ++i)
        in.octets[std::size_t(row)][std::size_t(i)] = parts.value(i);
}
// Edits to the valid input, ";"-separated: port=P, name=N, rowR=a.b.c.d, seqR.
void applyEdits(NetSetupInput &in, const QString &edits)
{
    for (const QString &e : edits.split(u';', Qt::SkipEmptyParts)) {
        const QString key = e.section(u'=', 0, 0), value = e.section(u'=', 1);
        if (key == u"port")
            in.port = value;
        else if (key == u"name")
            in.userName = value;
        else if (key.startsWith(u"row"))
            setRow(in, key.mid(3).toInt(), value);
        else if (key.startsWith(u"seq"))
            in.sequential[std::size_t(key.mid(3).toInt())] = true;
    }
}
const LocalIdentity Here{QStringLiteral("desk1"), 0x7F000001};
} // namespace

class TestNetSetup : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void checks_data();
    void checks();
    void defaultsAndStoredValues();
    void storing();
    void dialogRefusesThenStores();
    void routeTable();
    void localAddress_data();
    void localAddress();
    void identity();
};

void TestNetSetup::checks_data()
{
    QTest::addColumn<QString>("edits");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("control");
    auto row = [](const char *tag, const QString &edits, const char16_t *message = u"",
                  const char *control = "") {
        QTest::newRow(tag) << edits << QString::fromUtf16(message) << QString::fromLatin1(control);
    };
    const char16_t *portDigits = u"ポート番号は、数値を指定して下さい。";
    const char16_t *port4 = u"ポート番号は、４桁以上で指定して下さい。";
    const char16_t *portMax = u"ポート番号は、６５５３５以内で指定して下さい。";
    const char16_t *nameLong = u"ユーザー名が長すぎます。漢字１６文字以内で入力して下さい。";
    const char16_t *over254 = u"アドレスに２５４以上の値は指定できません。";
    const char16_t *over255 = u"アドレスに２５５以上の値は指定できません。";
    const char16_t *partial = u"アドレスは、全て入力して下さい。";
    const char16_t *zero = u"アドレスに０は指定できません。";
    row("valid", {});
    row("port empty", u"port=  "_s, u"ポート番号を指定して下さい。", "txt_PortNo");
    row("port with a letter", u"port=12a22"_s, portDigits, "txt_PortNo");
    row("port negative", u"port=-1024"_s, portDigits, "txt_PortNo");
    row("port 999", u"port=999"_s, port4, "txt_PortNo");
    row("port 0999", u"port=0999"_s, port4, "txt_PortNo");
    row("port 1024", u"port=1024"_s);
    row("port 65535", u"port=65535"_s);
    row("port 65536", u"port=65536"_s, portMax, "txt_PortNo");
    row("port huge", u"port=99999999999999999999"_s, portMax, "txt_PortNo");
    row("port checked before name", u"port=;name="_s, u"ポート番号を指定して下さい。",
        "txt_PortNo");
    row("name empty", u"name= "_s, u"ユーザー名を指定して下さい。", "txt_UserName");
    row("name 16 kanji", u"name="_s + QString(16, QChar(0x5C71)));
    row("name 17 kanji", u"name="_s + QString(17, QChar(0x5C71)), nameLong, "txt_UserName");
    row("name 32 ascii", u"name="_s + QString(32, u'a'));
    row("name 33 ascii", u"name="_s + QString(33, u'a'), nameLong, "txt_UserName");
    row("first octet 253", u"row0=253.1.1.255"_s);
    row("first octet 254", u"row0=254.1.1.255"_s, over254, "txt_IP1_0");
    row("second octet 254, row 3", u"row3=10.254.1.255"_s, over254, "txt_IP2_3");
    row("third octet 255", u"row0=10.1.255.255"_s);
    row("third octet 256", u"row0=10.1.256.255"_s, over255, "txt_IP3_0");
    row("fourth octet 999", u"row0=10.1.1.999"_s, over255, "txt_IP4_0");
    row("range before partial", u"row0=300..."_s, over254, "txt_IP1_0");
    row("partial row", u"row2=10.1..255"_s, partial, "txt_IP3_2");
    row("192.168.1.0", u"row0=192.168.1.0"_s, zero, "txt_IP4_0");
    row("0.1.1.255", u"row0=0.1.1.255"_s, zero, "txt_IP1_0");
    row("zeros inside are fine", u"row0=10.0.0.255"_s);
    row("earlier row first", u"row1=10.1..;row2=999.1.1.1"_s, partial, "txt_IP3_1");
    row("no row", u"row0=..."_s, u"ブロードキャストアドレスを、少なくとも１個所は指定して下さい。",
        "txt_IP1_0");
    row("only row 15", u"row0=...;row15=10.1.2.3"_s);
    row("sequential on .1", u"row4=10.1.2.1;seq4"_s,
        u"シーケンシャル送信を行う場合は、２５５を指定して下さい。", "txt_IP4_4");
    row("sequential on .255", u"seq0"_s);
    row("sequential on an empty row", u"seq9"_s);
    row("sequential checked after all rows", u"row1=10.1.2.1;seq1;row2=10.1.2."_s, partial,
        "txt_IP4_2");
}

void TestNetSetup::checks()
{
    QFETCH(QString, edits);
    QFETCH(QString, message);
    QFETCH(QString, control);
    NetSetupInput in = valid();
    applyEdits(in, edits);
    const auto fault = validateNetSetup(in);
    QCOMPARE(fault ? fault->message : QString(), message);
    QCOMPARE(fault ? fault->control : QString(), control);
}

void TestNetSetup::defaultsAndStoredValues()
{
    EnvRecord env;
    NetSetupInput in = netSetupFromEnv(env, {QStringLiteral("h"), 0xC0A80507});
    QCOMPARE(in.port, QStringLiteral("12222"));
    QCOMPARE(in.octets[0], (std::array<QString, 4>{QStringLiteral("192"), QStringLiteral("168"),
                                                   QStringLiteral("5"), QStringLiteral("255")}));
    QVERIFY(in.octets[1][0].isEmpty());
    in = netSetupFromEnv(env, {QStringLiteral("h"), 0});
    QVERIFY(in.octets[0][0].isEmpty());

    env.setByte(Env::NetConfigured, 1);
    env.setPortNo(40000);
    env.setBroadcastAddress(3, 0x0A4D00FF);
    env.setSequential(3, true);
    in = netSetupFromEnv(env, {QStringLiteral("h"), 0xC0A80507});
    QCOMPARE(in.port, QStringLiteral("40000"));
    QVERIFY(in.octets[0][0].isEmpty());
    QCOMPARE(in.octets[3][1], QStringLiteral("77"));
    QVERIFY(in.sequential[3]);
}

void TestNetSetup::storing()
{
    NetSetupInput in = valid();
    in.port = QStringLiteral("54321");
    in.userName = QStringLiteral(" 山田\t太郎 ");
    setRow(in, 5, QStringLiteral("10.77.0.255"));
    in.sequential[0] = true;
    in.sequential[7] = true; // an empty row keeps no flag
    EnvRecord env;
    storeNetSetup(in, Here, env);
    QCOMPARE(env.portNo(), quint16(54321));
    QCOMPARE(env.userName(), QStringLiteral("山田 太郎"));
    QCOMPARE(env.broadcastAddress(0), 0x7F0000FFu);
    QCOMPARE(env.broadcastAddress(5), 0x0A4D00FFu);
    QCOMPARE(env.broadcastAddress(1), 0u);
    QVERIFY(env.sequential(0));
    QVERIFY(!env.sequential(5));
    QVERIFY(!env.sequential(7));
    QCOMPARE(env.byte(Env::NetConfigured), 1);
    QVERIFY(!identityChanged(env, Here));
    // What was stored comes back into the dialog unchanged.
    QCOMPARE(netSetupFromEnv(env, Here).octets, in.octets);
}

void TestNetSetup::dialogRefusesThenStores()
{
    QTemporaryDir dir;
    FileSet files = FileSet::forDirectory(dir.path());
    QVERIFY(prepareFileSet(files).ok);
    TagStore store(files.dt1);
    QVERIFY(store.writeEnv(EnvRecord()));
    ScriptedPrompt prompt;
    Settings settings(store);
    settings.load();
    NetSetup dialog(settings, Here, prompt);
    QSignalSpy stored(&dialog, &NetSetup::settingsStored);
    auto *port = dialog.findChild<QLineEdit *>(QStringLiteral("txt_PortNo"));
    auto *ok = dialog.findChild<QPushButton *>(QStringLiteral("cmd_OK"));
    QCOMPARE(dialog.findChild<QLineEdit *>(QStringLiteral("txt_IP4_0"))->text(),
             QStringLiteral("255"));
    port->setText(QStringLiteral("999"));
    ok->click();
    QCOMPARE(prompt.shown, QStringList(QStringLiteral("ポート番号は、４桁以上で指定して下さい。")));
    QCOMPARE(stored.size(), 0);
    QCOMPARE(store.readEnv()->byte(Env::NetConfigured), 0);
    port->setText(QStringLiteral("23456"));
    ok->click();
    QCOMPARE(prompt.shown.size(), 2); // the name is still empty
    dialog.findChild<QLineEdit *>(QStringLiteral("txt_UserName"))->setText(QStringLiteral("bob"));
    dialog.findChild<QCheckBox *>(QStringLiteral("chk_SeqSend_0"))->setChecked(true);
    ok->click();
    QCOMPARE(stored.size(), 1);
    const auto env = store.readEnv();
    QCOMPARE(env->portNo(), quint16(23456));
    QCOMPARE(env->userName(), QStringLiteral("bob"));
    QCOMPARE(env->broadcastAddress(0), 0x7F0000FFu);
    QVERIFY(env->sequential(0));
    QCOMPARE(env->text(Env::NetLocalIp), QStringLiteral("127.0.0.1"));
}

void TestNetSetup::routeTable()
{
    const QByteArray table =
        "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\t\tMTU\tWindow\tIRTT\n"
        "wlan0\t00000000\t0101A8C0\t0003\t0\t0\t600\t00000000\t0\t0\t0\n"
        "eth0\t00000000\t0100000A\t0003\t0\t0\t100\t00000000\t0\t0\t0\n"
        "eth1\t00000000\t0100000A\t0002\t0\t0\t10\t00000000\t0\t0\t0\n"
        "eth2\t0000000A\t00000000\t0001\t0\t0\t0\t000000FF\t0\t0\t0\n";
    QCOMPARE(defaultRouteInterface(table), QStringLiteral("eth0"));
    QCOMPARE(defaultRouteInterface(table.left(table.indexOf("wlan0"))), QString());
    QCOMPARE(defaultRouteInterface("garbage\nx y"), QString());
}

void TestNetSetup::localAddress_data()
{
    QTest::addColumn<QString>("route");
    QTest::addColumn<quint32>("address");
    QTest::newRow("the route's interface") << "eth1" << 0x0A000005u;
    QTest::newRow("no route: first up, not loopback") << "" << 0xC0A80102u;
    QTest::newRow("route on a down interface") << "eth9" << 0xC0A80102u;
}

void TestNetSetup::localAddress()
{
    QFETCH(QString, route);
    const QList<AdapterAddresses> adapters = {
        {QStringLiteral("lo"), true, true, {0x7F000001}},
        {QStringLiteral("eth9"), false, false, {0xC0A80901}},
        {QStringLiteral("eth0"), true, false, {}},
        {QStringLiteral("wlan0"), true, false, {0xC0A80102}},
        {QStringLiteral("eth1"), true, false, {0x0A000005, 0x0A000006}}};
    QTEST(pickLocalAddress(route, adapters), "address");
    QCOMPARE(pickLocalAddress(route, {adapters.first()}), 0u);
}

void TestNetSetup::identity()
{
    EnvRecord env;
    env.setText(Env::NetHostName, QStringLiteral("desk1"));
    env.setText(Env::NetLocalIp, QStringLiteral("127.0.0.1"));
    QVERIFY(!identityChanged(env, Here));
    QVERIFY(identityChanged(env, {QStringLiteral("desk2"), 0x7F000001}));
    QVERIFY(identityChanged(env, {QStringLiteral("desk1"), 0x7F000002}));
    // A host name longer than the field matches its stored cut.
    const QString longName = QString(40, u'h');
    env.setText(Env::NetHostName, longName);
    QVERIFY(!identityChanged(env, {longName, 0x7F000001}));
}

QTEST_MAIN(TestNetSetup)
#include "tst_netsetup.moc"
