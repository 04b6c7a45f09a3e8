#pragma once

#include <QDialog>
#include <optional>

class MailSender;
class Prompt;
class QLabel;
class QLineEdit;
class QPushButton;
class QScrollBar;
class Settings;

// The first fault of the connection test's input, with the control to focus.
struct SmtpInputFault
{
    QString message;
    QString control; // objectName
};
std::optional<SmtpInputFault> validateSmtpInput(const QString &server, const QString &port,
                                                const QString &from);

// The label of a time step 0-7 ("30秒" ... "4分"); empty outside.
QString timeStepLabel(int step);

// frmSMTPSetup: the outgoing mail server, its port, the sender and the session
// time limit, stored in record 1; the connection test runs through MailSender and
// stores nothing.
class SmtpSetup : public QDialog
{
    Q_OBJECT
public:
    SmtpSetup(Settings &settings, MailSender &sender, Prompt &prompt, QWidget *parent = nullptr);

Q_SIGNALS:
    void settingsStored();

private:
    void store();
    void connectionTest();

    Settings &m_settings;
    MailSender &m_sender;
    Prompt &m_prompt;
    QLineEdit *m_server;
    QLineEdit *m_port;
    QScrollBar *m_step;
    QLabel *m_stepLabel;
    QLineEdit *m_from;
    QPushButton *m_test;
};
