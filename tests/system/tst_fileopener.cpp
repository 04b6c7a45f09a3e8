#include "fileopener.h"
#include "prompt.h"
#include "scriptedprompt.h"
#include "testfiles.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

// A desktop of its own in a temporary directory: MIME types by suffix, applications
// that are shell scripts, and the association files pointing between them.
class TestFileOpener : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void association_data();
    void association();
    void launch();

private:
    QString path(const QString &relative) const { return m_root.filePath(relative); }
    void write(const QString &relative, const QByteArray &content)
    {
        QVERIFY(QDir().mkpath(QFileInfo(path(relative)).absolutePath()));
        QVERIFY(writeFile(path(relative), content));
    }
    void addApp(const QString &relative, const QByteArray &exec, const QByteArray &extra = {})
    {
        write(relative,
              "[Desktop Entry]\nType=Application\nName=Fake\nExec=" + exec + "\n" + extra);
    }
    QTemporaryDir m_root;
};

void TestFileOpener::initTestCase()
{
    qputenv("XDG_CONFIG_HOME", path(u"config"_s).toUtf8());
    qputenv("XDG_CONFIG_DIRS", path(u"etc"_s).toUtf8());
    qputenv("XDG_DATA_HOME", path(u"data"_s).toUtf8());
    qputenv("XDG_DATA_DIRS", path(u"share"_s).toUtf8());
    qunsetenv("XDG_CURRENT_DESKTOP");
    QByteArray types = "<?xml version=\"1.0\"?>\n<mime-info "
                       "xmlns=\"http://www.freedesktop.org/standards/shared-mime-info\">\n";
    for (const char *name :
         {"default", "cached", "added", "listed", "removed", "none", "broken", "launch"})
        types += QByteArray("<mime-type type=\"application/x-pb-") + name +
                 "\"><glob pattern=\"*.pb" + name + "\"/></mime-type>\n";
    types += "<mime-type type=\"application/x-pb-child\"><sub-class-of "
             "type=\"application/x-pb-cached\"/><glob pattern=\"*.pbchild\"/></mime-type>\n"
             "</mime-info>\n";
    write(u"share/mime/packages/pinboard-test.xml"_s, types);

    // Every program records its arguments and working directory, one per line.
    const QByteArray bin = path(u"bin"_s).toUtf8();
    for (const char *name : {"default", "cached", "added", "listed", "removed", "record app"}) {
        const QString script = u"bin/"_s + QString::fromLatin1(name);
        write(script, "#!/bin/sh\nout=\"" + bin +
                          "/ran\"\n{ printf '%s\\n' \"$#\" \"$@\"; pwd; } > \"$out.tmp\" && mv "
                          "\"$out.tmp\" \"$out\"\n");
        QVERIFY(QFile::setPermissions(path(script),
                                      QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    }
    addApp(u"share/applications/pb-default.desktop"_s, bin + "/default %f");
    addApp(u"share/applications/pb-cached.desktop"_s, bin + "/cached %U");
    addApp(u"share/applications/vendor/added.desktop"_s, bin + "/added");
    addApp(u"share/applications/tools/listed.desktop"_s, bin + "/listed %f",
           "MimeType=text/plain;application/x-pb-listed;\n");
    addApp(u"share/applications/pb-gone.desktop"_s, bin + "/removed %f",
           "MimeType=application/x-pb-removed;\n");
    addApp(u"share/applications/pb-broken.desktop"_s, "/nonexistent/pinboard-none %f");
    addApp(u"data/applications/pb-record.desktop"_s,
           "\"" + bin + "/record app\" %f %i %c --mode=%%x");
    write(u"config/mimeapps.list"_s,
          "[Default Applications]\n"
          "application/x-pb-default=pb-notinstalled.desktop;pb-default.desktop;\n"
          "application/x-pb-launch=pb-record.desktop\n"
          "application/x-pb-broken=pb-broken.desktop\n");
    write(u"etc/mimeapps.list"_s,
          "[Removed Associations]\napplication/x-pb-removed=pb-gone.desktop;\n");
    write(u"data/applications/mimeapps.list"_s,
          "[Added Associations]\napplication/x-pb-added=vendor-added.desktop;\n");
    write(u"share/applications/mimeinfo.cache"_s,
          "[MIME Cache]\napplication/x-pb-cached=pb-cached.desktop;\n"
          "application/x-pb-default=pb-cached.desktop;\n"
          "application/x-pb-removed=pb-gone.desktop;\n");
    for (const char *name :
         {"default", "cached", "added", "listed", "removed", "none", "broken", "child"})
        write(u"files/a.pb"_s + QString::fromLatin1(name), "note\n");
    write(u"files/my note.pblaunch"_s, "note\n");
}

void TestFileOpener::association_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("program"); // under bin/, empty for none
    QTest::addColumn<int>("code");        // of a failed opening, and what the user is told
    QTest::addColumn<QString>("text");
    const QString none = u"指定ファイルには、関連付けがありません。"_s;
    // clang-format off
    QTest::newRow("default skips an uninstalled one") << "a.pbdefault" << "default" << 0 << "";
    QTest::newRow("mimeinfo.cache only")              << "a.pbcached"  << "cached"  << 0 << "";
    QTest::newRow("added, id naming a subdirectory")  << "a.pbadded"   << "added"   << 0 << "";
    QTest::newRow("MimeType= line only")              << "a.pblisted"  << "listed"  << 0 << "";
    QTest::newRow("parent type's application")        << "a.pbchild"   << "cached"  << 0 << "";
    QTest::newRow("removed association")              << "a.pbremoved" << ""        << 31 << none;
    QTest::newRow("no association")                   << "a.pbnone"    << ""        << 31 << none;
    QTest::newRow("missing file") << "absent.pbdefault" << "" << 2 << "処理が失敗しました。";
    QTest::newRow("program missing")
        << "a.pbbroken" << "/nonexistent/pinboard-none" << 27
        << "ファイルの関連付けが不完全か無効です。";
    // clang-format on
}

void TestFileOpener::association()
{
    QFETCH(QString, file);
    QFETCH(QString, program);
    QFETCH(int, code);
    QFETCH(QString, text);
    const QString target = path(u"files/"_s + file);
    QCOMPARE(associatedProgram(target),
             program.isEmpty() || program.startsWith(u'/') ? program : path(u"bin/"_s + program));
    if (code == 0)
        return;
    QCOMPARE(openWithAssociation(target), code);
    ScriptedPrompt prompt;
    QVERIFY(!OpenFileWithAssociation(target, prompt));
    QCOMPARE(prompt.shown, QStringList{text});
    QCOMPARE(prompt.titles, QStringList{Prompt::defaultTitle()});
}

void TestFileOpener::launch()
{
    const QString target = path(u"files/my note.pblaunch"_s);
    QCOMPARE(associatedProgram(target), path(u"bin/record app"_s));
    ScriptedPrompt prompt;
    QVERIFY(OpenFileWithAssociation(target, prompt));
    QVERIFY(prompt.shown.isEmpty());
    const QStringList expected{u"2"_s, target, u"--mode=%x"_s, path(u"files"_s)};
    QTRY_COMPARE(QString::fromUtf8(fileBytes(path(u"bin/ran"_s))).split(u'\n', Qt::SkipEmptyParts),
                 expected);
}

QTEST_GUILESS_MAIN(TestFileOpener)
#include "tst_fileopener.moc"
