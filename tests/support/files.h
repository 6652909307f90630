// Files that tests write and look at, and a folder of their own for settings.
#pragma once

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

// "no file" for what can't be opened.
inline QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
}

// The file holds this text and nothing else.
inline void put(const QString &path, const QByteArray &text)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(text), qint64{text.size()});
}

// Settings of a program named "Program" by "Makers", which go with this object.
class SettingsFolder
{
public:
    SettingsFolder()
    {
        QCoreApplication::setOrganizationName("Makers");
        QCoreApplication::setApplicationName("Program");
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder.path());
        if (!QDir(folder.path()).mkpath("Makers"))
            qFatal("no folder for settings");
    }

    QString path() const { return folder.path(); }
    QString filePath(const QString &name) const { return folder.filePath(name); }

private:
    QTemporaryDir folder;
};
