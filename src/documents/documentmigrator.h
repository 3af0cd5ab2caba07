// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "documents/filewrapper.h"
#include "documents/mappingsdocdata.h"

#include "extensions/error.h"
#include "extensions/jsondecode.h"

#include <QString>

#include <expected>
#include <optional>
#include <vector>

namespace qb {

// One row of a first-generation document: a source key and one flat
// conversion, where rows now carry a chain of mappers.
struct KeyedMetadataMapping {
    struct OldMetadataMapping {
        QString destTag;
        qint64 conversionMode = 0;
        // Spelled so on disk; the correct spelling doesn't decode.
        QString arraySeperator;
    };

    QString key;
    OldMetadataMapping mapping;

    static KeyedMetadataMapping fromJson(const JsonObject& object);
};

// The content of mapping.json in a first-generation package: no version key.
struct MappingsDocDataV1 {
    std::vector<KeyedMetadataMapping> mappings;
    bool isEditable = true;
    std::optional<QString> datasource;

    static MappingsDocDataV1 fromJson(const JsonObject& object);
};

// The one place that knows which generation wrote a package. Documents are
// upgraded in memory only; the disk changes at the next save.
namespace DocumentMigrator {

// Only the version key is read; every other key is ignored.
struct DocumentVersion {
    qint64 version = 1;
    static DocumentVersion fromJson(const JsonObject& object);
};

// mapping.json of `package` in its current form, whichever version wrote it.
std::expected<MappingsDocDataV2, Error> decodeLatestDocument(const FileWrapper& package);
MappingsDocDataV2 migrate(const MappingsDocDataV1& document);

} // namespace DocumentMigrator

} // namespace qb
