// The line at the window's bottom: the message of the moment, a bar for uploads, and the counts.
#include "gui/status_line.h"

#include "gui/elided_label.h"

#include <QLabel>
#include <QProgressBar>

namespace {

constexpr int COMMAND_TIME = 10000; // ms
constexpr int PROGRESS_WIDTH = 160; // points
constexpr int LEFT_INDENT = 2;      // points, beside a margin of the bar's own
constexpr int RIGHT_INDENT = 4;     // points

} // namespace

// The message takes what the others leave, and is cut rather than widening the window.
StatusLine::StatusLine()
    : message(new ElidedLabel)
    , progress(new QProgressBar)
    , counts_label(new QLabel)
{
    message->setObjectName("status_message");
    counts_label->setObjectName("status_counts");
    counts_label->setToolTip("Devices in the list, how many of them are online, selected and "
                             "hidden");
    progress->setFixedWidth(PROGRESS_WIDTH);
    progress->setMaximumHeight(message->sizeHint().height());
    progress->setRange(0, 100);
    progress->setTextVisible(false);
    progress->setAccessibleName("Progress of the uploads");
    progress->hide();
    // It begins and ends where the list and the panel above do.
    message->setContentsMargins(LEFT_INDENT, 0, 0, 0);
    counts_label->setContentsMargins(0, 0, RIGHT_INDENT, 0);
    addWidget(message, 1);
    addPermanentWidget(progress);
    addPermanentWidget(counts_label);
    counts_label->setText(counts_text(shown_counts));
    connect(message, &ElidedLabel::clicked, this, &StatusLine::forget_result);

    command_timer.setObjectName("command_timer");
    command_timer.setSingleShot(true);
    command_timer.setInterval(COMMAND_TIME);
    connect(&command_timer, &QTimer::timeout, this, [this] { show_command(QString()); });
}

void StatusLine::show_counts(const DeviceCounts &counts)
{
    ++received;
    if (counts == shown_counts)
        return;
    shown_counts = counts;
    counts_label->setText(counts_text(counts));
}

void StatusLine::show_editing(int devices, int unshared)
{
    messages.put(MessageKind::EDITING, editing_text(devices, unshared));
    refresh();
}

void StatusLine::end_editing()
{
    messages.put(MessageKind::EDITING, QString());
    refresh();
}

void StatusLine::show_command(const QString &text)
{
    messages.put(MessageKind::COMMAND, text);
    if (!text.isEmpty())
        command_timer.start();
    refresh();
}

void StatusLine::show_confirmed(const ConfirmResult &result)
{
    show_command(confirmed_text(result.sent, result.devices, result.differing > 0));
}

// While transfers run the message keeps its place behind newer ones; their end is news.
void StatusLine::show_uploads(const UploadSummary &summary)
{
    const bool has_changed_state = is_uploading != (summary.running > 0);
    is_uploading = summary.running > 0;
    messages.put(MessageKind::UPLOADS, upload_message(summary), upload_failure_list(summary),
                 has_changed_state || !is_uploading);
    progress->setVisible(is_uploading);
    progress->setValue(summary.percent);
    refresh();
}

void StatusLine::show_troubles(const QStringList &troubles)
{
    messages.put(MessageKind::BIND_TROUBLE, troubles.join(" "), troubles.join('\n'), false);
    refresh();
}

void StatusLine::show_second_copy()
{
    messages.put(MessageKind::SECOND_COPY, second_copy_text());
    refresh();
}

// A click on what came of the uploads says that it was read.
void StatusLine::forget_result()
{
    if (is_uploading || !messages.is_shown(MessageKind::UPLOADS))
        return;
    messages.put(MessageKind::UPLOADS, QString());
    refresh();
}

void StatusLine::refresh()
{
    const StatusMessage &shown = messages.shown();
    message->setText(shown.text);
    message->setToolTip(shown.tip.isEmpty() ? shown.text : shown.tip);
}
