#pragma once

#include <QDialog>
#include <QList>
#include <QNetworkInterface>

class QLabel;
class QPlainTextEdit;

// What one adapter page shows: name, addresses with netmask and broadcast, MAC, flags.
QString adapterText(const QNetworkInterface &adapter);

// frmNetwork: pages through the machine's network adapters.
class FrmNetwork : public QDialog
{
    Q_OBJECT
public:
    explicit FrmNetwork(QWidget *parent = nullptr);
    int page() const { return m_page; }
    int pages() const { return int(m_adapters.size()); }

private:
    void reload();
    void showPage(int page);

    QList<QNetworkInterface> m_adapters;
    int m_page = 0;
    QLabel *m_position;
    QPlainTextEdit *m_text;
};
