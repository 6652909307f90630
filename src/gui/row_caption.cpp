// The caption of a row: gives way to the editors by ending in dots, and stands out when edited.
#include "gui/row_caption.h"

#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

namespace {

constexpr int FEWEST_LETTERS = 6; // that a caption keeps however narrow the panel is

QFontMetrics bold_metrics(QFont font)
{
    font.setBold(true);
    return QFontMetrics(font);
}

} // namespace

RowCaption::RowCaption(const QString &text)
    : QLabel(text)
{
    setTextFormat(Qt::PlainText);
}

void RowCaption::set_group(const QString &heading)
{
    group = heading;
}

void RowCaption::set_marked(bool is_marked)
{
    if (font().bold() == is_marked)
        return;
    QFont marked = font();
    marked.setBold(is_marked);
    setFont(marked);
}

bool RowCaption::is_marked() const
{
    return font().bold();
}

QSize RowCaption::sizeHint() const
{
    return {bold_metrics(font()).horizontalAdvance(text()), QLabel::sizeHint().height()};
}

QSize RowCaption::minimumSizeHint() const
{
    const QString start = text().left(FEWEST_LETTERS) + QChar(0x2026);
    return {qMin(sizeHint().width(), bold_metrics(font()).horizontalAdvance(start)),
            QLabel::minimumSizeHint().height()};
}

void RowCaption::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    const QString shown = fontMetrics().elidedText(text(), Qt::ElideRight, width());
    style()->drawItemText(&painter, rect(), static_cast<int>(alignment()), palette(), isEnabled(),
                          shown, foregroundRole());
}

bool RowCaption::event(QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return QLabel::event(event);
    QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(), tip(), this);
    return true;
}

QString RowCaption::tip() const
{
    if (!group.isEmpty())
        return group + ": " + text();
    return is_cut() ? text() : QString();
}

bool RowCaption::is_cut() const
{
    return fontMetrics().horizontalAdvance(text()) > width();
}
