// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/imagetablemodel.h"

#include <QWidget>

#include <functional>

class QComboBox;
class QLineEdit;
class QMenu;
class QTableView;

namespace qb {

class ThumbnailLoader;

// The images of a batch as a table a user works in: thumbnails, each
// image's key and status, a filter popup, a search field and sorting.
// Delete takes the chosen images out of the batch, Return or a
// double-click opens one, and the context menu shows it in its folder or
// copies its path.
class ImagesTable final : public QWidget {
    Q_OBJECT

public:
    // `openUrl` opens a file or folder with the desktop's program for it;
    // `exiftool` reads the previews of raw files.
    ImagesTable(std::function<void(const QUrl&)> openUrl, const QString& exiftool,
                QWidget* parent = nullptr);
    ~ImagesTable() override;

    ImageTableModel& model() { return *m_model; }
    ImageTableFilter& filter() { return *m_filter; }
    ThumbnailLoader& thumbnails() { return *m_thumbnails; }
    QTableView* tableView() const { return m_view; }
    QComboBox* filterPopup() const { return m_filterPopup; }
    QLineEdit* searchField() const { return m_searchField; }

    // The chosen images, in the table's order; none when nothing is chosen.
    QStringList selectedPaths() const;
    // Chooses the images whose keys include `key`, and shows the first.
    void selectKey(const QString& key);
    // Adds actions for the chosen images to the context menu, after those
    // every image has; none by default.
    void setMenuExtension(std::function<void(QMenu& menu, const QStringList& paths)> extension)
    {
        m_menuExtension = std::move(extension);
    }

    // Shows the folder of each image in the file manager, the image picked
    // out where the file manager can do that.
    static void showInFolder(const QStringList& paths,
                             const std::function<void(const QUrl&)>& openUrl);

signals:
    // The user asked to take these images out of the batch.
    void removeRequested(const QStringList& paths);
    // The image in hand now belongs to this key.
    void keyChosen(const QString& key);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void build();
    void showContextMenu(const QPoint& position);
    void openCurrent();
    void copyPaths() const;

    std::function<void(const QUrl&)> m_openUrl;
    std::function<void(QMenu&, const QStringList&)> m_menuExtension;
    ThumbnailLoader* m_thumbnails;
    ImageTableModel* m_model;
    ImageTableFilter* m_filter;
    QTableView* m_view = nullptr;
    QComboBox* m_filterPopup = nullptr;
    QLineEdit* m_searchField = nullptr;
};

} // namespace qb
