// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFileDialog>
#include <QList>
#include <QUrl>

namespace qb {

// An open dialog in which files and folders can be chosen together, which
// the platform's dialogs don't offer. `accessory` is placed below the file
// list.
class FileAndFolderDialog : public QFileDialog {
    Q_OBJECT

public:
    explicit FileAndFolderDialog(QWidget* parent = nullptr, QWidget* accessory = nullptr);

    // What was chosen when the dialog was accepted, files and folders alike.
    const QList<QUrl>& chosenUrls() const { return m_chosen; }

public slots:
    void accept() override;
    // However the dialog ends, no popup of it is left behind.
    void done(int result) override;

private:
    QList<QUrl> m_chosen;
};

} // namespace qb
