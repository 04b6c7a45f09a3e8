#pragma once

#include <QObject>
#include <QTimer>
#include <functional>

class Prompt;

// Puts the tray icon in place, patiently: the desktop's tray may not exist yet
// when Pinboard starts with the session. One try at once, then one every 5 s;
// after 30 failed tries the user is asked whether to go on waiting.
class TrayAttach : public QObject
{
    Q_OBJECT
public:
    // tryShow shows the icon and answers whether the tray took it.
    TrayAttach(std::function<bool()> tryShow, Prompt &prompt, QObject *parent = nullptr);

    void start();
    void stop() { m_timer.stop(); }
    bool isRetrying() const { return m_timer.isActive(); }
    int failedTries() const { return m_failed; }
    // Tests wait milliseconds, not minutes.
    void setIntervalMs(int ms) { m_timer.setInterval(ms); }

    static QString questionText();

Q_SIGNALS:
    void attached();
    // The user chose to end the program rather than wait longer.
    void givenUp();

private:
    void attempt();

    std::function<bool()> m_tryShow;
    Prompt &m_prompt;
    QTimer m_timer;
    int m_failed = 0;
};
