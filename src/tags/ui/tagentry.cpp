#include "tagentry.h"

#include "calender.h"
#include "clock.h"
#include "fileopener.h"
#include "messageinserts.h"
#include "prompt.h"
#include "settings.h"
#include "soundplayer.h"
#include "tagactions.h"
#include "tagentryfiles.h"
#include "tagentrylook.h"
#include "tagplacement.h"
#include "tagstore.h"
#include "tagwindow.h"
#include "twips.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>

using namespace Qt::StringLiterals;

TagEntry::TagEntry(const TagStore &store, Settings &settings, Prompt &prompt, const Clock &clock,
                   SoundPlayer &sound, QWidget *parent)
    : QDialog(parent), m_ui(this), m_store(store), m_settings(settings),
      m_operations(store, prompt), m_prompt(prompt), m_clock(clock), m_sound(sound)
{
    setObjectName(u"TagEntry"_s);
    setWindowTitle(u"付箋の作成"_s);
    m_chooseFile = [this](const QString &title, const QString &folder) {
        return chooseFileWithDialog(this, title, folder,
                                    !m_ui.openFile->isChecked() && !m_ui.mail->isChecked());
    };
    connectControls();
    new MessageInserts(m_ui, m_clock, m_prompt, this);
    watchChanges();
    kindChanged();
    fileModeChanged();
}

void TagEntry::connectControls()
{
    connect(m_ui.message, &QPlainTextEdit::textChanged, this,
            [this] { m_ui.length->setText(TagEntryText::remaining(m_ui.message->toPlainText())); });
    connect(m_ui.foreColor, &QPushButton::clicked, this, [this] { chooseColor(true); });
    connect(m_ui.backColor, &QPushButton::clicked, this, [this] { chooseColor(false); });
    connect(m_ui.font, &QPushButton::clicked, this, &TagEntry::chooseFont);
    connect(m_ui.defaultLook, &QPushButton::clicked, this, &TagEntry::restoreDefaultLook);
    connect(m_ui.kinds, &QButtonGroup::idToggled, this, [this](int, bool on) {
        if (on)
            kindChanged();
    });
    connect(m_ui.calender, &QPushButton::clicked, this, [this] { pickDate(m_ui.date, nullptr); });
    connect(m_ui.calender2, &QPushButton::clicked, this,
            [this] { pickDate(m_ui.ddate, m_ui.date); });
    // Taking back either half of the erase time takes back both.
    for (QComboBox *c : {m_ui.dhh, m_ui.dmm}) {
        connect(c, &QComboBox::activated, this, [this](int index) {
            if (index == 0)
                clearEraseTime();
        });
        c->installEventFilter(this);
    }
    connectFileModes();
    connect(m_ui.addNet, &QPushButton::clicked, this, [this] {
        if (m_ui.mail->isChecked())
            Q_EMIT mailRecipientsRequested(m_k);
        else if (m_netReady)
            sendToNet();
    });
    connect(m_ui.trash, &QPushButton::clicked, this, &TagEntry::trashTag);
    connect(m_ui.ok, &QPushButton::clicked, this, &TagEntry::storeTag);
    connect(m_ui.cancel, &QPushButton::clicked, this, &QDialog::reject);
}

void TagEntry::connectFileModes()
{
    for (QCheckBox *c : {m_ui.soundOn, m_ui.openFile, m_ui.mail}) {
        connect(c, &QCheckBox::toggled, this, [this, c](bool on) {
            if (on && !m_loading)
                exclusiveFileModes(c);
            fileModeChanged();
        });
    }
    connect(m_ui.chooseButton, &QPushButton::clicked, this, &TagEntry::chooseFile);
    connect(m_ui.replay, &QPushButton::clicked, this, &TagEntry::replay);
    connect(m_ui.delSound, &QPushButton::clicked, m_ui.soundPath, &QLineEdit::clear);
}

void TagEntry::watchChanges()
{
    const auto changed = [this] { markChanged(); };
    connect(m_ui.message, &QPlainTextEdit::textChanged, this, changed);
    for (QLineEdit *e : findChildren<QLineEdit *>())
        connect(e, &QLineEdit::textChanged, this, changed);
    for (QComboBox *c : findChildren<QComboBox *>())
        connect(c, &QComboBox::currentIndexChanged, this, changed);
    for (QAbstractButton *b : findChildren<QAbstractButton *>()) {
        if (b->isCheckable())
            connect(b, &QAbstractButton::toggled, this, changed);
    }
}

const EnvRecord &TagEntry::env() const
{
    return m_settings.env();
}

void TagEntry::openNew()
{
    const EnvRecord settings = env();
    TagRecord base = TagActions::newTag(settings);
    const QPoint at = freeTagPosition(m_store, settings, TagWindow::workAreas().value(0));
    base.setLong(Tag::PosX, at.x());
    base.setLong(Tag::PosY, at.y());
    const TagEntryInput in = newTagInput(base, settings, m_clock.now().date());
    start(0, base, in, settings);
}

bool TagEntry::openTag(int k)
{
    const auto tag = m_operations.read(k);
    if (!tag || tag->isFree())
        return false;
    startFrom(k, *tag);
    return true;
}

bool TagEntry::openCopy(int k)
{
    const auto tag = m_operations.copyOf(k);
    if (!tag)
        return false;
    startFrom(0, *tag);
    return true;
}

// A tag without a date of its own offers today.
void TagEntry::startFrom(int k, const TagRecord &tag)
{
    TagEntryInput in = fromRecord(tag);
    if (in.date.isEmpty())
        in.date = TagEntryText::formatDate(m_clock.now().date());
    start(k, tag, in, env());
}

void TagEntry::start(int k, const TagRecord &base, const TagEntryInput &in, const EnvRecord &env)
{
    m_k = k;
    m_base = base;
    load(in);
    m_changed = false;
    setWindowTitle(k > 0 ? u"付箋の変更"_s : u"付箋の作成"_s);
    m_ui.trash->setEnabled(k > 0);
    applyEntrySize(env);
    m_ui.message->setFocus();
}

void TagEntry::load(const TagEntryInput &in)
{
    m_loading = true;
    m_ui.setValues(in);
    m_look = in.look;
    showLook();
    m_loading = false;
    kindChanged();
    fileModeChanged();
}

TagEntryInput TagEntry::input() const
{
    return m_ui.values(m_look);
}

void TagEntry::markChanged()
{
    if (!m_loading)
        m_changed = true;
}

void TagEntry::setLook(const TagLook &look)
{
    m_look = look;
    const bool loading = m_loading;
    m_loading = true;
    m_ui.setLookBoxes(look);
    m_loading = loading;
    showLook();
}

void TagEntry::showLook()
{
    showLookIn(m_ui.message, m_look);
}

void TagEntry::kindChanged()
{
    m_ui.showKind(m_ui.kinds->checkedId());
}

// Opening a file and sending a mail both stand in for the tag; a sound is played
// with the tag, so it cannot go with opening a file.
void TagEntry::exclusiveFileModes(QCheckBox *turnedOn)
{
    if (turnedOn == m_ui.openFile) {
        m_ui.soundOn->setChecked(false);
        m_ui.mail->setChecked(false);
    } else if (turnedOn == m_ui.mail) {
        m_ui.openFile->setChecked(false);
    } else if (turnedOn == m_ui.soundOn) {
        m_ui.openFile->setChecked(false);
    }
}

void TagEntry::fileModeChanged()
{
    m_ui.showFileMode(bool(m_netReady));
}

void TagEntry::storeTag()
{
    TagEntryInput in = input();
    const FileChecks files{[](const QString &path) { return QFileInfo::exists(path); },
                           [](const QString &path) { return !associatedProgram(path).isEmpty(); }};
    if (const auto fault = validateForStore(in, files)) {
        m_prompt.warn(fault->message);
        if (auto *control = findChild<QWidget *>(fault->control))
            control->setFocus();
        return;
    }
    // Fields the editor does not show (size, sender) may have changed while it was open.
    TagRecord record = m_base;
    if (m_k > 0) {
        if (const auto stored = m_store.readTag(m_k))
            record = *stored;
    }
    const TagRecord before = record;
    applyTo(in, record);
    // More text or a bigger font must not leave the tag showing only its first words.
    if (record.message() != before.message() ||
        TagWindow::fontOf(record) != TagWindow::fontOf(before))
        record = TagActions::grownToText(record, env());
    int k = m_k;
    if (k == 0) {
        const auto added = m_operations.addNew(record);
        if (!added)
            return;
        k = *added;
    } else if (!m_operations.store(k, record)) {
        return;
    }
    m_k = k;
    m_base = record;
    m_changed = false;
    Q_EMIT tagStored(k);
    accept();
}

void TagEntry::setNetSend(std::function<bool()> ready)
{
    m_netReady = std::move(ready);
    fileModeChanged();
}

void TagEntry::sendToNet()
{
    TagEntryInput in = input();
    const SendCheck check = validateForSend(in, m_netReady(), m_prompt);
    if (check.verdict == SendVerdict::Fault) {
        m_prompt.warn(check.fault.message);
        if (auto *control = findChild<QWidget *>(check.fault.control))
            control->setFocus();
    }
    if (check.verdict != SendVerdict::Ready)
        return;
    TagRecord record = m_base;
    applyTo(in, record);
    Q_EMIT netSendRequested(record);
}

void TagEntry::trashTag()
{
    if (m_k <= 0)
        return;
    if (!m_prompt.askDestructive(
            u"現在編集を行っているタグをごみ箱に入れます。（削除する）。よろしいですか？"_s,
            u"削除の確認"_s))
        return;
    if (!m_operations.trash(m_k))
        return;
    m_changed = false;
    Q_EMIT tagTrashed(m_k);
    reject();
}

void TagEntry::restoreDefaultLook()
{
    setLook(TagLook::fromRecord(TagActions::withDefaults(TagRecord(), env())));
    markChanged();
}

void TagEntry::chooseColor(bool fore)
{
    if (const auto look = askColor(this, m_look, fore)) {
        setLook(*look);
        markChanged();
    }
}

void TagEntry::chooseFont()
{
    if (const auto look = askFont(this, m_look, m_ui.message->font())) {
        setLook(*look);
        markChanged();
    }
}

void TagEntry::chooseFile()
{
    const FileQuestion question =
        fileQuestion(m_ui.openFile->isChecked(), m_ui.mail->isChecked(), m_ui.soundPath->text());
    const QString path = m_chooseFile ? m_chooseFile(question.title, question.folder) : QString();
    if (!path.isEmpty())
        m_ui.soundPath->setText(QDir::toNativeSeparators(path));
}

void TagEntry::replay()
{
    tryFile(m_ui.soundPath->text().trimmed(), m_ui.openFile->isChecked(), m_sound, m_prompt);
}

void TagEntry::pickDate(QLineEdit *field, QLineEdit *fallback)
{
    const QString start =
        field->text().trimmed().isEmpty() && fallback ? fallback->text() : field->text();
    Calender picker(start, m_clock, this);
    picker.exec();
    const QString chosen = picker.chosenDate();
    if (!chosen.isEmpty())
        field->setText(chosen);
}

bool TagEntry::eventFilter(QObject *watched, QEvent *event)
{
    // Delete on either half of the erase time takes the time back.
    if ((watched == m_ui.dhh || watched == m_ui.dmm) && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent *>(event)->key() == Qt::Key_Delete) {
        clearEraseTime();
        return true;
    }
    return QDialog::eventFilter(watched, event);
}

void TagEntry::clearEraseTime()
{
    m_ui.dhh->setCurrentIndex(0);
    m_ui.dmm->setCurrentIndex(0);
}

void TagEntry::done(int result)
{
    if (result != QDialog::Accepted && m_changed &&
        !m_prompt.askDestructive(
            u"付箋の内容が更新されています。このまま更新内容を破棄して終了しても良いですか？"_s,
            u"終了確認"_s))
        return;
    m_changed = false;
    m_sound.stopMidi(&m_prompt);
    storeEntrySize();
    QDialog::done(result);
}

// Record 1 keeps the size in twips, so it means the same on screens of any density.
void TagEntry::applyEntrySize(const EnvRecord &env)
{
    const int w = env.longValue(Env::EntryWidth);
    const int h = env.longValue(Env::EntryHeight);
    resize(twipsToPixels(w > 0 ? w : DefaultWidthTwips, logicalDpiX()),
           twipsToPixels(h > 0 ? h : DefaultHeightTwips, logicalDpiY()));
}

void TagEntry::storeEntrySize()
{
    const QString error = m_settings.change([this](EnvRecord &env) {
        env.setLong(Env::EntryWidth, pixelsToTwips(width(), logicalDpiX()));
        env.setLong(Env::EntryHeight, pixelsToTwips(height(), logicalDpiY()));
    });
    if (!error.isEmpty())
        qWarning("editor size not kept: %s", qPrintable(error));
}
