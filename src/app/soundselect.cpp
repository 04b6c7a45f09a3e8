#include "soundselect.h"
#include "dialogbuttons.h"

#include "prompt.h"
#include "settings.h"
#include "soundfolder.h"
#include "soundplayer.h"

#include <QDir>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

SoundSelect::SoundSelect(Settings &settings, SoundPlayer &player, Prompt &prompt, QWidget *parent)
    : QDialog(parent), m_settings(settings), m_player(player), m_prompt(prompt),
      m_sound(new QLineEdit(this))
{
    setObjectName(QStringLiteral("SoundSelect"));
    setWindowTitle(QStringLiteral("到着音の指定"));

    m_sound->setObjectName(QStringLiteral("txt_Sound"));
    m_sound->setReadOnly(true);
    m_sound->setMinimumWidth(320);
    auto *browse = namedButton("cmd_Sound", QStringLiteral("参照..."), this);
    auto *replay = namedButton("cmd_Replay", QStringLiteral("試聴"), this);
    auto *remove = namedButton("cmd_DelSound", QStringLiteral("削除"), this);
    auto *entry = namedButton("cmd_Entry", QStringLiteral("登録"), this);
    auto *cancel = namedButton("cmd_Cancel", QStringLiteral("キャンセル"), this);
    entry->setDefault(true);

    auto *pathRow = new QHBoxLayout;
    pathRow->addWidget(m_sound, 1);
    pathRow->addWidget(browse);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(replay);
    buttons->addWidget(remove);
    buttons->addStretch(1);
    buttons->addWidget(entry);
    buttons->addWidget(cancel);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(pathRow);
    layout->addLayout(buttons);

    m_chooseFile = [this] {
        const auto dialog = createFileDialog(this);
        return dialog->exec() == QDialog::Accepted && !dialog->selectedFiles().isEmpty()
                   ? dialog->selectedFiles().constFirst()
                   : QString();
    };

    connect(browse, &QPushButton::clicked, this, &SoundSelect::choose);
    connect(replay, &QPushButton::clicked, this,
            [this] { m_player.play(m_sound->text(), &m_prompt); });
    connect(remove, &QPushButton::clicked, m_sound, &QLineEdit::clear);
    connect(entry, &QPushButton::clicked, this, &SoundSelect::store);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);

    m_sound->setText(m_settings.env().text(Env::ArrivalSound));
}

std::unique_ptr<QFileDialog> SoundSelect::createFileDialog(QWidget *parent)
{
    auto dialog =
        std::make_unique<QFileDialog>(parent, QStringLiteral("到着音の指定"), soundFolder());
    // Qt's own dialog, so the filter shows as written: the trailing brackets
    // hold the patterns, which Qt matches without regard to case.
    dialog->setOptions(QFileDialog::DontUseNativeDialog | QFileDialog::HideNameFilterDetails);
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setNameFilters({QStringLiteral("音源形式(*.WAV;MID) (*.WAV *.MID)"),
                            QStringLiteral("すべてのファイル(*.*) (*)")});
    return dialog;
}

void SoundSelect::done(int result)
{
    m_player.stopMidi(&m_prompt);
    QDialog::done(result);
}

void SoundSelect::choose()
{
    const QString path = m_chooseFile ? m_chooseFile() : QString();
    if (!path.isEmpty())
        m_sound->setText(QDir::toNativeSeparators(path));
}

void SoundSelect::store()
{
    const QString sound = m_sound->text();
    const QString error = m_settings.change([&sound](EnvRecord &env) {
        env.setText(Env::ArrivalSound, sound);
        env.setInteger(Env::ArrivalSoundChoice, sound.isEmpty() ? 0 : 1);
    });
    if (!error.isEmpty()) {
        m_prompt.warn(error);
        return;
    }
    accept();
}
