// Commands without a state of their own: blink, forget the AES67 sessions, tell about the program.
#include "gui/gui.h"
#include "link/command.h"

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

// It stays that a failure shows nowhere: who looks at the loudspeakers sees it.
void Gui::identify_selected()
{
    for (Device *device : selected_devices())
        send_to_device(device, device_command("blink_leds"), false);
}

// All are sent before the box opens: while it is open, devices may go.
void Gui::purge_sessions()
{
    QJsonObject command = device_command("sap_purge");
    command.insert("age", 0);
    command.insert("blocktime", 1);
    QString errors;
    for (Device *device : selected_devices())
        report_device_error(errors, device, send_to_device(device, command, false));
    show_network_errors(errors);
}

// It stays that the first two rows are empty.
void Gui::show_about()
{
    auto *dialog = new QDialog(this);
    dialog->setWindowTitle("About " + QCoreApplication::applicationName());
    auto *grid = new QGridLayout(dialog);
    grid->setSizeConstraint(QLayout::SetFixedSize);

    auto *picture = new QLabel;
    picture->setPixmap(
        QPixmap(":/icons/VELMARK.png").scaledToWidth(PICTURE_WIDTH, Qt::SmoothTransformation));
    grid->addWidget(picture, 2, 0, 1, -1, Qt::AlignHCenter);
    auto *text = new QLabel(about_text());
    text->setTextFormat(Qt::RichText);
    text->setAlignment(Qt::AlignHCenter);
    grid->addWidget(text, 3, 0, 1, -1, Qt::AlignHCenter);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok);
    connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    grid->addWidget(buttons, 4, 0, 1, -1);

    dialog->exec();
    dialog->deleteLater();
}
