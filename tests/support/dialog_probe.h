// Answers modal dialogs: waits for one, keeps its texts, and presses what the test asks for.
#pragma once

#include <QAbstractButton>
#include <QApplication>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QTimer>
#include <QtTest>

#include <functional>

class DialogProbe : public QObject
{
public:
    using Answer = std::function<void(QDialog *)>;

    QStringList titles = {};
    QStringList texts = {}; // of message boxes

    // What is done with each dialog that opens; by default it is accepted.
    Answer answer = [](QDialog *dialog) { press_default(dialog); };

    DialogProbe()
    {
        poll.setInterval(5);
        connect(&poll, &QTimer::timeout, this, &DialogProbe::look);
        poll.start();
    }

    // Answers file dialogs with this path, and all other dialogs with their button.
    void choose_file(const QString &path)
    {
        answer = [path](QDialog *dialog) {
            if (qobject_cast<QFileDialog *>(dialog))
                dialog->findChild<QLineEdit *>("fileNameEdit")->setText(path);
            press_default(dialog);
        };
    }

    static void cancel(QDialog *dialog) { QTest::keyClick(dialog, Qt::Key_Escape); }

    static void press_default(QDialog *dialog)
    {
        auto *box = dialog->findChild<QDialogButtonBox *>();
        for (QAbstractButton *button : box->buttons())
            if (box->buttonRole(button) == QDialogButtonBox::AcceptRole
                || box->buttonRole(button) == QDialogButtonBox::YesRole)
                return button->click();
    }

private:
    void look()
    {
        auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        // An answer that failed has left it open, and the test waits for it.
        if (dialog && QTest::currentTestFailed())
            return dialog->reject();
        if (!dialog || dialog == seen)
            return;
        seen = dialog;
        titles.append(dialog->windowTitle());
        if (auto *message = qobject_cast<QMessageBox *>(dialog))
            texts.append(message->text());
        answer(dialog);
    }

    QTimer poll;
    QPointer<QDialog> seen;
};
