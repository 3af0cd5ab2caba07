// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>
#include <QUrl>
#include <QWidget>

class QLineEdit;
class QPushButton;

namespace qb {

// Shows a file's path, takes a file dropped on it or chosen with a file
// dialog, and opens the file's folder on a double-click.
class PathControl : public QWidget {
    Q_OBJECT

public:
    explicit PathControl(QWidget* parent = nullptr);

    const QUrl& url() const { return m_url; }
    // Shows `url` without sending the action; an empty URL clears the control.
    void setUrl(const QUrl& url);
    // Name filters of the file dialog, such as "CSV files (*.csv)".
    void setNameFilters(const QStringList& filters) { m_nameFilters = filters; }

    // The file dialog, with the same effect as a drop.
    void chooseFile();

signals:
    // A file was dropped or chosen; url() holds it.
    void action();
    // The folder that holds the shown file.
    void doubleAction(const QUrl& folder);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void take(const QUrl& url);

    QUrl m_url;
    QStringList m_nameFilters;
    QLineEdit* m_path;
    QPushButton* m_choose;
};

} // namespace qb
