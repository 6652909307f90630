// A headline and a hint in the middle of an empty list.
#include "gui/empty_note.h"

#include <QEvent>
#include <QVBoxLayout>

EmptyNote::EmptyNote(QAbstractScrollArea *its_list)
    : QWidget(its_list)
    , list(its_list)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    auto *layout = new QVBoxLayout(this);
    layout->addStretch();
    for (QLabel *label : {&headline, &hint}) {
        // Names of networks and searched texts are no markup.
        label->setTextFormat(Qt::PlainText);
        label->setAlignment(Qt::AlignCenter);
        label->setWordWrap(true);
        layout->addWidget(label);
    }
    layout->addStretch();
    QFont font = headline.font();
    font.setBold(true);
    headline.setFont(font);
    set_dark_theme(false);
    list->viewport()->installEventFilter(this);
    hide();
}

void EmptyNote::show_texts(const EmptyTexts &texts)
{
    headline.setText(texts.headline);
    hint.setText(texts.hint);
    setGeometry(list->viewport()->geometry());
    setVisible(!texts.headline.isEmpty());
}

// Greys that can be read on the lists' grounds, light and dark.
void EmptyNote::set_dark_theme(bool is_dark)
{
    QPalette colours = palette();
    colours.setColor(QPalette::WindowText, is_dark ? QColor("#b0b0b0") : QColor("#666666"));
    for (QLabel *label : {&headline, &hint})
        label->setPalette(colours);
}

bool EmptyNote::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize || event->type() == QEvent::Move)
        setGeometry(list->viewport()->geometry());
    return QWidget::eventFilter(watched, event);
}
