// Where the guide lies on this computer, and the About box's words with the link to it.
#include "gui/guide_link.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QUrl>

QString find_guide(const QString &program_folder)
{
    const QString page = QStringLiteral("/share/doc/velmark-network-manager/guide/index.html");
    for (const QString &prefix : {program_folder + QStringLiteral("/.."),     // bin
                                  program_folder + QStringLiteral("/../..")}) // src/gui of a build
        if (const QFileInfo file(prefix + page); file.isFile())
            return file.canonicalFilePath();
    return {};
}

QString about_text(const QString &guide_page, const QString &link_colour)
{
    const QString link = guide_page.isEmpty()
        ? QString()
        : QStringLiteral(" · <a href=\"%1\" style=\"color: %2\">Guide</a>")
              .arg(QString::fromLatin1(QUrl::fromLocalFile(guide_page).toEncoded()), link_colour);
    return QCoreApplication::applicationName() + QStringLiteral("<br>Version ")
        + QCoreApplication::applicationVersion()
        + QStringLiteral("<br>Made by VELMARK audio works GmbH") + link
        + QStringLiteral("<br>Built with the Qt toolkit, version ")
        + QString::fromLatin1(qVersion());
}
