#pragma once

#include "envrecord.h"
#include "tagrecord.h"

#include <QColor>
#include <QFont>
#include <QPoint>
#include <QWidget>

class QLabel;
class QTimer;

// Colours are stored as Windows COLORREF values, 0x00BBGGRR; a value with the top bit
// set names a system colour, taken from the application palette.
namespace ColorRef {
QColor toColor(qint32 colorRef);
qint32 fromColor(const QColor &color);
} // namespace ColorRef

// One tag on the desktop: a borderless tool window showing the message in the tag's
// font, colours and frame. It only reports what the user does; the owner acts on it.
class TagWindow : public QWidget
{
    Q_OBJECT
public:
    static constexpr int BlinkMs = 500;

    TagWindow(int k, const TagRecord &tag, const EnvRecord &env, QWidget *parent = nullptr);

    int tagIndex() const { return m_k; }
    // New look, text, size and place for the same window.
    void refresh(const TagRecord &tag, const EnvRecord &env);
    QString text() const { return m_message; }
    bool isBlinking() const;
    // Starts the 500 ms blink timer when the tag blinks; showing the window does this.
    void startBlinking();
    QLabel *label() const { return m_label; }
    QLabel *noteLabel() const { return m_note; }
    QTimer *timer1() const { return m_timer1; }

    QColor foreColor() const { return m_fore; }
    QColor backColor() const { return m_back; }
    // Pixels between the window's edge and its text: frame, 3-D border and padding.
    int borderWidth() const;
    // The smallest size that shows the whole text, lines wrapped only past maxTextWidth().
    QSize fittedSize() const;
    int maxTextWidth() const;

    // The tag's font as stored (size 0 or no name fall back to the defaults).
    static QFont fontOf(const TagRecord &tag);
    // Whether the pop-up offers to open a URL: the label knows https, the bare window
    // only http.
    static bool urlFlag(const QString &text, bool onLabel);
    // The screens' work areas, primary first.
    static QList<QRect> workAreas();

Q_SIGNALS:
    void pressed(int k);
    void doubleClicked(int k);
    void popupRequested(int k, const QPoint &globalPos, bool urlEnabled);
    void moved(int k, const QPoint &topLeft);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void moveEvent(QMoveEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    int contentHeight(int textWidth) const;
    void handlePress(QMouseEvent *event, bool onLabel);
    void handleMove(QMouseEvent *event);
    void handleRelease(QMouseEvent *event);
    void stopBlinking();
    void applyColors();
    void layoutLabels();
    void finishMove();

    int m_k;
    QString m_message;
    QLabel *m_note;
    QLabel *m_label;
    QTimer *m_timer1;
    QTimer *m_moveSettle;
    QColor m_fore;
    QColor m_back;
    bool m_swapped = false;
    bool m_blink = false;
    int m_frame = 0; // pixels of frame in the text colour
    bool m_look3D = false;

    enum class Drag
    {
        None,
        Armed,
        Manual,
        System
    };
    Drag m_drag = Drag::None;
    QPoint m_pressGlobal;
    QPoint m_dragStartPos;
    QPoint m_placed; // where the window was put or last reported moved to
};
