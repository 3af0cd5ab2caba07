// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "captureone/appleeventdescriptor.h"
#include "extensions/jsondecode.h"

#include <QString>
#include <QStringList>
#include <QUrl>

#include <expected>
#include <map>
#include <optional>

namespace qb {

// The records that go to and come from Capture One's scripts. With the
// scripts they travel as descriptors; the JSON forms belong to the records
// themselves, with keys spelled as the fields.

struct CaptureOneCollection {
    // Each raw value is the four-character code of the class in Capture
    // One's dictionary.
    enum class Kind { album, catalogFolder, favorite, group, project, smartAlbum };

    struct Information {
        QString collectionName;
        Kind kind = Kind::album;
        qint32 variantCount = 0;
        std::optional<QString> rules;
        std::optional<QUrl> folder;

        // From the five-item list of "collectionInfo": name, kind code,
        // folder, rules, variant count. Nothing when the shape is wrong.
        static std::optional<Information> fromDescriptor(const AppleEventDescriptor& list);

        Json toJson() const;
        static Information fromJson(const JsonObject& object);
        static std::expected<Information, Error> decode(const Json& json);
        friend bool operator==(const Information&, const Information&) = default;
    };

    QString collectionName;

    Json toJson() const;
    static CaptureOneCollection fromJson(const JsonObject& object);
    static std::expected<CaptureOneCollection, Error> decode(const Json& json);
    friend bool operator==(const CaptureOneCollection&, const CaptureOneCollection&) = default;
};

QString rawValue(CaptureOneCollection::Kind kind);
std::optional<CaptureOneCollection::Kind> collectionKindFromRawValue(const QString& raw);
Json toJson(CaptureOneCollection::Kind kind);
std::expected<CaptureOneCollection::Kind, Error> decodeCollectionKind(const Json& json);

struct CaptureNaming {
    // What to change; an absent field leaves that setting as it is.
    struct Request {
        std::optional<QString> captureFormat;
        std::optional<QString> captureName;

        // The arguments of "setCaptureName": format, then name, each a text
        // or missing value.
        AppleEventDescriptor::List arguments() const;

        Json toJson() const;
        static Request fromJson(const JsonObject& object);
        static std::expected<Request, Error> decode(const Json& json);
        friend bool operator==(const Request&, const Request&) = default;
    };

    QString captureFormat;
    QString captureName;

    // From the two-item list of "getCaptureName" and "setCaptureName".
    static std::optional<CaptureNaming> fromDescriptor(const AppleEventDescriptor& list);

    Json toJson() const;
    static CaptureNaming fromJson(const JsonObject& object);
    static std::expected<CaptureNaming, Error> decode(const Json& json);
    friend bool operator==(const CaptureNaming&, const CaptureNaming&) = default;
};

struct CreateFavorites {
    QStringList dirNames;
    bool setCapture = false;

    // The arguments of "makeDirsAndFaves": the names as a list, then the flag.
    AppleEventDescriptor::List arguments() const;

    Json toJson() const;
    static CreateFavorites fromJson(const JsonObject& object);
    static std::expected<CreateFavorites, Error> decode(const Json& json);
    friend bool operator==(const CreateFavorites&, const CreateFavorites&) = default;
};

namespace CaptureOneValidation {

// The key keeps its historical spelling, comparitorCollection.
struct Request {
    QString comparitorCollection;
    QStringList collections;
    bool includeFavorites = false;

    Json toJson() const;
    static Request fromJson(const JsonObject& object);
    static std::expected<Request, Error> decode(const Json& json);
    friend bool operator==(const Request&, const Request&) = default;
};

// For each collection name, how many names of the comparitor collection
// begin with it.
struct Result {
    QString comparitorCollection;
    std::map<QString, qint64> result;

    Json toJson() const;
    static Result fromJson(const JsonObject& object);
    static std::expected<Result, Error> decode(const Json& json);
    friend bool operator==(const Result&, const Result&) = default;
};

} // namespace CaptureOneValidation

} // namespace qb
