// docs/file-formats.md is what newcomers and later features read: its tables
// must say exactly what the code writes.
#include "envrecord.h"
#include "tagrecord.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

namespace {
QString typeText(const FieldDef &f)
{
    QString t;
    switch (f.type) {
    case FieldType::Byte:
        t = QStringLiteral("Byte");
        break;
    case FieldType::Integer:
        t = QStringLiteral("Integer");
        break;
    case FieldType::Long:
        t = QStringLiteral("Long");
        break;
    case FieldType::Date:
        t = QStringLiteral("Date");
        break;
    case FieldType::Text:
        t = QStringLiteral("text %1").arg(f.length);
        break;
    case FieldType::Pad:
        t = QStringLiteral("pad %1").arg(f.length);
        break;
    }
    if (f.count > 1)
        t += QStringLiteral(" × %1").arg(f.count);
    return t;
}

// Rows "| offset | type | name | ..." of the table under the heading.
QList<QStringList> tableRows(const QString &doc, const QString &heading, int below)
{
    const qsizetype start = doc.indexOf(heading);
    const qsizetype end = doc.indexOf(QStringLiteral("\n### "), start + 1);
    const QStringList lines = doc.mid(start, end - start).split(u'\n');
    static const QRegularExpression row(QStringLiteral("^\\| (\\d+) \\| ([^|]+) \\| ([^|]+) \\|"));
    QList<QStringList> rows;
    for (const QString &line : lines) {
        const auto m = row.match(line);
        if (m.hasMatch() && m.captured(1).toInt() < below)
            rows << QStringList{m.captured(1), m.captured(2).trimmed(), m.captured(3).trimmed()};
    }
    return rows;
}
} // namespace

class TestDocs : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void tablesMatchLayouts_data();
    void tablesMatchLayouts();
};

void TestDocs::tablesMatchLayouts_data()
{
    QTest::addColumn<QString>("heading");
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("env");
    QTest::newRow("environment") << QStringLiteral("### Environment record") << EnvRecord::Size
                                 << true;
    QTest::newRow("tag") << QStringLiteral("### Tag record") << TagRecord::FixedSize << false;
}

void TestDocs::tablesMatchLayouts()
{
    QFETCH(QString, heading);
    QFETCH(int, size);
    QFETCH(bool, env);
    QFile file(QStringLiteral(PINBOARD_DOCS "/file-formats.md"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString doc = QString::fromUtf8(file.readAll());
    const QList<QStringList> rows = tableRows(doc, heading, size);
    const Layout layout = env ? EnvRecord::fields() : TagRecord::fields();
    QCOMPARE(rows.size(), qsizetype(layout.size()));
    for (qsizetype i = 0; i < rows.size(); ++i) {
        const FieldDef &f = layout[i];
        const QString name =
            f.type == FieldType::Pad ? QStringLiteral("—") : QString::fromLatin1(f.name);
        QCOMPARE(rows[i], (QStringList{QString::number(f.offset), typeText(f), name}));
    }
}

QTEST_APPLESS_MAIN(TestDocs)
#include "tst_docs.moc"
