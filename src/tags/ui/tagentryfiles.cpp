#include "tagentryfiles.h"

#include "fileopener.h"
#include "prompt.h"
#include "soundfolder.h"
#include "soundplayer.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>

using namespace Qt::StringLiterals;

FileQuestion fileQuestion(bool openFile, bool mail, const QString &current)
{
    if (!openFile && !mail)
        return {u"サウンドファイル(WAV)を選択して下さい。"_s, soundFolder()};
    const QString title = openFile ? u"指定時刻に開く（実行する）ファイルを選択して下さい。"_s
                                   : u"メールに添付するファイルを選択して下さい。"_s;
    const QFileInfo info(current);
    return {title,
            info.dir().exists() && !current.isEmpty() ? info.absolutePath() : QDir::homePath()};
}

QString chooseFileWithDialog(QWidget *parent, const QString &title, const QString &folder,
                             bool soundsOnly)
{
    QFileDialog dialog(parent, title, folder);
    dialog.setOptions(QFileDialog::DontUseNativeDialog | QFileDialog::HideNameFilterDetails);
    dialog.setFileMode(QFileDialog::ExistingFile);
    if (soundsOnly)
        dialog.setNameFilters(
            {u"音源形式(*.WAV;MID) (*.WAV *.MID)"_s, u"すべてのファイル(*.*) (*)"_s});
    return dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty()
               ? dialog.selectedFiles().constFirst()
               : QString();
}

void tryFile(const QString &path, bool openFile, SoundPlayer &sound, Prompt &prompt)
{
    if (!openFile) {
        sound.play(path, &prompt);
        return;
    }
    if (path.isEmpty()) {
        prompt.warn(u"ファイルが指定されていません。"_s);
        return;
    }
    const QString program = associatedProgram(path);
    if (program.isEmpty()) {
        prompt.warn(u"指定されたファイルには関連付けられたファイルがありません。"_s);
        return;
    }
    prompt.inform(program + u"\r\n上記実行ファイルで開かれます。"_s);
}
