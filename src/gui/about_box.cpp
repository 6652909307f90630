// The box that tells which program this is.
#include "gui/about_box.h"

#include "gui/guide_link.h"
#include "gui/message_box.h"
#include "gui/program_pictures.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDialog>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QUrl>

namespace {

constexpr int PICTURE_WIDTH = 256;

void open_guide(QWidget *parent, const QUrl &page)
{
    if (!QDesktopServices::openUrl(page))
        show_message_box(parent, QMessageBox::Warning, "Guide",
                         "No program could be started to show the guide. It is\n"
                             + page.toLocalFile());
}

QLabel *make_about_label(QDialog *dialog)
{
    const QString guide = find_guide(QCoreApplication::applicationDirPath());
    auto *label = new QLabel(about_text(guide, dialog->palette().windowText().color().name()));
    label->setTextFormat(Qt::RichText);
    label->setAlignment(Qt::AlignHCenter);
    if (guide.isEmpty())
        return label;
    label->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
    label->setToolTip("The guide is " + guide);
    QObject::connect(label, &QLabel::linkActivated, dialog,
                     [dialog](const QString &link) { open_guide(dialog, QUrl(link)); });
    return label;
}

} // namespace

// KEPT: the first two rows are empty.
void show_about_box(QWidget *parent)
{
    auto *dialog = new QDialog(parent);
    dialog->setWindowTitle("About " + QCoreApplication::applicationName());
    auto *grid = new QGridLayout(dialog);
    grid->setSizeConstraint(QLayout::SetFixedSize);

    auto *picture = new QLabel;
    picture->setPixmap(wide_picture(PICTURE_WIDTH, parent->devicePixelRatioF()));
    grid->addWidget(picture, 2, 0, 1, -1, Qt::AlignHCenter);
    grid->addWidget(make_about_label(dialog), 3, 0, 1, -1, Qt::AlignHCenter);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok);
    QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    grid->addWidget(buttons, 4, 0, 1, -1);
    buttons->button(QDialogButtonBox::Ok)->setFocus(); // the link would have it

    dialog->exec();
    dialog->deleteLater();
}
