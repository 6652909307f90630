// The head of the property panel: its title, and the buttons of an edit.
#include "gui/panel_head.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QStyle>
#include <QToolButton>

namespace {

// Switched off, a picture has the colour of switched off texts. The style's own way leaves a bright
// picture brighter than the texts of what is on, where the ground is dark.
QIcon with_quiet_picture(QIcon icon, const QColor &quiet)
{
    for (const QSize &size : icon.availableSizes()) {
        QPixmap picture = icon.pixmap(size);
        QPainter painter(&picture);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(picture.rect(), quiet);
        painter.end();
        icon.addPixmap(picture, QIcon::Disabled);
    }
    return icon;
}

// Accessible names equal the tool tips: a picture alone says nothing to a screen reader.
QToolButton *make_tool_button(QStyle *style, QStyle::StandardPixmap picture, const QString &tip)
{
    auto *button = new QToolButton;
    button->setIcon(
        with_quiet_picture(style->standardIcon(picture),
                           button->palette().color(QPalette::Disabled, QPalette::ButtonText)));
    button->setToolTip(tip);
    button->setAccessibleName(tip);
    return button;
}

} // namespace

PanelHead::PanelHead(QWidget *parent)
    : QWidget(parent)
    , edit_button(new QPushButton("Edit"))
    , cancel_button(make_tool_button(style(), QStyle::SP_DialogCancelButton, "Cancel"))
    , confirm_button(make_tool_button(style(), QStyle::SP_DialogApplyButton, "Confirm"))
{
    setObjectName("property_head");
    edit_button->setObjectName("edit_button");
    edit_button->setToolTip("Lets the values of the selected devices be changed (F2)");
    cancel_button->setObjectName("cancel_button");
    confirm_button->setObjectName("confirm_button");
    connect(edit_button, &QPushButton::clicked, this, &PanelHead::edit_pressed);
    connect(cancel_button, &QToolButton::clicked, this, &PanelHead::cancel_pressed);
    connect(confirm_button, &QToolButton::clicked, this, &PanelHead::confirm_pressed);

    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new QLabel("<b>Properties"));
    layout->addWidget(edit_button, 1);
    layout->addWidget(cancel_button);
    layout->addWidget(confirm_button);
    show_mode(false, false);
}

void PanelHead::show_mode(bool is_editing, bool can_begin)
{
    confirm_button->setEnabled(is_editing);
    cancel_button->setEnabled(is_editing);
    edit_button->setEnabled(!is_editing && can_begin);
}
