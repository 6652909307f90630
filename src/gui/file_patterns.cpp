// File dialogs that open at once where thousands of files lie.
#include "gui/file_patterns.h"

#include <QFileDialog>
#include <QFileSystemModel>
#include <QSortFilterProxyModel>

namespace {

// All folders, and the files whose names end so.
class FilesByEnding : public QSortFilterProxyModel
{
public:
    FilesByEnding(QFileSystemModel *its_files, QString its_ending, QObject *parent)
        : QSortFilterProxyModel(parent)
        , files(its_files)
        , ending(std::move(its_ending))
    {
    }

    // The files come sorted from below.
    void sort(int column, Qt::SortOrder order) override { files->sort(column, order); }

protected:
    bool filterAcceptsRow(int row, const QModelIndex &folder) const override
    {
        const QModelIndex index = files->index(row, 0, folder);
        return files->fileName(index).endsWith(ending, Qt::CaseInsensitive) || files->isDir(index);
    }

private:
    QFileSystemModel *files;
    QString ending;
};

} // namespace

void spare_patterns(QFileDialog &dialog, const char *ending)
{
    auto *files = dialog.findChild<QFileSystemModel *>();
    if (!files)
        return;
    if (*ending)
        dialog.setProxyModel(new FilesByEnding(files, ending, &dialog));
    files->setNameFilters({});
    // The operator may choose the one kind once more, which sets its pattern again.
    QObject::connect(&dialog, &QFileDialog::filterSelected, files,
                     [files] { files->setNameFilters({}); });
}
