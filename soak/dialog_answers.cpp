// Answers whatever dialog opens, as an operator in a hurry would.
#include "soak/dialog_answers.h"

#include "firmware/deppen_ass.h"
#include "support/image_file.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QtTest>

namespace {

constexpr int LOOKING_INTERVAL = 100; // ms

void press_default(QDialog *dialog)
{
    const auto *box = dialog->findChild<QDialogButtonBox *>();
    if (!box || box->buttons().isEmpty())
        return dialog->reject();
    for (QAbstractButton *button : box->buttons())
        if (box->buttonRole(button) == QDialogButtonBox::AcceptRole
            || box->buttonRole(button) == QDialogButtonBox::YesRole)
            return button->click();
    dialog->reject();
}

} // namespace

DialogAnswers::DialogAnswers(const QString &its_folder, uint64_t seed)
    : folder(its_folder)
    , random(seed)
{
    write_files();
    connect(&timer, &QTimer::timeout, this, &DialogAnswers::look);
    timer.start(LOOKING_INTERVAL);
}

// Good and bad images, and a place for backups, which is no backup before the first is saved.
void DialogAnswers::write_files()
{
    const QByteArray image = stand_in_image();
    const std::map<QString, QByteArray> contents = {{"good.bin", image},
                                                    {"short.bin", image.left(image.size() / 2)},
                                                    {"none.bin", {}},
                                                    {"text.bin", "not an image"},
                                                    {"large.bin", QByteArray(300'000, 'x')}};
    for (const auto &[name, content] : contents) {
        write_test_file(QDir(folder).filePath(name), content);
        files.append(QDir(folder).filePath(name));
    }
    files.append({files.first(), QDir(folder).filePath("backup.ntd")});
}

void DialogAnswers::look()
{
    auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
    if (!dialog) {
        counted = nullptr;
        return;
    }
    if (dialog != counted)
        ++counts[dialog->windowTitle().isEmpty() ? "(assistant)" : dialog->windowTitle()];
    counted = dialog;
    if (!refuses && !random.happens(40))
        return;
    // Not from here: the answer may open a further dialog, for which this timer has to go on.
    const QPointer<QDialog> waiting = dialog;
    QTimer::singleShot(0, this, [this, waiting] { answer(waiting); });
}

void DialogAnswers::answer(QDialog *dialog)
{
    if (!dialog)
        return;
    if (refuses)
        dialog->reject();
    else if (qobject_cast<QFileDialog *>(dialog))
        answer_file_dialog(dialog);
    else if (qobject_cast<DeppenAss *>(dialog))
        answer_assistant(dialog);
    else
        press_default(dialog);
}

void DialogAnswers::answer_file_dialog(QDialog *dialog)
{
    auto *name = dialog->findChild<QLineEdit *>("fileNameEdit");
    if (!name || random.happens(15))
        return dialog->reject();
    const bool saves = qobject_cast<QFileDialog *>(dialog)->acceptMode() == QFileDialog::AcceptSave;
    name->setText(saves ? files.last() : files.at(random.below(files.size())));
    press_default(dialog);
}

// Goes on, goes back, or gives up.
void DialogAnswers::answer_assistant(QDialog *dialog)
{
    if (random.happens(20)) {
        dialog->close();
        return;
    }
    if (auto *products = dialog->findChild<QComboBox *>())
        products->setCurrentIndex(random.below(products->count()));
    const QList<QPushButton *> buttons = dialog->findChildren<QPushButton *>();
    if (!buttons.isEmpty())
        buttons.at(random.below(buttons.size()))->click();
}
