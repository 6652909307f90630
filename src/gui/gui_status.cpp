// What the line at the window's bottom is told, and when.
#include "gui/gui.h"
#include "gui/status_line.h"

// Whatever may change the counts only asks: they are made once per painted frame.
void Gui::build_status_line()
{
    status_line = new StatusLine;
    setStatusBar(status_line);
    if (copy_lock.is_second_copy())
        status_line->show_second_copy();
    connect(&device_link, &DeviceLink::bind_troubles_changed, this,
            [this] { status_line->show_troubles(device_link.bind_troubles()); });
    status_line->show_troubles(device_link.bind_troubles());

    connect(&panel, &PropertyPanel::edit_started, this, [this] {
        status_line->show_editing(static_cast<int>(selected_devices().size()),
                                  panel.count_unshared());
    });
    connect(&panel, &PropertyPanel::edit_ended, status_line, &StatusLine::end_editing);
    connect(this, &Gui::changes_sent, status_line, &StatusLine::show_confirmed);

    const auto ask = [this] { status_pace.ask(); };
    connect(&table, &DeviceTable::counts_changed, this, ask);
    connect(&uploads, &Uploads::summary_changed, this, ask);
    connect(&status_pace, &FrameThrottle::due, this, &Gui::refresh_status);
}

void Gui::refresh_status()
{
    status_line->show_counts(table.counts());
    status_line->show_uploads(uploads.summary());
}
