// A headline and a hint in the middle of an empty list, and when they are due.
#include "gui/empty_note.h"

#include <QEvent>
#include <QVBoxLayout>

namespace {

constexpr int ANSWER_TIME = 3000; // ms: six rounds of discovery

} // namespace

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
    list->viewport()->installEventFilter(this);
    hide();
    patience.setSingleShot(true);
    patience.setInterval(ANSWER_TIME);
    connect(&patience, &QTimer::timeout, this, &EmptyNote::due);
    connect(&throttle, &FrameThrottle::due, this, &EmptyNote::due);
}

void EmptyNote::set_network(const QString &name)
{
    if (name == network && patience.isActive())
        return;
    network = name;
    begin_patience();
    ask();
}

void EmptyNote::begin_patience()
{
    patience.start();
}

void EmptyNote::show_counts(int devices, int hidden, const QString &search)
{
    throttle.note_done();
    show_texts(empty_texts({.network = network,
                            .devices = devices,
                            .hidden = hidden,
                            .search = search,
                            .has_waited = !patience.isActive()}));
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
