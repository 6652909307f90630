// A program with rights of its own takes no plug-ins from where its caller says.
#include "gui/plugin_paths.h"

#include <QtTest>

#include <vector>

class PluginPathsTest : public QObject
{
    Q_OBJECT

    static QStringList kept(QList<QByteArray> arguments)
    {
        std::vector<char *> values;
        for (QByteArray &argument : arguments)
            values.push_back(argument.data());
        const int before = static_cast<int>(values.size());
        values.push_back(nullptr);
        const int count = forget_plugin_paths(before, values.data());
        if (values[static_cast<size_t>(count)])
            return {"no end"};
        QStringList result;
        for (int i = 0; i < count; ++i)
            result.append(values[static_cast<size_t>(i)]);
        return result;
    }

private slots:
    void the_variables_are_forgotten_and_no_others()
    {
        qputenv("QT_PLUGIN_PATH", "/tmp");
        qputenv("QT_QPA_PLATFORM_PLUGIN_PATH", "/tmp");
        qputenv("QT_SCALE_FACTOR", "2");
        kept({"program"});
        QVERIFY(!qEnvironmentVariableIsSet("QT_PLUGIN_PATH"));
        QVERIFY(!qEnvironmentVariableIsSet("QT_QPA_PLATFORM_PLUGIN_PATH"));
        QCOMPARE(qgetenv("QT_SCALE_FACTOR"), QByteArray("2"));
    }

    void the_argument_is_forgotten_with_its_path()
    {
        QCOMPARE(kept({"program", "-platformpluginpath", "/tmp", "-style", "fusion"}),
                 QStringList({"program", "-style", "fusion"}));
        QCOMPARE(kept({"program", "--platformpluginpath", "/tmp"}), QStringList("program"));
        QCOMPARE(kept({"program", "-platformpluginpath"}), QStringList("program"));
        QCOMPARE(kept({"-platformpluginpath", "a"}), QStringList({"-platformpluginpath", "a"}));
    }

    void a_test_has_no_rights_of_its_own() { QVERIFY(!has_rights_of_its_own()); }
};

QTEST_GUILESS_MAIN(PluginPathsTest)
#include "plugin_paths_test.moc"
