// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sources/imageplan.h"

#include "exif/fileoutcomes.h"

#include <QAbstractTableModel>
#include <QCache>
#include <QFuture>
#include <QHash>
#include <QIcon>
#include <QSortFilterProxyModel>

#include <atomic>
#include <memory>

namespace qb {

class ThumbnailLoader;

// The images of a batch, one row each, with what the next write does with
// them and, once it has run, what it did. The plan is worked out on the
// pool and comes in batches; until its batch comes an image reads
// "Checking…". Thumbnails are asked for as the view paints their rows.
class ImageTableModel final : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { thumbnailColumn, nameColumn, folderColumn, keyColumn, statusColumn, columns };
    enum Role {
        stateRole = Qt::UserRole + 1, // int(ImageState)
        sortRole,
        pathRole,
        keysRole,    // QStringList
        flaggedRole, // written, but the plan asks to check it first
    };

    explicit ImageTableModel(ThumbnailLoader* thumbnails = nullptr, QObject* parent = nullptr);
    ~ImageTableModel() override;

    // Replaces the images. Images that stay keep their row, their plan and
    // their outcome, so that a removal keeps the rest as they were.
    void setImages(const QStringList& paths);
    const QStringList& paths() const { return m_paths; }
    // Works the plan out anew for the images in force; `inputs.images` is
    // filled in here. An outcome stays on an image whose plan is the same.
    void plan(ImagePlanInputs inputs);
    bool isPlanned() const { return m_pending == 0; }
    // Shows a plan made elsewhere, as by barcode cards: the images in its
    // order, each with its entry and the group it belongs to, shown as its
    // key. Stops the plan being worked out; the next plan() or setImages()
    // shows the images as before.
    void showPlanned(const QStringList& paths, std::vector<ImagePlanEntry> entries,
                     const QStringList& groups);
    // What the last write did with each of its files.
    void setOutcomes(const FileOutcomes& outcomes);

    const ImagePlanEntry& entry(int row) const;
    // "A101_0001.jpg, A101, Will be written, 5 tags": the row as it is read.
    QString spokenRow(int row) const;
    int rowOf(const QString& path) const { return m_rows.value(path, -1); }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

signals:
    // Every image's plan is known.
    void planned();

private:
    void takeBatch(int generation, qsizetype first, const std::vector<ImagePlanEntry>& batch);
    void cancelPlanning();
    QVariant thumbnail(const QString& path) const;
    void thumbnailChanged(const QString& path);
    void indexRows();

    ThumbnailLoader* m_thumbnails;
    QStringList m_paths;
    QStringList m_folders; // relative to the common folder
    QHash<QString, int> m_rows;
    std::vector<ImagePlanEntry> m_plan;
    // Each row's group when a plan made elsewhere is shown; empty otherwise.
    QStringList m_groups;
    // The last write's outcome, by path; shown over the plan.
    QHash<QString, ImagePlanEntry> m_outcomes;
    mutable QCache<QString, QIcon> m_icons{600};

    int m_generation = 0;
    qsizetype m_pending = 0;
    std::shared_ptr<std::atomic_bool> m_cancelled;
    // Plans still running; a cancelled one ends after its batch in hand,
    // without the window waiting for it.
    std::vector<QFuture<void>> m_planning;
};

// The table's filter popup, its search field and its sorting.
class ImageTableFilter final : public QSortFilterProxyModel {
    Q_OBJECT

public:
    explicit ImageTableFilter(QObject* parent = nullptr);

    void setFilter(ImageFilter filter);
    // Matches the file name or a key, whatever the case.
    void setSearch(const QString& text);

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;

private:
    ImageFilter m_filter = ImageFilter::all;
    QString m_search;
};

} // namespace qb
