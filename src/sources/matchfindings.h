// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sources/filenamedatasource.h"

#include "extensions/error.h"

#include <QList>
#include <QStringList>
#include <QUrl>

#include <vector>

namespace qb {

// Where the rows tie to the images in ways the user may not have meant:
// an image that several rows match, whose values merge field by field with
// the first value winning, and a row with an empty key, which matches every
// image and gives its values, empty ones too, to images without a row of
// their own. The merge rule stays as it is; these are told, so that nothing
// happens without the user knowing. Also told: a key that names a file no
// image is (under the path style), and an image without a value of the tag
// the images are keyed by; the rows of both go nowhere. Found once per run,
// so that the command line, its dry run and the window tell the same.
class MatchFindings {
public:
    // An image and the keys of the rows that match it, sorted.
    struct Overlap {
        QUrl image;
        QStringList keys;
    };

    // How many lines stand before the summary takes over.
    static constexpr int lineLimit = 5;

    static MatchFindings find(const FileNameDataSource& source, const QList<QUrl>& images);

    const std::vector<Overlap>& overlaps() const { return m_overlaps; }
    bool emptyKeyMatchesAll() const { return m_emptyKeyMatchesAll; }
    // Keys that several rows of the data have; the last row stands.
    const QStringList& duplicateKeys() const { return m_duplicateKeys; }
    // Path keys that name none of the images, in the order of the keys.
    const QStringList& keysNamingNoImage() const { return m_keysNamingNoImage; }
    // Images without a value of the key tag, which no row can match.
    const QList<QUrl>& imagesWithoutKey() const { return m_imagesWithoutKey; }
    // Whether a row's values could reach an image in a way the user may not
    // have meant: what a strict run refuses.
    bool isAmbiguous() const
    {
        return !m_overlaps.empty() || m_emptyKeyMatchesAll || !m_duplicateKeys.isEmpty();
    }
    bool isEmpty() const
    {
        return !isAmbiguous() && m_keysNamingNoImage.isEmpty() && m_imagesWithoutKey.isEmpty();
    }

    // One line for each key several rows have, one for the empty key, one
    // for each image, one for each key that names no image, one for each
    // image without a key, each kind up to the limit and then a line that
    // counts the rest.
    QStringList lines() const;
    // Why a run that may not be ambiguous stops.
    Error strictError() const;

private:
    std::vector<Overlap> m_overlaps;
    bool m_emptyKeyMatchesAll = false;
    QStringList m_duplicateKeys;
    QStringList m_keysNamingNoImage;
    QList<QUrl> m_imagesWithoutKey;
    std::optional<QString> m_keyTag;
    FileNameDataSource::MatchingStyle m_style = FileNameDataSource::MatchingStyle::prefix;
};

// The style as the window names it: "contains", "is equal to", "begins
// with", "matches", "ends with", "is the file".
QString matchingStyleTitle(FileNameDataSource::MatchingStyle style);

} // namespace qb
