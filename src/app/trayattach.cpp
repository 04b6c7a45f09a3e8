#include "trayattach.h"

#include "prompt.h"

namespace {
constexpr int MaxTries = 30;
constexpr int IntervalMs = 5000;
} // namespace

TrayAttach::TrayAttach(std::function<bool()> tryShow, Prompt &prompt, QObject *parent)
    : QObject(parent), m_tryShow(std::move(tryShow)), m_prompt(prompt)
{
    m_timer.setInterval(IntervalMs);
    connect(&m_timer, &QTimer::timeout, this, &TrayAttach::attempt);
}

QString TrayAttach::questionText()
{
    return QStringLiteral("タスクトレイのアイコン表示に失敗しました。\r\n"
                          "再実行しますか？　いいえを選択した場合はプログラムを終了します。");
}

void TrayAttach::start()
{
    m_failed = 0;
    if (m_tryShow()) {
        Q_EMIT attached();
        return;
    }
    m_timer.start();
}

void TrayAttach::attempt()
{
    if (m_tryShow()) {
        m_timer.stop();
        Q_EMIT attached();
        return;
    }
    if (++m_failed < MaxTries)
        return;
    m_timer.stop();
    if (m_prompt.ask(questionText(), Prompt::defaultTitle())) {
        m_failed = 0;
        m_timer.start();
        return;
    }
    Q_EMIT givenUp();
}
