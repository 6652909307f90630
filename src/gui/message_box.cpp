// A box with a text and "OK" that fits the screen, however long its text is.
#include "gui/message_box.h"

#include <QGridLayout>
#include <QLabel>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>

namespace {

constexpr double MOST_OF_SCREEN = 0.6;

// The box's own label moves into a scroll area in its place, and stays what it is: the box goes on
// setting its text, and screen readers go on finding it.
void let_scroll(QMessageBox &box, QLabel *label, const QSize &most)
{
    auto *layout = qobject_cast<QGridLayout *>(box.layout());
    const int index = layout ? layout->indexOf(label) : -1;
    if (index < 0)
        return;
    int row = 0;
    int column = 0;
    int row_span = 0;
    int column_span = 0;
    layout->getItemPosition(index, &row, &column, &row_span, &column_span);
    layout->removeWidget(label);

    auto *area = new QScrollArea;
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setWidget(label);
    label->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    const QSize whole = label->sizeHint();
    area->setFixedSize(
        std::min(whole.width() + area->verticalScrollBar()->sizeHint().width(), most.width()),
        std::min(whole.height(), most.height()));
    layout->addWidget(area, row, column, row_span, column_span);
}

} // namespace

void show_message_box(QWidget *parent, QMessageBox::Icon icon, const QString &title,
                      const QString &text)
{
    QMessageBox box(icon, title, text, QMessageBox::Ok, parent);
    const QSize most = (parent->screen()->availableGeometry().size() * MOST_OF_SCREEN);
    auto *label = box.findChild<QLabel *>("qt_msgbox_label");
    if (label && label->sizeHint().height() > most.height())
        let_scroll(box, label, most);
    box.exec();
}

// The empty bold tag makes the box take the text for rich text, so that "<br>" breaks lines.
void show_network_errors(QWidget *parent, const QString &errors)
{
    if (!errors.isEmpty())
        show_message_box(parent, QMessageBox::Warning, "Network error", "<b></b>" + errors);
}
