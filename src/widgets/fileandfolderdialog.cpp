// SPDX-License-Identifier: GPL-3.0-or-later
#include "fileandfolderdialog.h"

#include <QAbstractItemView>
#include <QCompleter>
#include <QFileSystemModel>
#include <QGridLayout>
#include <QLineEdit>
#include <QListView>
#include <QTreeView>

namespace qb {

FileAndFolderDialog::FileAndFolderDialog(QWidget* parent, QWidget* accessory)
    : QFileDialog(parent)
{
    // Only Qt's own dialog lets a folder be chosen beside files.
    setOption(QFileDialog::DontUseNativeDialog, true);
    setFileMode(QFileDialog::ExistingFiles);
    for (auto* view : findChildren<QAbstractItemView*>())
        if (qobject_cast<QListView*>(view) || qobject_cast<QTreeView*>(view))
            view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    if (accessory) {
        if (auto* grid = qobject_cast<QGridLayout*>(layout()))
            grid->addWidget(accessory, grid->rowCount(), 0, 1, grid->columnCount());
    }
}

void FileAndFolderDialog::accept()
{
    m_chosen.clear();
    // The file list's selection holds folders too; the line edit alone
    // would only give files.
    auto* list = findChild<QListView*>(QStringLiteral("listView"));
    if (list && list->selectionModel()) {
        if (const auto* model = qobject_cast<const QFileSystemModel*>(list->model()))
            for (const QModelIndex& index : list->selectionModel()->selectedRows())
                m_chosen << QUrl::fromLocalFile(model->filePath(index));
    }
    if (m_chosen.isEmpty())
        for (const QString& file : selectedFiles())
            m_chosen << QUrl::fromLocalFile(file);
    QDialog::accept();
}

void FileAndFolderDialog::done(int result)
{
    // The completion list of a typed path is a popup of its own: left open
    // after Return accepted the dialog, it stays over the window and eats the
    // user's next click.
    for (QLineEdit* edit : findChildren<QLineEdit*>())
        if (QCompleter* completer = edit->completer(); completer && completer->popup())
            completer->popup()->hide();
    QFileDialog::done(result);
}

} // namespace qb
