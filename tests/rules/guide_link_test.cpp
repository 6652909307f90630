// Where the guide is looked for, and how the About box names it.
#include "gui/guide_link.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

class GuideLinkTest : public QObject
{
    Q_OBJECT

private slots:
    void the_guide_lies_beside_the_programs_folder_or_above_it_data()
    {
        QTest::addColumn<QString>("program");
        QTest::newRow("installed") << "bin";
        QTest::newRow("in a build") << "src/gui";
    }
    void the_guide_lies_beside_the_programs_folder_or_above_it()
    {
        QFETCH(const QString, program);
        const QTemporaryDir folder;
        const QDir root(QFileInfo(folder.path()).canonicalFilePath());
        const QString guide = "share/doc/velmark-network-manager/guide";
        QVERIFY(root.mkpath(program) && root.mkpath(guide));
        QCOMPARE(find_guide(root.filePath(program)), QString());
        QVERIFY(root.mkdir(guide + "/index.html")); // a folder is no page
        QCOMPARE(find_guide(root.filePath(program)), QString());
        QVERIFY(root.rmdir(guide + "/index.html"));
        QFile page(root.filePath(guide + "/index.html"));
        QVERIFY(page.open(QIODevice::WriteOnly));
        QCOMPARE(find_guide(root.filePath(program)), page.fileName());
    }

    void only_a_guide_that_is_there_is_linked()
    {
        QVERIFY(!about_text({}, "red").contains("Guide"));
        const QString text = about_text("/a folder/index.html", "#123456");
        QVERIFY2(text.contains("<a href=\"file:///a%20folder/index.html\" "
                               "style=\"color: #123456\">Guide</a>"),
                 qPrintable(text));
    }

    void four_lines_tell_name_version_makers_and_toolkit()
    {
        QCoreApplication::setApplicationName("Name");
        QCoreApplication::setApplicationVersion("7.8");
        QCOMPARE(about_text({}, {}).split("<br>"),
                 QStringList({"Name", "Version 7.8", "Made by VELMARK audio works GmbH",
                              QString("Built with the Qt toolkit, version ") + qVersion()}));
    }
};

QTEST_GUILESS_MAIN(GuideLinkTest)

#include "guide_link_test.moc"
