// Commands without a state of their own: blink, forget the AES67 sessions, tell about the program.
#include "gui/gui.h"
#include "gui/program_pictures.h"
#include "gui/status_line.h"
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

// KEPT: a failure shows nowhere: who looks at the loudspeakers sees it.
void Gui::identify_selected()
{
    int asked = 0;
    for (Device *device : selected_devices())
        asked += send_to_device(device, device_command("blink_leds"), false).isEmpty();
    if (asked > 0)
        status_line->show_command(identify_text(asked));
}

// All are sent before the box opens: while it is open, devices may go.
void Gui::purge_sessions()
{
    QJsonObject command = device_command("sap_purge");
    command.insert("age", 0);
    command.insert("blocktime", 1);
    QString errors;
    int asked = 0;
    for (Device *device : selected_devices()) {
        const QString error = send_to_device(device, command, false);
        report_device_error(errors, device, error);
        asked += error.isEmpty();
    }
    if (asked > 0)
        status_line->show_command(purge_text(asked));
    show_network_errors(errors);
}

// KEPT: the first two rows are empty.
void Gui::show_about()
{
    auto *dialog = new QDialog(this);
    dialog->setWindowTitle("About " + QCoreApplication::applicationName());
    auto *grid = new QGridLayout(dialog);
    grid->setSizeConstraint(QLayout::SetFixedSize);

    auto *picture = new QLabel;
    picture->setPixmap(wide_picture(PICTURE_WIDTH, devicePixelRatioF()));
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
