// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "cards/cardplan.h"

#include "sources/filenamedatasource.h"

#include <QHash>

#include <memory>

namespace qb {

// The keys of a data source's rows, for the plan.
RowKeys rowKeysOf(const FileNameDataSource& source);

// A row's name for people: its columns whose names say "name", such as
// "Name" or "First name" and "Last name", joined; empty for none.
QString rowName(const FileNameDataSource& source, const QString& key);

// The rows a plan gives its frames, as the source a write maps images by:
// each frame gets the row of its card's key, and a frame of a group card
// the group's rows merged, the first value of each column that isn't empty
// standing, as when several rows match one image by name. Frames the plan
// gives no row match none.
class PlannedRows : public MetadataSource {
public:
    // `assignments` as CardPlan::assignments() gives them: each frame's
    // path and the keys of its rows.
    PlannedRows(std::shared_ptr<const FileNameDataSource> rows,
                const std::vector<std::pair<QString, QStringList>>& assignments);

    // The frames that get a row, in the plan's order.
    const QList<QUrl>& images() const { return m_images; }

    MetadataRow metadataForImage(const QUrl& url) const override;
    QList<QUrl> imagesMatchingKey(const QString& key, const QList<QUrl>& urls) const override;
    std::map<QString, QList<QUrl>> imagesByKey(const QList<QUrl>& urls) const override;
    QStringList keyNames() const override { return m_rows->keyNames(); }
    QStringList keys() const override { return m_rows->keys(); }

private:
    std::shared_ptr<const FileNameDataSource> m_rows;
    QHash<QString, QStringList> m_keysByPath;
    QList<QUrl> m_images;
};

} // namespace qb
