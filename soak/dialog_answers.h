// Answers whatever dialog opens, as an operator in a hurry would.
#pragma once

#include "simulator/random_source.h"

#include <QObject>
#include <QStringList>
#include <QTimer>

#include <map>

class QDialog;

class DialogAnswers : public QObject
{
    Q_OBJECT

public:
    // `folder` gets the files that are chosen: images to upload and backups.
    DialogAnswers(const QString &folder, uint64_t seed);

    // From now on every dialog is closed at once.
    void refuse_all() { refuses = true; }
    void be_patient() { refuses = false; }

    std::map<QString, qint64> counts = {}; // dialogs by title

private:
    void look();
    void answer(QDialog *dialog);
    void answer_file_dialog(QDialog *dialog);
    void answer_assistant(QDialog *dialog);
    void write_files();

    QString folder;
    simulator::RandomSource random;
    QTimer timer;
    QStringList files = {};
    QDialog *counted = nullptr; // compared, never looked into
    bool refuses = false;
};
