// The line at the window's bottom: the message of the moment, a bar for uploads, and the counts.
#pragma once

#include "firmware/upload_summary.h"
#include "gui/edit_rules.h"
#include "gui/status_bar_text.h"
#include "gui/status_messages.h"

#include <QStatusBar>
#include <QTimer>

class ElidedLabel;
class QLabel;
class QProgressBar;

class StatusLine : public QStatusBar
{
    Q_OBJECT

public:
    StatusLine();

    void show_counts(const DeviceCounts &counts);
    void show_editing(int devices, int unshared);
    void end_editing();
    void show_command(const QString &text); // for 10 s
    void show_uploads(const UploadSummary &summary);
    void show_troubles(const QStringList &troubles);
    void show_confirmed(const ConfirmResult &result);
    void show_second_copy();
    int counts_received() const { return received; } // how often show_counts was called

private:
    void refresh();
    void forget_result();

    StatusMessages messages;
    DeviceCounts shown_counts;
    int received = 0;
    bool is_uploading = false;
    ElidedLabel *message = nullptr;
    QProgressBar *progress = nullptr;
    QLabel *counts_label = nullptr;
    QTimer command_timer{this}; // single-shot: when the message of a command goes
};
