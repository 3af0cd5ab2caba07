// SPDX-License-Identifier: GPL-3.0-or-later
#include "writejournal.h"

#include "extensions/dynamicvaluejson.h"
#include "extensions/jsonfile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <sys/stat.h>

namespace qb {

namespace {

const QString journalErrorDomain = QStringLiteral("QuillbrookKit.WriteJournal");
const QString iptcUtf8 = QStringLiteral("\x1b%G");

Error journalError(int code, const QString& description, const QString& reason)
{
    Error error;
    error.domain = journalErrorDomain;
    error.code = code;
    error.errorDescription = description;
    error.failureReason = reason;
    return error;
}

QString text(const nlohmann::ordered_json& json, const char* key)
{
    const auto it = json.find(key);
    return it != json.end() && it->is_string() ? QString::fromStdString(it->get<std::string>())
                                               : QString();
}

// The raw value as exiftool takes it back: numbers in their shortest exact
// form, since -n read them so.
QString rawText(const DynamicValue& value)
{
    if (value.isString())
        return value.toString();
    return QString::fromStdString(toJsonValue(value).dump());
}

// The assignments that put one file's values back. A list is given element
// by element, which replaces the whole list; `#` writes the raw value.
QStringList restoringArguments(const JournalFile& file, const QStringList& tags)
{
    QStringList arguments;
    for (const QString& tag : tags) {
        const auto it = file.values.find(tag);
        const QString dash = QLatin1Char('-') + tag;
        if (it == file.values.end() || it->second.isAbsent()) {
            arguments << dash + QLatin1Char('=');
        } else if (it->second.isList()) {
            if (it->second.toList().empty())
                arguments << dash + QLatin1Char('=');
            for (const DynamicValue& element : it->second.toList())
                arguments << dash + QStringLiteral("#=") + rawText(element);
        } else {
            arguments << dash + QStringLiteral("#=") + rawText(it->second);
        }
    }
    const auto charset = file.values.find(QStringLiteral("IPTC:CodedCharacterSet"));
    if (charset != file.values.end() && charset->second.description() == iptcUtf8)
        arguments << QStringLiteral("-charset") << QStringLiteral("iptc=utf8");
    return arguments;
}

struct FileState {
    bool exists = false;
    ino_t inode = 0;
    timespec modified{};
    bool operator==(const FileState& other) const
    {
        return exists == other.exists && inode == other.inode &&
               modified.tv_sec == other.modified.tv_sec &&
               modified.tv_nsec == other.modified.tv_nsec;
    }
};

FileState stateOf(const QString& path)
{
    struct stat info {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return {};
    return {true, info.st_ino, info.st_mtim};
}

bool isSidecar(const QString& path)
{
    return path.endsWith(QLatin1String(".xmp"), Qt::CaseInsensitive);
}

} // namespace

nlohmann::ordered_json WriteJournal::toJson() const
{
    nlohmann::ordered_json json;
    json["version"] = 1;
    json["created"] = created.toUTC().toString(Qt::ISODateWithMs).toStdString();
    json["method"] = method.toStdString();
    nlohmann::ordered_json tagList = nlohmann::ordered_json::array();
    for (const QString& tag : tags)
        tagList.push_back(tag.toStdString());
    json["tags"] = std::move(tagList);
    nlohmann::ordered_json fileList = nlohmann::ordered_json::array();
    for (const JournalFile& file : files) {
        nlohmann::ordered_json entry;
        entry["file"] = file.path.toStdString();
        entry["existed"] = file.existed;
        nlohmann::ordered_json values = nlohmann::ordered_json::object();
        // Every tag is named, so that an absent one reads as null.
        for (const QString& tag : tags) {
            const auto it = file.values.find(tag);
            values[tag.toStdString()] =
                it == file.values.end() ? nlohmann::ordered_json() : toJsonValue(it->second);
        }
        entry["values"] = std::move(values);
        fileList.push_back(std::move(entry));
    }
    json["files"] = std::move(fileList);
    return json;
}

std::expected<WriteJournal, Error> WriteJournal::fromJson(const nlohmann::ordered_json& json,
                                                          const QString& path)
{
    const auto notJournal = [&path] {
        return std::unexpected(journalError(
            1, QStringLiteral("“%1” is not a write journal.").arg(QFileInfo(path).fileName()),
            QStringLiteral("It lacks its list of files.")));
    };
    if (!json.is_object() || !json.contains("files") || !json["files"].is_array())
        return notJournal();
    WriteJournal journal;
    journal.created = QDateTime::fromString(text(json, "created"), Qt::ISODateWithMs);
    journal.method = text(json, "method");
    if (const auto tags = json.find("tags"); tags != json.end() && tags->is_array()) {
        for (const auto& tag : *tags) {
            if (tag.is_string())
                journal.tags << QString::fromStdString(tag.get<std::string>());
        }
    }
    for (const auto& entry : json["files"]) {
        if (!entry.is_object() || text(entry, "file").isEmpty())
            return notJournal();
        JournalFile file{text(entry, "file"), entry.value("existed", true), {}};
        if (const auto values = entry.find("values");
            values != entry.end() && values->is_object()) {
            for (const auto& [tag, value] : values->items()) {
                if (!value.is_null())
                    file.values.emplace(QString::fromStdString(tag), dynamicValueFromJson(value));
            }
        }
        journal.files.push_back(std::move(file));
    }
    return journal;
}

std::expected<WriteJournal, Error> WriteJournal::load(const QString& path)
{
    const auto json = readJsonFile(path);
    if (!json)
        return std::unexpected(json.error());
    return fromJson(*json, path);
}

std::expected<void, Error> WriteJournal::save(const QString& path) const
{
    if (!QDir().mkpath(QFileInfo(path).absolutePath()))
        return std::unexpected(journalError(2,
                                            QStringLiteral("The write journal could not be kept."),
                                            QStringLiteral("The folder “%1” could not be made.")
                                                .arg(QFileInfo(path).absolutePath())));
    if (auto written = writeJsonFile(toJson(), path); !written)
        return written;
    // On disk before exiftool starts, not in a cache a crash would lose.
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || ::fsync(file.handle()) != 0)
        return std::unexpected(
            journalError(2, QStringLiteral("The write journal could not be kept."),
                         QStringLiteral("“%1” could not be flushed to disk.").arg(path)));
    return {};
}

QString journalDirectory()
{
    QString state = qEnvironmentVariable("XDG_STATE_HOME");
    if (state.isEmpty() || !QDir::isAbsolutePath(state))
        state = QDir::homePath() + QStringLiteral("/.local/state");
    return state + QStringLiteral("/quillbrook/journal");
}

QStringList journalPaths(const QString& directory)
{
    QStringList paths;
    const QDir folder(directory);
    // Names begin with the date and time, so the names sort by age.
    const QStringList names =
        folder.entryList({QStringLiteral("*.json")}, QDir::Files, QDir::Name | QDir::Reversed);
    for (const QString& name : names)
        paths << folder.filePath(name);
    return paths;
}

QStringList journalTags(const QStringList& tags)
{
    QStringList result;
    for (const QString& tag : tags) {
        if (!result.contains(tag, Qt::CaseInsensitive))
            result << tag;
    }
    const bool iptc = std::ranges::any_of(tags, [](const QString& tag) {
        return tag.startsWith(QLatin1String("IPTC:"), Qt::CaseInsensitive);
    });
    if (iptc) {
        for (const char* own : {"IPTC:CodedCharacterSet", "IPTC:EnvelopeRecordVersion",
                                "IPTC:ApplicationRecordVersion"}) {
            if (!result.contains(QLatin1String(own), Qt::CaseInsensitive))
                result << QLatin1String(own);
        }
    }
    return result;
}

std::expected<QString, Error> keepJournal(const ExifTool& exiftool, const QStringList& paths,
                                          const QStringList& tags, const QString& method,
                                          const QDateTime& now, const QString& directory, int parts)
{
    WriteJournal journal{now, method, journalTags(tags), {}};
    ExifTool reader = exiftool;
    reader.setTrace({});
    QStringList existing;
    for (const QString& path : paths) {
        if (QFileInfo::exists(path))
            existing << path;
    }
    const auto current = readCurrentValues(reader, existing, journal.tags, true, parts);
    if (!current)
        return std::unexpected(current.error());
    for (const QString& path : paths) {
        const auto it = current->find(path);
        // A file that isn't there, or that exiftool can't read, the write
        // won't change either; a missing sidecar it would create.
        if (it != current->end())
            journal.files.push_back({path, true, it->second});
        else if (!QFileInfo::exists(path))
            journal.files.push_back({path, false, {}});
    }
    const QString stamp = now.toUTC().toString(QStringLiteral("yyyy-MM-ddTHH-mm-ss.zzzZ"));
    QString path = directory + QLatin1Char('/') + stamp + QStringLiteral(".json");
    for (int n = 2; QFileInfo::exists(path); ++n)
        path = directory + QLatin1Char('/') + stamp + QStringLiteral("-%1.json").arg(n);
    if (auto saved = journal.save(path); !saved)
        return std::unexpected(saved.error());
    return path;
}

std::expected<FileOutcomes, Error> restoreJournal(const WriteJournal& journal,
                                                  const ExifTool& exiftool)
{
    FileOutcomes outcomes;
    QStringList arguments;
    QStringList paths;
    std::map<QString, FileState> before;
    for (const JournalFile& file : journal.files) {
        const bool exists = QFileInfo::exists(file.path);
        if (!file.existed) {
            // Only a sidecar the write made is taken away again; an image
            // is never removed.
            const bool removed = exists && isSidecar(file.path) && QFile::remove(file.path);
            outcomes.push_back(
                {file.path, removed ? FileOutcomeKind::written : FileOutcomeKind::unchanged, {}});
            continue;
        }
        if (!exists) {
            outcomes.push_back(
                {file.path, FileOutcomeKind::failed, QStringLiteral("File not found")});
            continue;
        }
        if (!paths.isEmpty())
            arguments << QStringLiteral("-execute");
        arguments << restoringArguments(file, journal.tags) << file.path;
        paths << file.path;
        before[file.path] = stateOf(file.path);
    }
    if (paths.isEmpty())
        return outcomes;
    ExifTool writer = exiftool;
    writer.setOverwriteOriginal(false);
    writer.setTrace({});
    arguments << QStringLiteral("-common_args") << QStringLiteral("-overwrite_original");
    std::optional<Error> failure;
    QString standardError;
    writer.run(arguments, [&](std::expected<ProcessResult, ExiftoolError> result) {
        if (result) {
            standardError = QString::fromUtf8(result->standardError);
        } else if (result.error().kind() == ExiftoolError::Case::responseNotZero &&
                   !result.error().process().endedBySignal) {
            standardError = result.error().stdErr().value_or(QString());
        } else {
            failure = result.error().toError(ExiftoolTask::write);
        }
    });
    if (failure)
        return std::unexpected(*failure);
    const FileOutcomes restored =
        fileOutcomes(paths, fileMessages(standardError, paths),
                     [&before](const QString& path) { return !(stateOf(path) == before[path]); });
    outcomes.insert(outcomes.end(), restored.begin(), restored.end());
    return outcomes;
}

} // namespace qb
