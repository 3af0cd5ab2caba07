// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "documents/bookmarkurl.h"
#include "documents/filewrapper.h"

#include "sources/csvdatasource.h"
#include "sources/filenamedatasource.h"

#include "extensions/error.h"
#include "extensions/jsondecode.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <expected>
#include <optional>
#include <vector>

namespace qb {

// A frame marked as a card by hand, or, without a key, as not one.
struct CardFixSetting {
    QString frame;
    std::optional<QString> key;

    friend bool operator==(const CardFixSetting&, const CardFixSetting&) = default;
};

// What the CSV panel keeps in a document between saves.
struct CSVDatasourceSettings {
    static QString memberName() { return QStringLiteral("csv.json"); }

    QStringList keyNames;
    std::optional<QString> selectedHeader;
    // Raw value of FileNameDataSource::MatchingStyle; kept as written, so an
    // unknown value survives a round trip and is judged by whoever applies it.
    qint64 selectedMatchStyle = 2;
    std::optional<BookmarkURL> currentURL;
    // The saved bookmark of a file that can't be found any more, as the
    // document holds it: written back unchanged while no other file is
    // chosen, so that a document opened while its CSV is away keeps it.
    std::optional<Json> unresolvedURL;
    // The field delimiter's name, left out for comma so that a document
    // reads as it did before the choice existed; readers that predate it
    // ignore the member.
    std::optional<QString> fieldDelimiter;
    // The sheet of a spreadsheet the rows come from; left out for its first
    // sheet and for a CSV file, so that those documents read as before.
    std::optional<QString> sheetName;
    // The tag whose value keys each image instead of its name; left out
    // for the name.
    std::optional<QString> keyTag;
    // Rows go to frames by the barcode cards shot among them rather than by
    // name; the matching style stays for when the mode is left. Left out
    // when off, as are the fixes when there are none.
    bool cardMode = false;
    std::vector<CardFixSetting> cardFixes;

    // Nothing when the raw value names no style.
    std::optional<FileNameDataSource::MatchingStyle> matchingStyle() const;
    // Comma when the member is absent, and for a name this version doesn't
    // know, since comma is what the document was read with before.
    CSVDataSource::FieldDelimiter delimiter() const;
    void setDelimiter(CSVDataSource::FieldDelimiter delimiter);

    // Fails when the bookmark can't be made, as for a file that has gone.
    std::expected<Json, Error> toJson() const;
    // `relativeTo` is the folder that holds the package, for relative
    // bookmarks. An unresolvable bookmark fails the whole decoding.
    static CSVDatasourceSettings fromJson(const JsonObject& object, const QString& relativeTo = {});
    static std::expected<CSVDatasourceSettings, Error> decode(const QByteArray& bytes,
                                                              const QString& relativeTo = {});
    // The member the panel offers the document, named csv.json.
    std::expected<FileWrapper, Error> fileWrapper() const;

    // As decode(), except that a file reference that no longer resolves
    // leaves only the file out, so that a panel still knows the columns,
    // the key and the style of a CSV that has moved; why is told beside.
    struct Decoded;
    static std::expected<Decoded, Error> decodeKeepingColumns(const QByteArray& bytes,
                                                              const QString& relativeTo = {});
};

struct CSVDatasourceSettings::Decoded {
    CSVDatasourceSettings settings;
    std::optional<Error> unresolvedFile;
};

// What the image panel keeps in a document between saves.
struct ImageDatasourceSettings {
    static QString memberName() { return QStringLiteral("image.json"); }

    qint64 selectedMatchStyle = 2;

    std::optional<FileNameDataSource::MatchingStyle> matchingStyle() const;

    Json toJson() const;
    static ImageDatasourceSettings fromJson(const JsonObject& object);
    static std::expected<ImageDatasourceSettings, Error> decode(const QByteArray& bytes);
    std::expected<FileWrapper, Error> fileWrapper() const;
};

} // namespace qb
