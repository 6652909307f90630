// What came of the uploads that were started together, in the words of the status bar.
#include "firmware/upload_summary.h"

#include <QStringList>

#include <algorithm>

namespace {

constexpr size_t MOST_NAMES = 5;

QString failed_names(const std::vector<UploadFailure> &failures)
{
    QStringList names;
    for (size_t i = 0; i < std::min(failures.size(), MOST_NAMES); ++i)
        names.append(failures[i].device);
    if (failures.size() > MOST_NAMES)
        names.append(QStringLiteral("and ") + QString::number(failures.size() - MOST_NAMES)
                     + QStringLiteral(" more"));
    return names.join(QStringLiteral(", "));
}

} // namespace

QString upload_message(const UploadSummary &summary)
{
    if (summary.total == 0)
        return {};
    if (summary.running > 0)
        return QStringLiteral("Updating ") + QString::number(summary.running)
            + (summary.running == 1 ? QStringLiteral(" device, ") : QStringLiteral(" devices, "))
            + QString::number(summary.percent) + QStringLiteral(" %");
    const QString count = QString::number(summary.succeeded) + QStringLiteral(" of ")
        + QString::number(summary.total) + QStringLiteral(" uploads succeeded");
    if (summary.failures.empty())
        return count + QStringLiteral(".");
    return count + QStringLiteral("; failed: ") + failed_names(summary.failures);
}

QString upload_failure_list(const UploadSummary &summary)
{
    QStringList lines;
    for (const UploadFailure &failure : summary.failures)
        lines.append(failure.device + QStringLiteral(": ") + failure.reason);
    return lines.join(QLatin1Char('\n'));
}
