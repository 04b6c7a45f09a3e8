#include "hotkey.h"

#include "dialogbuttons.h"
#include "hotkeys.h"
#include "prompt.h"
#include "settings.h"

#include <QComboBox>
#include <QDebug>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

using namespace HotkeyPlan;

namespace {
const char16_t *const ActionNames[Count] = {u"付箋の新規作成",
                                            u"付箋の一覧表示",
                                            u"付箋を前面に表示",
                                            u"ｸﾘｯﾌﾟﾎﾞｰﾄﾞのﾃｷｽﾄを付箋に登録",
                                            u"ｸﾘｯﾌﾟﾎﾞｰﾄﾞのﾃｷｽﾄを付箋で送信",
                                            u"ｱｸﾃｨﾌﾞ画面のﾊｰﾄﾞｺﾋﾟｰ",
                                            u"ｸﾘｯﾌﾟﾎﾞｰﾄﾞのﾃｷｽﾄをE-Mailで送信"};

QComboBox *box(const QString &name, const QList<Item> &items)
{
    auto *b = new QComboBox;
    b->setObjectName(name);
    for (const Item &item : items)
        b->addItem(item.text, item.data);
    b->setCurrentIndex(-1);
    return b;
}

void select(QComboBox *b, int data)
{
    b->setCurrentIndex(data == 0 ? -1 : b->findData(data));
}
} // namespace

HotKey::HotKey(Hotkeys &hotkeys, Settings &settings, Prompt &prompt, QWidget *parent)
    : QDialog(parent), m_hotkeys(hotkeys), m_settings(settings), m_prompt(prompt)
{
    setObjectName(QStringLiteral("HotKey"));
    setWindowTitle(QStringLiteral("ｼｮｰﾄｶｯﾄｷｰ登録"));
    auto *grid = new QGridLayout;
    for (int n = 1; n <= Count; ++n) {
        grid->addWidget(new QLabel(QString::fromUtf16(ActionNames[n - 1])), n - 1, 0);
        m_mods[n - 1] = box(QStringLiteral("cmb_ModKey%1").arg(n), modifierItems());
        m_keys[n - 1] = box(QStringLiteral("cmb_HotKey%1").arg(n), keyItems());
        grid->addWidget(m_mods[n - 1], n - 1, 1);
        grid->addWidget(new QLabel(QStringLiteral("+")), n - 1, 2);
        grid->addWidget(m_keys[n - 1], n - 1, 3);
    }
    auto *ok = namedButton("cmd_Entry", QStringLiteral("登録"));
    auto *cancel = namedButton("cmd_Cancel", QStringLiteral("キャンセル"));
    connect(ok, &QPushButton::clicked, this, &HotKey::entry);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    auto *top = new QVBoxLayout(this);
    top->addLayout(grid);
    top->addLayout(buttonRow({ok, cancel}));
    setPicks(storedPicks(settings.env()));
}

Picks HotKey::picks() const
{
    Picks p;
    for (int i = 0; i < Count; ++i)
        p[i] = {m_mods[i]->currentData().toInt(), m_keys[i]->currentData().toInt()};
    return p;
}

void HotKey::setPicks(const Picks &picks)
{
    for (int i = 0; i < Count; ++i) {
        select(m_mods[i], picks[i].modifiers);
        select(m_keys[i], picks[i].key);
    }
}

void HotKey::entry()
{
    const Picks chosen = picks();
    if (const auto fault = validate(chosen)) {
        m_prompt.warn(*fault);
        return;
    }
    if (!registerPicks(m_hotkeys, chosen, m_prompt))
        return;
    const QString error = m_settings.change([&](EnvRecord &e) { storePicks(e, chosen, true); });
    if (!error.isEmpty()) {
        // Registered for this run; the next start will not know them.
        qWarning().noquote() << "Pinboard:" << error;
    }
    m_prompt.inform(registeredText());
    m_completed = true;
    accept();
}

void HotKey::done(int result)
{
    if (!m_completed) {
        m_completed = true; // told once, however often the form is closed
        m_prompt.inform(interruptedText());
        m_hotkeys.unregisterAll();
        const QString error = m_settings.change([](EnvRecord &e) { switchOff(e); });
        if (!error.isEmpty())
            qWarning().noquote() << "Pinboard:" << error;
    }
    QDialog::done(result);
}
