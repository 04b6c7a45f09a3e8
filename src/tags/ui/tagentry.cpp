#include "tagentry.h"

#include "calender.h"
#include "clock.h"
#include "fileopener.h"
#include "prompt.h"
#include "settings.h"
#include "soundplayer.h"
#include "tagactions.h"
#include "tagplacement.h"
#include "tagstore.h"
#include "tagwindow.h"
#include "textcalendar.h"
#include "twips.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFontDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QIntValidator>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QStandardPaths>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

template <class W, class... Args> W *named(const char *name, Args &&...args)
{
    auto *w = new W(std::forward<Args>(args)...);
    w->setObjectName(QLatin1String(name));
    return w;
}

QPushButton *button(const char *name, const QString &caption)
{
    auto *b = named<QPushButton>(name, caption);
    b->setAutoDefault(false);
    return b;
}

QComboBox *combo(const char *name, const QStringList &items)
{
    auto *c = named<QComboBox>(name);
    c->addItems(items);
    c->setCurrentIndex(-1);
    c->setMaxVisibleItems(12);
    return c;
}

void choose(QComboBox *c, int index)
{
    c->setCurrentIndex(index >= 0 && index < c->count() ? index : -1);
}

const QString NoEraseTime = u"なし"_s;
const QString SoundCaption = u"ｻｳﾝﾄﾞを鳴らす。"_s;
const QString AttachCaption = u"ﾒｰﾙにﾌｧｲﾙを添付する。"_s;
const QString MailTip = u"指定された内容をＥ－Ｍａｉｌで送ります。（又、現在設定されている送り先を"
                        u"確認することが出来ます）"_s;
const QString NetTip = u"指定された内容でタグをネットワーク上の他のコンピューターに登録します"_s;

} // namespace

TagEntry::TagEntry(const TagStore &store, Settings &settings, Prompt &prompt, const Clock &clock, SoundPlayer &sound,
                   QWidget *parent)
    : QDialog(parent), m_store(store), m_settings(settings), m_operations(store, prompt), m_prompt(prompt), m_clock(clock), m_sound(sound)
{
    setObjectName(u"TagEntry"_s);
    setWindowTitle(u"付箋の作成"_s);
    m_chooseFile = [this](const QString &title, const QString &folder) {
        QFileDialog dialog(this, title, folder);
        dialog.setOptions(QFileDialog::DontUseNativeDialog | QFileDialog::HideNameFilterDetails);
        dialog.setFileMode(QFileDialog::ExistingFile);
        if (!m_openFile->isChecked() && !m_mail->isChecked())
            dialog.setNameFilters(
                {u"音源形式(*.WAV;MID) (*.WAV *.MID)"_s, u"すべてのファイル(*.*) (*)"_s});
        return dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty()
                   ? dialog.selectedFiles().constFirst()
                   : QString();
    };
    buildControls();
    watchChanges();
    kindChanged();
    fileModeChanged();
}

// ---- building ----

void TagEntry::buildControls()
{
    m_message = named<QPlainTextEdit>("txt_Message");
    m_message->setTabChangesFocus(true);
    m_length = named<QLabel>("lbl_Length", TagEntryText::remaining({}));
    m_length->setAlignment(Qt::AlignRight);
    connect(m_message, &QPlainTextEdit::textChanged, this,
            [this] { m_length->setText(TagEntryText::remaining(m_message->toPlainText())); });

    auto *text = new QVBoxLayout;
    text->addWidget(m_message, 1);
    text->addWidget(m_length);
    auto *top = new QHBoxLayout;
    top->addLayout(text, 1);
    top->addLayout(buildLook());

    m_sealed = named<QCheckBox>("chk_Sealed", u"封書で送る"_s);
    m_password = named<QLineEdit>("txt_PassWord");
    m_password->setEchoMode(QLineEdit::Password);
    m_password->setMaxLength(8);
    m_password->setMaximumWidth(90);
    m_x = named<QLineEdit>("txt_Xadr");
    m_y = named<QLineEdit>("txt_Yadr");
    for (QLineEdit *e : {m_x, m_y}) {
        e->setValidator(new QIntValidator(-99999, 99999, e));
        e->setMaximumWidth(60);
    }
    auto *extra = new QHBoxLayout;
    extra->addWidget(m_sealed);
    extra->addWidget(new QLabel(u"ﾊﾟｽﾜｰﾄﾞ"_s));
    extra->addWidget(m_password);
    extra->addStretch(1);
    extra->addWidget(new QLabel(u"表示位置 X"_s));
    extra->addWidget(m_x);
    extra->addWidget(new QLabel(u"Y"_s));
    extra->addWidget(m_y);

    m_addNet = button("cmd_AddNet", u"送信..."_s);
    m_delete = button("cmd_Delete", u"ごみ箱へ"_s);
    auto *ok = button("Command1", u"OK"_s);
    ok->setDefault(true);
    auto *cancel = button("cmd_Cancel", u"ｷｬﾝｾﾙ"_s);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_addNet);
    buttons->addWidget(m_delete);
    buttons->addStretch(1);
    buttons->addWidget(ok);
    buttons->addWidget(cancel);

    connect(m_addNet, &QPushButton::clicked, this, [this] {
        if (m_mail->isChecked())
            Q_EMIT mailRecipientsRequested(m_k);
        else if (m_netReady)
            sendToNet();
    });
    connect(m_delete, &QPushButton::clicked, this, &TagEntry::trashTag);
    connect(ok, &QPushButton::clicked, this, &TagEntry::storeTag);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);

    auto *layout = new QVBoxLayout(this);
    buildMenus(layout);
    layout->addLayout(top, 1);
    layout->addWidget(buildSchedule());
    layout->addWidget(buildFiles());
    layout->addLayout(extra);
    layout->addLayout(buttons);
}

QLayout *TagEntry::buildLook()
{
    auto *fore = button("cmd_ForeColor", u"文字色..."_s);
    auto *back = button("cmd_BackColor", u"背景色..."_s);
    auto *font = button("cmd_Font", u"ﾌｫﾝﾄ..."_s);
    auto *defaults = button("cmd_Default", u"規定値に戻す"_s);
    connect(fore, &QPushButton::clicked, this, [this] { chooseColor(true); });
    connect(back, &QPushButton::clicked, this, [this] { chooseColor(false); });
    connect(font, &QPushButton::clicked, this, &TagEntry::chooseFont);
    connect(defaults, &QPushButton::clicked, this, &TagEntry::restoreDefaultLook);

    m_3d = named<QCheckBox>("chk_3d", u"立体表示"_s);
    m_frame = named<QCheckBox>("chk_Frame", u"枠を付ける"_s);
    m_frameM = named<QCheckBox>("chk_FrameM", u"細い枠"_s);
    m_transpar = named<QCheckBox>("chk_Transpar", u"半透明"_s);
    m_topWindow = named<QCheckBox>("chk_TopWindow", u"常に手前"_s);
    m_blink = named<QCheckBox>("chk_Blink", u"点滅する"_s);

    auto *look = new QVBoxLayout;
    for (QWidget *w : std::initializer_list<QWidget *>{fore, back, font, m_3d, m_frame, m_frameM,
                                                       m_transpar, m_topWindow, m_blink, defaults})
        look->addWidget(w);
    look->addStretch(1);
    return look;
}

QWidget *TagEntry::buildSchedule()
{
    auto *box = named<QGroupBox>("fra_Schedule", u"表示方法"_s);
    m_kinds = new QButtonGroup(this);
    auto *kinds = new QHBoxLayout;
    const QString captions[] = {u"すぐに表示"_s, u"指定日表示"_s, u"毎日表示"_s, u"毎週表示"_s,
                                u"毎月表示"_s};
    for (int i = 0; i < 5; ++i) {
        auto *radio = new QRadioButton(captions[i]);
        radio->setObjectName(u"opt_Sel%1"_s.arg(i));
        m_kinds->addButton(radio, i);
        kinds->addWidget(radio);
    }
    kinds->addStretch(1);
    connect(m_kinds, &QButtonGroup::idToggled, this, [this](int, bool on) {
        if (on)
            kindChanged();
    });

    m_date = named<QLineEdit>("txt_Date");
    m_ddate = named<QLineEdit>("txt_Ddate");
    for (QLineEdit *e : {m_date, m_ddate}) {
        e->setMaxLength(10);
        e->setPlaceholderText(u"yyyy/mm/dd"_s);
        e->setMaximumWidth(100);
    }
    m_calender = button("cmd_Calender", u"..."_s);
    m_calender2 = button("cmd_Calender2", u"..."_s);
    for (QPushButton *b : {m_calender, m_calender2})
        b->setMaximumWidth(32);
    connect(m_calender, &QPushButton::clicked, this, [this] { pickDate(m_date, nullptr); });
    connect(m_calender2, &QPushButton::clicked, this, [this] { pickDate(m_ddate, m_date); });
    m_hh = combo("cmb_HH", TagEntryText::hourItems());
    m_mm = combo("cmb_MM", TagEntryText::minuteItems());
    // The erase time starts with "なし", so a time once picked can be taken back;
    // taking back either half takes back both.
    m_dhh = combo("cmb_DHH", QStringList{NoEraseTime} + TagEntryText::hourItems());
    m_dmm = combo("cmb_DMM", QStringList{NoEraseTime} + TagEntryText::minuteItems());
    for (QComboBox *c : {m_dhh, m_dmm}) {
        connect(c, &QComboBox::activated, this, [this](int index) {
            if (index == 0)
                clearEraseTime();
        });
        c->installEventFilter(this);
    }
    m_day = combo("cmb_Day", TagEntryText::dayItems());

    auto *grid = new QGridLayout;
    grid->addWidget(new QLabel(u"表示日"_s), 0, 0);
    grid->addWidget(m_date, 0, 1);
    grid->addWidget(m_calender, 0, 2);
    grid->addWidget(m_hh, 0, 3);
    grid->addWidget(m_mm, 0, 4);
    grid->addWidget(new QLabel(u"毎月"_s), 0, 6, Qt::AlignRight);
    grid->addWidget(m_day, 0, 7);
    grid->addWidget(new QLabel(u"消去日"_s), 1, 0);
    grid->addWidget(m_ddate, 1, 1);
    grid->addWidget(m_calender2, 1, 2);
    grid->addWidget(m_dhh, 1, 3);
    grid->addWidget(m_dmm, 1, 4);
    grid->setColumnStretch(5, 1);

    auto *weekdays = new QHBoxLayout;
    weekdays->addWidget(new QLabel(u"曜日"_s));
    const QString names = u"日月火水木金土"_s;
    for (int i = 0; i < 7; ++i) {
        m_week[i] = new QCheckBox(names.at(i));
        m_week[i]->setObjectName(u"chk_Week%1"_s.arg(i));
        weekdays->addWidget(m_week[i]);
    }
    weekdays->addSpacing(12);
    weekdays->addWidget(new QLabel(u"週"_s));
    for (int i = 0; i < 5; ++i) {
        m_no[i] = new QCheckBox(u"第%1"_s.arg(i + 1));
        m_no[i]->setObjectName(u"chk_No%1"_s.arg(i));
        weekdays->addWidget(m_no[i]);
    }
    weekdays->addStretch(1);

    auto *layout = new QVBoxLayout(box);
    layout->addLayout(kinds);
    layout->addLayout(grid);
    layout->addLayout(weekdays);
    return box;
}

QWidget *TagEntry::buildFiles()
{
    auto *box = named<QGroupBox>("fra_Sound", u"ｻｳﾝﾄﾞ・ﾌｧｲﾙ"_s);
    m_soundOn = named<QCheckBox>("chk_Sound", SoundCaption);
    m_openFile = named<QCheckBox>("chk_OpenFile", u"ﾀｸﾞの代りにﾌｧｲﾙを開く。"_s);
    m_mail = named<QCheckBox>("chk_Mail", u"ﾀｸﾞの代りにﾒｰﾙを送る。"_s);
    m_soundLabel = named<QLabel>("lbl_Sound");
    m_soundPath = named<QLineEdit>("txt_Sound");
    m_chooseButton = button("cmd_Sound", u"参照..."_s);
    m_replay = button("cmd_Replay", u"試聴"_s);
    m_delSound = button("cmd_DelSound", u"削除"_s);
    for (QCheckBox *c : {m_soundOn, m_openFile, m_mail}) {
        connect(c, &QCheckBox::toggled, this, [this, c](bool on) {
            if (on && !m_loading)
                exclusiveFileModes(c);
            fileModeChanged();
        });
    }
    connect(m_chooseButton, &QPushButton::clicked, this, &TagEntry::chooseFile);
    connect(m_replay, &QPushButton::clicked, this, &TagEntry::replay);
    connect(m_delSound, &QPushButton::clicked, m_soundPath, &QLineEdit::clear);

    auto *modes = new QHBoxLayout;
    modes->addWidget(m_soundOn);
    modes->addWidget(m_openFile);
    modes->addWidget(m_mail);
    modes->addStretch(1);
    auto *path = new QHBoxLayout;
    path->addWidget(m_soundLabel);
    path->addWidget(m_soundPath, 1);
    path->addWidget(m_chooseButton);
    path->addWidget(m_replay);
    path->addWidget(m_delSound);
    auto *layout = new QVBoxLayout(box);
    layout->addLayout(modes);
    layout->addLayout(path);
    return box;
}

void TagEntry::buildMenus(QLayout *layout)
{
    auto *bar = new QMenuBar(this);
    layout->setMenuBar(bar);
    const auto add = [this](QMenu *menu, const char *name, const QString &caption) {
        QAction *a = menu->addAction(caption);
        a->setObjectName(QLatin1String(name));
        connect(a, &QAction::triggered, this,
                [this, a] { insertText(TagEntryText::insertion(a->objectName(), m_clock.now())); });
    };
    QMenu *date = bar->addMenu(u"日付・時刻(&D)"_s);
    date->setObjectName(u"mnu_Date"_s);
    add(date, "mnu_DateS", u"yyyy/mm/dd"_s);
    add(date, "mnu_DateL", u"yyyy年mm月dd日"_s);
    add(date, "mnu_TimeS", u"hh:nn:ss"_s);
    add(date, "mnu_TimeL", u"hh時nn分ss秒"_s);
    add(date, "mnu_DateTimeS", u"yyyy/mm/dd hh:nn:ss"_s);
    add(date, "mnu_DateTimeL", u"yyyy年mm月dd日 hh時nn分ss秒"_s);
    QMenu *tel = bar->addMenu(u"電話メモ(&T)"_s);
    tel->setObjectName(u"mnu_Tel"_s);
    add(tel, "mnu_TelCall", u"電話がありました。改めて電話をかけます。"_s);
    add(tel, "mnu_TelReq", u"電話がありました。折り返し電話を下さい。"_s);
    add(tel, "mnu_TelText", u"電話がありました。"_s);
    m_calendarMenu = bar->addMenu(u"カレンダー(&C)"_s);
    m_calendarMenu->setObjectName(u"mnu_Calender"_s);
    connect(m_calendarMenu, &QMenu::aboutToShow, this, &TagEntry::fillCalendarMenu);
    fillCalendarMenu();
}

// The months follow the clock, so they are laid out anew each time the menu opens.
void TagEntry::fillCalendarMenu()
{
    m_calendarMenu->clear();
    const QList<QDate> months = TagEntryText::calendarMonths(m_clock.now().date());
    for (int i = 0; i < months.size(); ++i) {
        const QDate month = months.at(i);
        QAction *a = m_calendarMenu->addAction(TagEntryText::monthCaption(month));
        a->setObjectName(u"mnu_Calender%1"_s.arg(i));
        connect(a, &QAction::triggered, this, [this, month] { insertCalendar(month); });
    }
    m_calendarMenu->addSeparator();
    QAction *any = m_calendarMenu->addAction(u"年月を指定..."_s);
    any->setObjectName(u"mnu_CalenderAny"_s);
    connect(any, &QAction::triggered, this, &TagEntry::askCalendarMonth);
}

void TagEntry::watchChanges()
{
    const auto changed = [this] { markChanged(); };
    connect(m_message, &QPlainTextEdit::textChanged, this, changed);
    for (QLineEdit *e : findChildren<QLineEdit *>())
        connect(e, &QLineEdit::textChanged, this, changed);
    for (QComboBox *c : findChildren<QComboBox *>())
        connect(c, &QComboBox::currentIndexChanged, this, changed);
    for (QAbstractButton *b : findChildren<QAbstractButton *>()) {
        if (b->isCheckable())
            connect(b, &QAbstractButton::toggled, this, changed);
    }
}

// ---- opening ----

const EnvRecord &TagEntry::env() const
{
    return m_settings.env();
}

void TagEntry::openNew()
{
    const EnvRecord settings = env();
    TagRecord base = TagActions::withDefaults(TagRecord(), settings);
    base.setLong(Tag::Width, settings.integer(Env::DefaultWidth));
    base.setLong(Tag::Height, settings.integer(Env::DefaultHeight));
    // A new tag goes where it covers none of the others.
    QList<QPoint> taken;
    for (int k = 1, count = m_store.tagCount(); k <= count; ++k) {
        const auto tag = m_store.readTag(k);
        if (tag && tag->isLive())
            taken << QPoint(int(tag->longValue(Tag::PosX)), int(tag->longValue(Tag::PosY)));
    }
    const QSize size(settings.integer(Env::DefaultWidth), settings.integer(Env::DefaultHeight));
    const QPoint at =
        cascadeTag(QPoint(settings.integer(Env::DefaultX), settings.integer(Env::DefaultY)), size,
                   taken, TagWindow::workAreas().value(0));
    base.setLong(Tag::PosX, at.x());
    base.setLong(Tag::PosY, at.y());
    TagEntryInput in = fromRecord(base);
    in.date = TagEntryText::formatDate(m_clock.now().date());
    const int kind = settings.text(Env::DefaultScheduleKind).toInt();
    in.kind = kind >= 0 && kind <= 4 ? kind : 0;
    const QTime time = QTime::fromString(settings.text(Env::DefaultDisplayTime), u"hh:mm:ss"_s);
    if (time.isValid()) {
        in.hour = time.hour();
        in.minute = time.minute();
    }
    start(0, base, in, settings);
}

bool TagEntry::openTag(int k)
{
    const auto tag = m_operations.read(k);
    if (!tag)
        return false;
    if (tag->isFree())
        return false;
    TagEntryInput in = fromRecord(*tag);
    if (in.date.isEmpty())
        in.date = TagEntryText::formatDate(m_clock.now().date());
    start(k, *tag, in, env());
    return true;
}

bool TagEntry::openCopy(int k)
{
    const auto tag = m_operations.copyOf(k);
    if (!tag)
        return false;
    TagEntryInput in = fromRecord(*tag);
    if (in.date.isEmpty())
        in.date = TagEntryText::formatDate(m_clock.now().date());
    start(0, *tag, in, env());
    return true;
}

void TagEntry::start(int k, const TagRecord &base, const TagEntryInput &in, const EnvRecord &env)
{
    m_k = k;
    m_base = base;
    load(in);
    m_changed = false;
    setWindowTitle(k > 0 ? u"付箋の変更"_s : u"付箋の作成"_s);
    m_delete->setEnabled(k > 0);
    applyEntrySize(env);
    m_message->setFocus();
}

void TagEntry::load(const TagEntryInput &in)
{
    m_loading = true;
    m_message->setPlainText(in.message);
    setLook(in.look);
    if (QAbstractButton *kind = m_kinds->button(in.kind >= 0 && in.kind <= 4 ? in.kind : 0))
        kind->setChecked(true);
    m_date->setText(in.date);
    m_ddate->setText(in.eraseDate);
    choose(m_hh, in.hour);
    choose(m_mm, in.minute);
    choose(m_dhh, in.eraseHour + 1);
    choose(m_dmm, in.eraseMinute + 1);
    choose(m_day, in.dayIndex);
    for (int i = 0; i < 7; ++i)
        m_week[i]->setChecked(in.weekdays[i]);
    for (int i = 0; i < 5; ++i)
        m_no[i]->setChecked(in.weeks[i]);
    m_soundOn->setChecked(in.sound);
    m_openFile->setChecked(in.openFile);
    m_mail->setChecked(in.mail);
    m_soundPath->setText(in.filePath);
    m_sealed->setChecked(in.sealed);
    m_password->setText(in.password);
    m_x->setText(QString::number(in.x));
    m_y->setText(QString::number(in.y));
    m_loading = false;
    kindChanged();
    fileModeChanged();
}

TagEntryInput TagEntry::input() const
{
    TagEntryInput in;
    in.message = m_message->toPlainText();
    in.look = m_look;
    in.look.look3d = m_3d->isChecked();
    in.look.frame = m_frame->isChecked();
    in.look.frameM = m_frameM->isChecked();
    in.look.transparent = m_transpar->isChecked();
    in.look.topMost = m_topWindow->isChecked();
    in.look.blink = m_blink->isChecked();
    in.kind = qMax(m_kinds->checkedId(), 0);
    in.date = m_date->text();
    in.eraseDate = m_ddate->text();
    in.hour = m_hh->currentIndex();
    in.minute = m_mm->currentIndex();
    in.eraseHour = std::max(m_dhh->currentIndex(), 0) - 1;
    in.eraseMinute = std::max(m_dmm->currentIndex(), 0) - 1;
    in.dayIndex = m_day->currentIndex();
    for (int i = 0; i < 7; ++i)
        in.weekdays[i] = m_week[i]->isChecked();
    for (int i = 0; i < 5; ++i)
        in.weeks[i] = m_no[i]->isChecked();
    in.sound = m_soundOn->isChecked();
    in.openFile = m_openFile->isChecked();
    in.mail = m_mail->isChecked();
    in.filePath = m_soundPath->text();
    in.sealed = m_sealed->isChecked();
    in.password = m_password->text();
    in.x = m_x->text().toInt();
    in.y = m_y->text().toInt();
    return in;
}

// ---- state of the controls ----

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
    m_3d->setChecked(look.look3d);
    m_frame->setChecked(look.frame);
    m_frameM->setChecked(look.frameM);
    m_transpar->setChecked(look.transparent);
    m_topWindow->setChecked(look.topMost);
    m_blink->setChecked(look.blink);
    m_loading = loading;
    showLook();
}

// The message box shows the tag's font and colours.
void TagEntry::showLook()
{
    TagRecord sample;
    m_look.applyTo(sample);
    m_message->setFont(TagWindow::fontOf(sample));
    QPalette palette = m_message->palette();
    palette.setColor(QPalette::Text, ColorRef::toColor(m_look.foreColor));
    palette.setColor(QPalette::Base, ColorRef::toColor(m_look.backColor));
    m_message->setPalette(palette);
}

void TagEntry::kindChanged()
{
    const int kind = m_kinds->checkedId();
    for (QWidget *w : std::initializer_list<QWidget *>{m_date, m_calender, m_ddate, m_calender2})
        w->setEnabled(kind == 1);
    for (QWidget *w : {m_hh, m_mm, m_dhh, m_dmm})
        w->setEnabled(kind >= 1);
    m_day->setEnabled(kind == 4);
    for (QCheckBox *c : m_week)
        c->setEnabled(kind == 3);
    for (QCheckBox *c : m_no)
        c->setEnabled(kind == 3);
}

// Opening a file and sending a mail both stand in for the tag; a sound is played
// with the tag, so it cannot go with opening a file.
void TagEntry::exclusiveFileModes(QCheckBox *turnedOn)
{
    if (turnedOn == m_openFile) {
        m_soundOn->setChecked(false);
        m_mail->setChecked(false);
    } else if (turnedOn == m_mail) {
        m_openFile->setChecked(false);
    } else if (turnedOn == m_soundOn) {
        m_openFile->setChecked(false);
    }
}

void TagEntry::fileModeChanged()
{
    const bool mail = m_mail->isChecked();
    const bool openFile = m_openFile->isChecked();
    m_addNet->setEnabled(mail || m_netReady);
    m_addNet->setToolTip(mail ? MailTip : NetTip);
    m_soundOn->setText(mail ? AttachCaption : SoundCaption);
    m_soundLabel->setText(openFile ? u"開くﾌｧｲﾙ"_s : mail ? u"添付ﾌｧｲﾙ"_s : u"ｻｳﾝﾄﾞ"_s);
    const bool withFile = openFile || m_soundOn->isChecked();
    for (QWidget *w : std::initializer_list<QWidget *>{m_soundPath, m_chooseButton, m_delSound})
        w->setEnabled(withFile);
    m_replay->setEnabled(withFile && !mail);
}

// ---- commands ----

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
    const qint32 current = fore ? m_look.foreColor : m_look.backColor;
    const QColor chosen =
        QColorDialog::getColor(ColorRef::toColor(current), this, fore ? u"文字色"_s : u"背景色"_s);
    if (!chosen.isValid())
        return;
    TagLook look = m_look;
    (fore ? look.foreColor : look.backColor) = ColorRef::fromColor(chosen);
    setLook(look);
    markChanged();
}

void TagEntry::chooseFont()
{
    bool ok = false;
    const QFont chosen = QFontDialog::getFont(&ok, m_message->font(), this, u"ﾌｫﾝﾄ"_s);
    if (!ok)
        return;
    TagLook look = m_look;
    look.fontName = chosen.family();
    look.fontSize = chosen.pointSize() > 0 ? chosen.pointSize() : look.fontSize;
    look.bold = chosen.bold();
    look.italic = chosen.italic();
    look.underline = chosen.underline();
    look.strikeout = chosen.strikeOut();
    setLook(look);
    markChanged();
}

QString TagEntry::soundFolder()
{
    for (const QString &folder : QStandardPaths::standardLocations(QStandardPaths::MusicLocation)) {
        if (QDir(folder).exists())
            return folder;
    }
    return u"/usr/share/sounds"_s;
}

void TagEntry::chooseFile()
{
    QString title = u"サウンドファイル(WAV)を選択して下さい。"_s;
    QString folder = soundFolder();
    if (m_openFile->isChecked() || m_mail->isChecked()) {
        title = m_openFile->isChecked() ? u"指定時刻に開く（実行する）ファイルを選択して下さい。"_s
                                        : u"メールに添付するファイルを選択して下さい。"_s;
        const QFileInfo current(m_soundPath->text());
        folder = current.dir().exists() && !m_soundPath->text().isEmpty() ? current.absolutePath()
                                                                          : QDir::homePath();
    }
    const QString path = m_chooseFile ? m_chooseFile(title, folder) : QString();
    if (!path.isEmpty())
        m_soundPath->setText(QDir::toNativeSeparators(path));
}

void TagEntry::replay()
{
    const QString path = m_soundPath->text().trimmed();
    if (!m_openFile->isChecked()) {
        m_sound.play(path, &m_prompt);
        return;
    }
    if (path.isEmpty()) {
        m_prompt.warn(u"ファイルが指定されていません。"_s);
        return;
    }
    const QString program = associatedProgram(path);
    if (program.isEmpty()) {
        m_prompt.warn(u"指定されたファイルには関連付けられたファイルがありません。"_s);
        return;
    }
    m_prompt.inform(program + u"\r\n上記実行ファイルで開かれます。"_s);
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

void TagEntry::insertText(const QString &text)
{
    if (!text.isEmpty())
        m_message->insertPlainText(text);
}

bool TagEntry::eventFilter(QObject *watched, QEvent *event)
{
    // Delete on either half of the erase time takes the time back.
    if ((watched == m_dhh || watched == m_dmm) && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent *>(event)->key() == Qt::Key_Delete) {
        clearEraseTime();
        return true;
    }
    return QDialog::eventFilter(watched, event);
}

void TagEntry::clearEraseTime()
{
    m_dhh->setCurrentIndex(0);
    m_dmm->setCurrentIndex(0);
}

void TagEntry::insertCalendar(const QDate &month)
{
    // Its columns line up only from the start of a line: a calendar never shares
    // a line with other text.
    QString calendar = textCalendar(month.year(), month.month());
    if (calendar.isEmpty())
        return;
    if (!m_message->textCursor().atBlockStart())
        calendar.prepend(u'\n');
    if (!m_message->textCursor().atBlockEnd())
        calendar.append(u'\n');
    insertText(calendar);
}

void TagEntry::askCalendarMonth()
{
    const auto answer = m_prompt.askText(
        u"作成するカレンダーの年月を入力して下さい。\r\nyyyy/mm の形式で入力して下さい。"_s,
        u"年月指定"_s);
    if (!answer)
        return;
    const QDate month = TagEntryText::parseYearMonth(*answer);
    if (!month.isValid()) {
        m_prompt.warn(u"入力された値が日付形式ではありません。年／月の形式で入力して下さい。"_s);
        return;
    }
    insertCalendar(month);
}

// ---- closing ----

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
