// The box that tells which program this is.
#include "gui/about_box.h"

#include "gui/program_pictures.h"

#include <QCoreApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>

namespace {

constexpr int PICTURE_WIDTH = 256;

QString about_text()
{
    return QCoreApplication::applicationName() + "<br>Version "
        + QCoreApplication::applicationVersion() + "<br>Made by VELMARK audio works GmbH"
        + "<br>Built with the Qt toolkit, version " + qVersion();
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
    auto *text = new QLabel(about_text());
    text->setTextFormat(Qt::RichText);
    text->setAlignment(Qt::AlignHCenter);
    grid->addWidget(text, 3, 0, 1, -1, Qt::AlignHCenter);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok);
    QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    grid->addWidget(buttons, 4, 0, 1, -1);

    dialog->exec();
    dialog->deleteLater();
}
