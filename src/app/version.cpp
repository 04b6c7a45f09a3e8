#include "version.h"

#include <QDate>
#include <QDir>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QVBoxLayout>

Version::Version(const QString &dataDir, QWidget *parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("Version"));
    setWindowTitle(QStringLiteral("ﾊﾞｰｼﾞｮﾝ情報"));
    auto *layout = new QVBoxLayout(this);
    auto *title = new QLabel(QStringLiteral("DeskTop Pin Board"));
    QFont big = title->font();
    big.setPointSizeF(big.pointSizeF() * 1.5);
    big.setBold(true);
    title->setFont(big);
    layout->addWidget(title);
    static const char *const Names[] = {"lbl_Version", "lbl_QtVersion", "lbl_DataFolder",
                                        "lbl_BuildDate"};
    const QStringList texts = lines(dataDir);
    for (int i = 0; i < texts.size(); ++i) {
        auto *label = new QLabel(texts[i]);
        label->setObjectName(QString::fromLatin1(Names[i]));
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
        layout->addWidget(label);
    }
    auto *ok = new QPushButton(QStringLiteral("OK"));
    ok->setObjectName(QStringLiteral("cmd_OK"));
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    layout->addWidget(ok, 0, Qt::AlignRight);
}

QStringList Version::lines(const QString &dataDir)
{
    return {QStringLiteral("バージョン %1.%2.%3")
                .arg(PINBOARD_VERSION_MAJOR)
                .arg(PINBOARD_VERSION_MINOR)
                .arg(PINBOARD_VERSION_PATCH),
            QStringLiteral("Qt %1 (ビルド時 %2)")
                .arg(QString::fromLatin1(qVersion()), QStringLiteral(QT_VERSION_STR)),
            QStringLiteral("データフォルダ：%1").arg(QDir::toNativeSeparators(dataDir)),
            QStringLiteral("ビルド日：%1").arg(buildDate(__DATE__))};
}

QString Version::buildDate(const char *compilerDate)
{
    // __DATE__ pads a one-digit day with a space: "Nov  4 2026".
    const QString text = QString::fromLatin1(compilerDate).simplified();
    const QDate date = QLocale::c().toDate(text, QStringLiteral("MMM d yyyy"));
    return date.isValid() ? date.toString(QStringLiteral("yyyy/MM/dd")) : text;
}
