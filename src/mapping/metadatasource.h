// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/dynamicvalue.h"

#include <QList>
#include <QStringList>
#include <QUrl>

#include <map>
#include <vector>

namespace qb {

// One row of a data source: field name to value.
using MetadataRow = DynamicValue::Dictionary;

// A table of rows keyed by text, tied to images by file name.
class MetadataSource {
public:
    virtual ~MetadataSource() = default;

    // The merged row for one image; empty when no key matches.
    virtual MetadataRow metadataForImage(const QUrl& url) const = 0;
    // Those of `urls` that match `key`, in the order of `urls`.
    virtual QList<QUrl> imagesMatchingKey(const QString& key, const QList<QUrl>& urls) const = 0;
    // For every key, the `urls` that match it; keys without a match get an empty list.
    virtual std::map<QString, QList<QUrl>> imagesByKey(const QList<QUrl>& urls) const = 0;
    // The field names, for the rule editor, sorted.
    virtual QStringList keyNames() const = 0;
    // The row keys, sorted.
    virtual QStringList keys() const = 0;

    // metadataForImage for many images at once, in order. A source that can
    // prepare its keys once for a whole run overrides this.
    virtual std::vector<MetadataRow> metadataForImages(const QList<QUrl>& urls) const;
};

} // namespace qb
