#include "tagwindow.h"

#include "tagplacement.h"

#include <QApplication>
#include <QGuiApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPalette>
#include <QPointer>
#include <QScreen>
#include <QTimer>
#include <QWindow>

namespace {
constexpr int Padding = 2;
constexpr int NoteSpacing = 2;
constexpr int NotePointSize = 9;
constexpr int DefaultPointSize = 10;
constexpr int DefaultOpacity = 80;
constexpr int MoveSettleMs = 400;

// Opacity percent of a transparent tag; a stored 0 or nonsense falls back to the default,
// and nothing goes below 10 % so a tag can still be found.
qreal opacityFor(const EnvRecord &env)
{
    int percent = env.integer(Env::TagOpacity);
    if (percent <= 0 || percent > 100)
        percent = DefaultOpacity;
    return std::max(percent, 10) / 100.0;
}

bool isReceived(const TagRecord &tag)
{
    return tag.text(Tag::ReceivedMark) == u"1" && !tag.text(Tag::SenderName).isEmpty();
}

// Messages come with Windows line ends; the label wants plain line feeds.
QString displayText(const QString &message)
{
    QString t = message;
    t.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    t.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return t;
}
} // namespace

namespace ColorRef {
QColor toColor(qint32 colorRef)
{
    const quint32 v = quint32(colorRef);
    if (v & 0x80000000u) {
        const QPalette pal = QGuiApplication::palette();
        switch (v & 0xFFu) {
        case 5:
            return pal.color(QPalette::Base);
        case 8:
            return pal.color(QPalette::Text);
        case 13:
            return pal.color(QPalette::Highlight);
        case 14:
            return pal.color(QPalette::HighlightedText);
        case 15:
            return pal.color(QPalette::Button);
        case 18:
            return pal.color(QPalette::ButtonText);
        case 23:
            return pal.color(QPalette::ToolTipText);
        case 24:
            return pal.color(QPalette::ToolTipBase);
        default:
            return pal.color(QPalette::Window);
        }
    }
    return QColor(int(v & 0xFF), int((v >> 8) & 0xFF), int((v >> 16) & 0xFF));
}

qint32 fromColor(const QColor &color)
{
    const QColor c = color.toRgb();
    return qint32(quint32(c.red()) | quint32(c.green()) << 8 | quint32(c.blue()) << 16);
}
} // namespace ColorRef

TagWindow::TagWindow(int k, const TagRecord &tag, const EnvRecord &env, QWidget *parent)
    : QWidget(parent, Qt::Tool | Qt::FramelessWindowHint), m_k(k), m_note(new QLabel(this)),
      m_label(new QLabel(this)), m_timer1(new QTimer(this)), m_moveSettle(new QTimer(this))
{
    setObjectName(QStringLiteral("Tags"));
    setAttribute(Qt::WA_ShowWithoutActivating);
    m_label->setObjectName(QStringLiteral("lbl_Tag"));
    m_note->setObjectName(QStringLiteral("lbl_Note"));
    for (QLabel *l : {m_note, m_label}) {
        l->setTextFormat(Qt::PlainText);
        l->setWordWrap(true);
        l->setAlignment(Qt::AlignLeft | Qt::AlignTop);
        l->installEventFilter(this);
    }
    m_timer1->setObjectName(QStringLiteral("Timer1"));
    m_timer1->setInterval(BlinkMs);
    connect(m_timer1, &QTimer::timeout, this, [this] {
        m_swapped = !m_swapped;
        applyColors();
    });
    // A window manager moving the window sends no release, and it or anything else
    // may move the window later still: a move is over once it has stood still a moment.
    m_moveSettle->setSingleShot(true);
    m_moveSettle->setInterval(MoveSettleMs);
    connect(m_moveSettle, &QTimer::timeout, this, &TagWindow::finishMove);
    refresh(tag, env);
}

void TagWindow::refresh(const TagRecord &tag, const EnvRecord &env)
{
    const bool topMost = staysOnTop(tag, env);
    if (topMost != bool(windowFlags() & Qt::WindowStaysOnTopHint)) {
        // Changing window flags hides a shown window.
        const bool wasVisible = isVisible();
        setWindowFlag(Qt::WindowStaysOnTopHint, topMost);
        if (wasVisible)
            show();
    }
    setWindowOpacity(tag.isTransparent() ? opacityFor(env) : 1.0);

    m_fore = ColorRef::toColor(tag.longValue(Tag::ForeColor));
    m_back = ColorRef::toColor(tag.longValue(Tag::BackColor));
    m_frame = tag.frameWidth();
    m_look3D = tag.hasLook3D();
    m_blink = tag.blinks();
    if (!m_blink && isBlinking())
        stopBlinking();

    const QFont font = fontOf(tag);
    m_label->setFont(font);
    m_message = tag.message();
    m_label->setText(displayText(m_message));
    if (isReceived(tag)) {
        const QString sender = tag.text(Tag::SenderName);
        QFont noteFont(font.family(), NotePointSize);
        m_note->setFont(noteFont);
        m_note->setText(sender + QStringLiteral("から届きました。"));
        m_note->show();
        const QString tip =
            QStringLiteral("このタブは、") + sender + QStringLiteral(" から送られました。");
        setToolTip(tip);
        m_label->setToolTip(tip);
    } else {
        m_note->clear();
        m_note->hide();
        setToolTip(QString());
        m_label->setToolTip(QString());
    }
    applyColors();

    // Stored values are bounded first: a damaged or hostile record must not ask
    // for a window larger than the screens or placed near the ends of int.
    const QList<QRect> areas = workAreas();
    const QRect stored =
        boundedGeometry(tag.longValue(Tag::PosX), tag.longValue(Tag::PosY),
                        tag.longValue(Tag::Width), tag.longValue(Tag::Height), areas);
    QSize size = fittedSize();
    if (stored.width() > 0) {
        const int b = 2 * borderWidth();
        size = QSize(stored.width(), contentHeight(std::max(1, stored.width() - b)) + b);
    }
    if (stored.height() > 0)
        size.setHeight(stored.height());
    const QRect wanted =
        boundedGeometry(stored.x(), stored.y(), size.width(), size.height(), areas);
    setGeometry(placeTag(wanted, areas, env.autoPosition()));
    m_placed = pos();
    layoutLabels();
    update();
}

bool TagWindow::isBlinking() const
{
    return m_timer1->isActive() && m_timer1->interval() == BlinkMs;
}

void TagWindow::startBlinking()
{
    if (!m_blink)
        return;
    m_swapped = false;
    m_timer1->start(BlinkMs);
    applyColors();
}

int TagWindow::borderWidth() const
{
    return m_frame + (m_look3D ? 2 : 0) + Padding;
}

int TagWindow::maxTextWidth() const
{
    const QScreen *s = screen() ? screen() : QGuiApplication::primaryScreen();
    const int available = s ? s->availableGeometry().width() : 800;
    return std::max(200, available / 2);
}

int TagWindow::contentHeight(int textWidth) const
{
    const int line = QFontMetrics(m_label->font()).height();
    int h = std::max(m_label->heightForWidth(textWidth), line);
    if (!m_note->isHidden())
        h += m_note->heightForWidth(textWidth) + NoteSpacing;
    return h;
}

QSize TagWindow::fittedSize() const
{
    const QString t = m_label->text().isEmpty() ? QStringLiteral(" ") : m_label->text();
    const QFontMetrics fm(m_label->font());
    // The widest line as it stands, then wrapped only where it is too wide. A character's
    // width to spare: the label lays text out with its own rounding and would otherwise
    // wrap the longest line.
    const int natural = fm.boundingRect(QRect(0, 0, QWIDGETSIZE_MAX / 2, QWIDGETSIZE_MAX / 2),
                                        Qt::TextExpandTabs, t)
                            .width() +
                        fm.averageCharWidth();
    int textWidth = std::min(natural, maxTextWidth());
    if (!m_note->isHidden())
        textWidth = std::max(textWidth, std::min(m_note->sizeHint().width(), maxTextWidth()));
    const int b = 2 * borderWidth();
    return QSize(textWidth + b, contentHeight(textWidth) + b);
}

QFont TagWindow::fontOf(const TagRecord &tag)
{
    QFont f = QApplication::font();
    const QString name = tag.text(Tag::FontName);
    if (!name.isEmpty())
        f.setFamilies({name});
    const int size = tag.byte(Tag::FontSize);
    f.setPointSize(size > 0 ? size : DefaultPointSize);
    f.setBold(tag.byte(Tag::FontBold) == 1);
    f.setItalic(tag.byte(Tag::FontItalic) == 1);
    f.setUnderline(tag.byte(Tag::FontUnderline) == 1);
    f.setStrikeOut(tag.byte(Tag::FontStrikeout) == 1);
    return f;
}

bool TagWindow::urlFlag(const QString &text, bool onLabel)
{
    return text.contains(QLatin1String("http://")) ||
           (onLabel && text.contains(QLatin1String("https://")));
}

QList<QRect> TagWindow::workAreas()
{
    QList<QRect> areas;
    const QScreen *primary = QGuiApplication::primaryScreen();
    if (primary)
        areas.append(primary->availableGeometry());
    const QList<QScreen *> screens = QGuiApplication::screens();
    for (const QScreen *s : screens) {
        if (s != primary)
            areas.append(s->availableGeometry());
    }
    return areas;
}

bool TagWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != m_label && watched != m_note)
        return QWidget::eventFilter(watched, event);
    switch (event->type()) {
    case QEvent::MouseButtonPress:
        handlePress(static_cast<QMouseEvent *>(event), watched == m_label);
        return true;
    case QEvent::MouseMove:
        handleMove(static_cast<QMouseEvent *>(event));
        return true;
    case QEvent::MouseButtonRelease:
        handleRelease(static_cast<QMouseEvent *>(event));
        return true;
    case QEvent::MouseButtonDblClick:
        mouseDoubleClickEvent(static_cast<QMouseEvent *>(event));
        return true;
    default:
        return QWidget::eventFilter(watched, event);
    }
}

void TagWindow::mousePressEvent(QMouseEvent *event)
{
    handlePress(event, false);
}

void TagWindow::mouseMoveEvent(QMouseEvent *event)
{
    handleMove(event);
}

void TagWindow::mouseReleaseEvent(QMouseEvent *event)
{
    handleRelease(event);
}

void TagWindow::mouseDoubleClickEvent(QMouseEvent *event)
{
    event->accept();
    if (event->button() == Qt::LeftButton)
        Q_EMIT doubleClicked(m_k);
}

void TagWindow::handlePress(QMouseEvent *event, bool onLabel)
{
    event->accept();
    const QPointer<TagWindow> alive(this);
    Q_EMIT pressed(m_k);
    if (!alive)
        return;
    if (isBlinking()) {
        stopBlinking();
        return;
    }
    const QPoint global = event->globalPosition().toPoint();
    if (event->button() != Qt::LeftButton) {
        Q_EMIT popupRequested(m_k, global, urlFlag(text(), onLabel));
        return;
    }
    // The move starts once the pointer travels, so a plain click or a double-click
    // stays what it is.
    m_drag = Drag::Armed;
    m_pressGlobal = global;
    m_dragStartPos = pos();
}

void TagWindow::handleMove(QMouseEvent *event)
{
    event->accept();
    if (!(event->buttons() & Qt::LeftButton))
        return;
    const QPoint global = event->globalPosition().toPoint();
    if (m_drag == Drag::Armed) {
        if ((global - m_pressGlobal).manhattanLength() < QApplication::startDragDistance())
            return;
        QWindow *w = windowHandle();
        if (w && w->startSystemMove()) {
            m_drag = Drag::System;
            m_moveSettle->start(); // ends the move even if the window never moves
            return;
        }
        // No window manager to do it (or none that offers it): move by hand.
        m_drag = Drag::Manual;
    }
    if (m_drag == Drag::Manual)
        move(m_dragStartPos + global - m_pressGlobal);
}

void TagWindow::handleRelease(QMouseEvent *event)
{
    event->accept();
    if (event->button() != Qt::LeftButton)
        return;
    if (m_drag == Drag::Armed)
        m_drag = Drag::None;
    else if (m_drag != Drag::None)
        finishMove();
}

void TagWindow::finishMove()
{
    m_drag = Drag::None;
    m_moveSettle->stop();
    if (pos() == m_placed)
        return;
    m_placed = pos();
    Q_EMIT moved(m_k, pos());
}

void TagWindow::moveEvent(QMoveEvent *event)
{
    QWidget::moveEvent(event);
    // Moves the window system reports (its own drag, one after ours ended, another
    // program's) end where the window comes to rest; ours are stored as they end.
    if (event->spontaneous() && isVisible() && m_drag != Drag::Manual)
        m_moveSettle->start();
}

void TagWindow::stopBlinking()
{
    m_timer1->stop();
    m_swapped = false;
    applyColors();
}

void TagWindow::applyColors()
{
    const QColor fore = m_swapped ? m_back : m_fore;
    const QColor back = m_swapped ? m_fore : m_back;
    for (QLabel *l : {m_note, m_label}) {
        QPalette p = l->palette();
        p.setColor(QPalette::WindowText, fore);
        l->setPalette(p);
    }
    QPalette p = palette();
    p.setColor(QPalette::Window, back);
    p.setColor(QPalette::WindowText, fore);
    setPalette(p);
    update();
}

void TagWindow::layoutLabels()
{
    const int b = borderWidth();
    QRect area = rect().adjusted(b, b, -b, -b);
    if (!m_note->isHidden()) {
        const int h = m_note->heightForWidth(std::max(1, area.width()));
        m_note->setGeometry(area.left(), area.top(), area.width(), h);
        area.setTop(area.top() + h + NoteSpacing);
    }
    m_label->setGeometry(area);
}

void TagWindow::paintEvent(QPaintEvent *)
{
    QPainter p(this);
    const QColor fore = m_swapped ? m_back : m_fore;
    const QColor back = m_swapped ? m_fore : m_back;
    QRect r = rect();
    p.fillRect(r, back);
    for (int i = 0; i < m_frame; ++i) {
        p.fillRect(QRect(r.left(), r.top(), r.width(), 1), fore);
        p.fillRect(QRect(r.left(), r.bottom(), r.width(), 1), fore);
        p.fillRect(QRect(r.left(), r.top(), 1, r.height()), fore);
        p.fillRect(QRect(r.right(), r.top(), 1, r.height()), fore);
        r.adjust(1, 1, -1, -1);
    }
    if (m_look3D) {
        // A raised edge: light above and left, shadow below and right.
        const QColor light[2] = {QColor(255, 255, 255), QColor(223, 223, 223)};
        const QColor dark[2] = {QColor(64, 64, 64), QColor(128, 128, 128)};
        for (int i = 0; i < 2; ++i) {
            p.fillRect(QRect(r.left(), r.bottom(), r.width(), 1), dark[i]);
            p.fillRect(QRect(r.right(), r.top(), 1, r.height()), dark[i]);
            p.fillRect(QRect(r.left(), r.top(), r.width() - 1, 1), light[i]);
            p.fillRect(QRect(r.left(), r.top(), 1, r.height() - 1), light[i]);
            r.adjust(1, 1, -1, -1);
        }
    }
}

void TagWindow::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    layoutLabels();
}

void TagWindow::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (!event->spontaneous())
        startBlinking();
}

void TagWindow::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    if (isBlinking())
        stopBlinking();
}
