#include "tagentryform.h"

#include "tagentryinput.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

template <class W, class... Args> W *named(const char *name, Args &&...args)
{
    auto *w = new W(std::forward<Args>(args)...);
    w->setObjectName(QLatin1String(name));
    return w;
}

// Enter belongs to OK alone.
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

void addAll(QBoxLayout *layout, std::initializer_list<QWidget *> widgets)
{
    for (QWidget *w : widgets)
        layout->addWidget(w);
}

const QString SoundCaption = u"ｻｳﾝﾄﾞを鳴らす。"_s;
const QString AttachCaption = u"ﾒｰﾙにﾌｧｲﾙを添付する。"_s;
const QString MailTip = u"指定された内容をＥ－Ｍａｉｌで送ります。（又、現在設定されている送り先を"
                        u"確認することが出来ます）"_s;
const QString NetTip = u"指定された内容でタグをネットワーク上の他のコンピューターに登録します"_s;

} // namespace

TagEntryForm::TagEntryForm(QDialog *host)
{
    message = named<QPlainTextEdit>("txt_Message");
    message->setTabChangesFocus(true);
    length = named<QLabel>("lbl_Length", TagEntryText::remaining({}));
    length->setAlignment(Qt::AlignRight);

    auto *text = new QVBoxLayout;
    text->addWidget(message, 1);
    text->addWidget(length);
    auto *top = new QHBoxLayout;
    top->addLayout(text, 1);
    top->addLayout(buildLook());

    auto *layout = new QVBoxLayout(host);
    buildMenus(host, layout);
    layout->addLayout(top, 1);
    layout->addWidget(buildSchedule(host));
    layout->addWidget(buildFiles());
    layout->addLayout(buildExtra());
    layout->addLayout(buildButtons());
}

QLayout *TagEntryForm::buildLook()
{
    foreColor = button("cmd_ForeColor", u"文字色..."_s);
    backColor = button("cmd_BackColor", u"背景色..."_s);
    font = button("cmd_Font", u"ﾌｫﾝﾄ..."_s);
    defaultLook = button("cmd_Default", u"規定値に戻す"_s);
    look3d = named<QCheckBox>("chk_3d", u"立体表示"_s);
    frame = named<QCheckBox>("chk_Frame", u"枠を付ける"_s);
    frameM = named<QCheckBox>("chk_FrameM", u"細い枠"_s);
    transpar = named<QCheckBox>("chk_Transpar", u"半透明"_s);
    topWindow = named<QCheckBox>("chk_TopWindow", u"常に手前"_s);
    blink = named<QCheckBox>("chk_Blink", u"点滅する"_s);

    auto *look = new QVBoxLayout;
    addAll(look, {foreColor, backColor, font, look3d, frame, frameM, transpar, topWindow, blink,
                  defaultLook});
    look->addStretch(1);
    return look;
}

QWidget *TagEntryForm::buildSchedule(QDialog *host)
{
    auto *box = named<QGroupBox>("fra_Schedule", u"表示方法"_s);
    kinds = new QButtonGroup(host);
    auto *kindRow = new QHBoxLayout;
    const QString captions[] = {u"すぐに表示"_s, u"指定日表示"_s, u"毎日表示"_s, u"毎週表示"_s,
                                u"毎月表示"_s};
    for (int i = 0; i < 5; ++i) {
        auto *radio = new QRadioButton(captions[i]);
        radio->setObjectName(u"opt_Sel%1"_s.arg(i));
        kinds->addButton(radio, i);
        kindRow->addWidget(radio);
    }
    kindRow->addStretch(1);

    auto *layout = new QVBoxLayout(box);
    layout->addLayout(kindRow);
    layout->addLayout(buildScheduleGrid());
    layout->addLayout(buildWeekdays());
    return box;
}

QLayout *TagEntryForm::buildScheduleGrid()
{
    date = named<QLineEdit>("txt_Date");
    ddate = named<QLineEdit>("txt_Ddate");
    for (QLineEdit *e : {date, ddate}) {
        e->setMaxLength(10);
        e->setPlaceholderText(u"yyyy/mm/dd"_s);
        e->setMaximumWidth(100);
    }
    calender = button("cmd_Calender", u"..."_s);
    calender2 = button("cmd_Calender2", u"..."_s);
    for (QPushButton *b : {calender, calender2})
        b->setMaximumWidth(32);
    hh = combo("cmb_HH", TagEntryText::hourItems());
    mm = combo("cmb_MM", TagEntryText::minuteItems());
    // The erase time starts with "なし", so a time once picked can be taken back.
    const QString none = u"なし"_s;
    dhh = combo("cmb_DHH", QStringList{none} + TagEntryText::hourItems());
    dmm = combo("cmb_DMM", QStringList{none} + TagEntryText::minuteItems());
    day = combo("cmb_Day", TagEntryText::dayItems());

    auto *grid = new QGridLayout;
    grid->addWidget(new QLabel(u"表示日"_s), 0, 0);
    grid->addWidget(date, 0, 1);
    grid->addWidget(calender, 0, 2);
    grid->addWidget(hh, 0, 3);
    grid->addWidget(mm, 0, 4);
    grid->addWidget(new QLabel(u"毎月"_s), 0, 6, Qt::AlignRight);
    grid->addWidget(day, 0, 7);
    grid->addWidget(new QLabel(u"消去日"_s), 1, 0);
    grid->addWidget(ddate, 1, 1);
    grid->addWidget(calender2, 1, 2);
    grid->addWidget(dhh, 1, 3);
    grid->addWidget(dmm, 1, 4);
    grid->setColumnStretch(5, 1);
    return grid;
}

QLayout *TagEntryForm::buildWeekdays()
{
    auto *weekdays = new QHBoxLayout;
    weekdays->addWidget(new QLabel(u"曜日"_s));
    const QString names = u"日月火水木金土"_s;
    for (int i = 0; i < 7; ++i) {
        week[i] = new QCheckBox(names.at(i));
        week[i]->setObjectName(u"chk_Week%1"_s.arg(i));
        weekdays->addWidget(week[i]);
    }
    weekdays->addSpacing(12);
    weekdays->addWidget(new QLabel(u"週"_s));
    for (int i = 0; i < 5; ++i) {
        no[i] = new QCheckBox(u"第%1"_s.arg(i + 1));
        no[i]->setObjectName(u"chk_No%1"_s.arg(i));
        weekdays->addWidget(no[i]);
    }
    weekdays->addStretch(1);
    return weekdays;
}

QWidget *TagEntryForm::buildFiles()
{
    auto *box = named<QGroupBox>("fra_Sound", u"ｻｳﾝﾄﾞ・ﾌｧｲﾙ"_s);
    soundOn = named<QCheckBox>("chk_Sound");
    openFile = named<QCheckBox>("chk_OpenFile", u"ﾀｸﾞの代りにﾌｧｲﾙを開く。"_s);
    mail = named<QCheckBox>("chk_Mail", u"ﾀｸﾞの代りにﾒｰﾙを送る。"_s);
    soundLabel = named<QLabel>("lbl_Sound");
    soundPath = named<QLineEdit>("txt_Sound");
    chooseButton = button("cmd_Sound", u"参照..."_s);
    replay = button("cmd_Replay", u"試聴"_s);
    delSound = button("cmd_DelSound", u"削除"_s);

    auto *modes = new QHBoxLayout;
    addAll(modes, {soundOn, openFile, mail});
    modes->addStretch(1);
    auto *path = new QHBoxLayout;
    path->addWidget(soundLabel);
    path->addWidget(soundPath, 1);
    addAll(path, {chooseButton, replay, delSound});
    auto *layout = new QVBoxLayout(box);
    layout->addLayout(modes);
    layout->addLayout(path);
    return box;
}

QLayout *TagEntryForm::buildExtra()
{
    sealed = named<QCheckBox>("chk_Sealed", u"封書で送る"_s);
    password = named<QLineEdit>("txt_PassWord");
    password->setEchoMode(QLineEdit::Password);
    password->setMaxLength(8);
    password->setMaximumWidth(90);
    x = named<QLineEdit>("txt_Xadr");
    y = named<QLineEdit>("txt_Yadr");
    for (QLineEdit *e : {x, y}) {
        e->setValidator(new QIntValidator(-99999, 99999, e));
        e->setMaximumWidth(60);
    }
    auto *extra = new QHBoxLayout;
    extra->addWidget(sealed);
    extra->addWidget(new QLabel(u"ﾊﾟｽﾜｰﾄﾞ"_s));
    extra->addWidget(password);
    extra->addStretch(1);
    extra->addWidget(new QLabel(u"表示位置 X"_s));
    extra->addWidget(x);
    extra->addWidget(new QLabel(u"Y"_s));
    extra->addWidget(y);
    return extra;
}

QLayout *TagEntryForm::buildButtons()
{
    addNet = button("cmd_AddNet", u"送信..."_s);
    trash = button("cmd_Delete", u"ごみ箱へ"_s);
    ok = button("Command1", u"OK"_s);
    ok->setDefault(true);
    cancel = button("cmd_Cancel", u"ｷｬﾝｾﾙ"_s);
    auto *buttons = new QHBoxLayout;
    addAll(buttons, {addNet, trash});
    buttons->addStretch(1);
    addAll(buttons, {ok, cancel});
    return buttons;
}

void TagEntryForm::buildMenus(QDialog *host, QLayout *layout)
{
    menuBar = new QMenuBar(host);
    layout->setMenuBar(menuBar);
    const auto add = [](QMenu *menu, const char *name, const QString &caption) {
        menu->addAction(caption)->setObjectName(QLatin1String(name));
    };
    dateMenu = menuBar->addMenu(u"日付・時刻(&D)"_s);
    dateMenu->setObjectName(u"mnu_Date"_s);
    add(dateMenu, "mnu_DateS", u"yyyy/mm/dd"_s);
    add(dateMenu, "mnu_DateL", u"yyyy年mm月dd日"_s);
    add(dateMenu, "mnu_TimeS", u"hh:nn:ss"_s);
    add(dateMenu, "mnu_TimeL", u"hh時nn分ss秒"_s);
    add(dateMenu, "mnu_DateTimeS", u"yyyy/mm/dd hh:nn:ss"_s);
    add(dateMenu, "mnu_DateTimeL", u"yyyy年mm月dd日 hh時nn分ss秒"_s);
    telMenu = menuBar->addMenu(u"電話メモ(&T)"_s);
    telMenu->setObjectName(u"mnu_Tel"_s);
    add(telMenu, "mnu_TelCall", u"電話がありました。改めて電話をかけます。"_s);
    add(telMenu, "mnu_TelReq", u"電話がありました。折り返し電話を下さい。"_s);
    add(telMenu, "mnu_TelText", u"電話がありました。"_s);
    calendarMenu = menuBar->addMenu(u"カレンダー(&C)"_s);
    calendarMenu->setObjectName(u"mnu_Calender"_s);
}

void TagEntryForm::setValues(const TagEntryInput &in)
{
    message->setPlainText(in.message);
    setLookBoxes(in.look);
    if (QAbstractButton *kind = kinds->button(in.kind >= 0 && in.kind <= 4 ? in.kind : 0))
        kind->setChecked(true);
    date->setText(in.date);
    ddate->setText(in.eraseDate);
    choose(hh, in.hour);
    choose(mm, in.minute);
    choose(dhh, in.eraseHour + 1);
    choose(dmm, in.eraseMinute + 1);
    choose(day, in.dayIndex);
    for (int i = 0; i < 7; ++i)
        week[i]->setChecked(in.weekdays[i]);
    for (int i = 0; i < 5; ++i)
        no[i]->setChecked(in.weeks[i]);
    soundOn->setChecked(in.sound);
    openFile->setChecked(in.openFile);
    mail->setChecked(in.mail);
    soundPath->setText(in.filePath);
    sealed->setChecked(in.sealed);
    password->setText(in.password);
    x->setText(QString::number(in.x));
    y->setText(QString::number(in.y));
}

void TagEntryForm::setLookBoxes(const TagLook &look)
{
    look3d->setChecked(look.look3d);
    frame->setChecked(look.frame);
    frameM->setChecked(look.frameM);
    transpar->setChecked(look.transparent);
    topWindow->setChecked(look.topMost);
    blink->setChecked(look.blink);
}

TagEntryInput TagEntryForm::values(const TagLook &look) const
{
    TagEntryInput in;
    in.message = message->toPlainText();
    in.look = look;
    in.look.look3d = look3d->isChecked();
    in.look.frame = frame->isChecked();
    in.look.frameM = frameM->isChecked();
    in.look.transparent = transpar->isChecked();
    in.look.topMost = topWindow->isChecked();
    in.look.blink = blink->isChecked();
    in.kind = qMax(kinds->checkedId(), 0);
    in.date = date->text();
    in.eraseDate = ddate->text();
    in.hour = hh->currentIndex();
    in.minute = mm->currentIndex();
    in.eraseHour = std::max(dhh->currentIndex(), 0) - 1;
    in.eraseMinute = std::max(dmm->currentIndex(), 0) - 1;
    in.dayIndex = day->currentIndex();
    for (int i = 0; i < 7; ++i)
        in.weekdays[i] = week[i]->isChecked();
    for (int i = 0; i < 5; ++i)
        in.weeks[i] = no[i]->isChecked();
    in.sound = soundOn->isChecked();
    in.openFile = openFile->isChecked();
    in.mail = mail->isChecked();
    in.filePath = soundPath->text();
    in.sealed = sealed->isChecked();
    in.password = password->text();
    in.x = x->text().toInt();
    in.y = y->text().toInt();
    return in;
}

void TagEntryForm::showKind(int kind)
{
    for (QWidget *w : std::initializer_list<QWidget *>{date, calender, ddate, calender2})
        w->setEnabled(kind == 1);
    for (QWidget *w : {hh, mm, dhh, dmm})
        w->setEnabled(kind >= 1);
    day->setEnabled(kind == 4);
    for (QCheckBox *c : week)
        c->setEnabled(kind == 3);
    for (QCheckBox *c : no)
        c->setEnabled(kind == 3);
}

void TagEntryForm::showFileMode(bool netReady)
{
    const bool withMail = mail->isChecked();
    const bool withOpen = openFile->isChecked();
    addNet->setEnabled(withMail || netReady);
    addNet->setToolTip(withMail ? MailTip : NetTip);
    soundOn->setText(withMail ? AttachCaption : SoundCaption);
    soundLabel->setText(withOpen ? u"開くﾌｧｲﾙ"_s : withMail ? u"添付ﾌｧｲﾙ"_s : u"ｻｳﾝﾄﾞ"_s);
    const bool withFile = withOpen || soundOn->isChecked();
    for (QWidget *w : std::initializer_list<QWidget *>{soundPath, chooseButton, delSound})
        w->setEnabled(withFile);
    replay->setEnabled(withFile && !withMail);
}
