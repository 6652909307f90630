// The words of the list's status column.
#include "gui/status_text.h"

namespace {

QString presence_word(const StatusFacts &facts)
{
    if (!facts.online)
        return "Offline";
    return facts.broken_net ? "Broken net" : "Online";
}

QString activity(const StatusFacts &facts)
{
    if (!facts.upload)
        return facts.is_muted ? ", muted" : "";
    // KEPT: the second word covers only the moment between an upload's end and its removal.
    const bool has_failed = facts.upload->percent <= 99 && !facts.upload->is_active;
    return ", updating " + QString::number(facts.upload->percent) + "%"
        + (has_failed ? " (failed)" : "");
}

// The program's own refusal hides what the device reports about its update.
QString error_notes(const StatusFacts &facts)
{
    const QString &update_error
        = facts.upload_error.isEmpty() ? facts.firmware_update_error : facts.upload_error;

    QString notes;
    for (const QString &error : {update_error, facts.dsp_error})
        if (!error.isEmpty())
            notes += " / " + error;
    return notes;
}

} // namespace

QString status_text(const StatusFacts &facts)
{
    return presence_word(facts) + activity(facts) + error_notes(facts);
}

QString log_title(const QString &product, const QHostAddress &address, const QString &name,
                  bool is_paused)
{
    return "Firmware log (" + product + " at " + address.toString() + " '" + name + "')"
        + (is_paused ? " [PAUSED]" : "");
}
