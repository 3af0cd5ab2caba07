// SPDX-License-Identifier: GPL-3.0-or-later
#include "writejournal.h"

#include "exif/metadatareader.h"
#include "extensions/jsonfile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <set>

namespace qb {

namespace {

using Json = nlohmann::ordered_json;

const QString journalErrorDomain = QStringLiteral("QuillbrookKit.WriteJournal");

// A write's journal is made at most this long before exiftool makes a
// sidecar, with room for clocks that disagree a little.
constexpr qint64 creationSlackSeconds = 5;

Error journalError(int code, const QString& description, const QString& reason)
{
    Error error;
    error.domain = journalErrorDomain;
    error.code = code;
    error.errorDescription = description;
    error.failureReason = reason;
    return error;
}

std::string utf8(const QString& text)
{
    return text.toStdString();
}

Json identityJson(const std::optional<FileIdentity>& identity)
{
    if (!identity)
        return nullptr;
    return Json{{"size", identity->size}, {"modified", identity->modified}};
}

// Reads a journal's JSON field by field, so that whatever is out of shape
// is named by where it is, and nothing throws.
class Reader {
public:
    explicit Reader(QString journalPath)
        : m_journalPath(std::move(journalPath))
    {
    }

    std::optional<Error> error;

    // The member `key` of `object` when it has `type`; else notes the error.
    const Json* member(const Json& object, const char* key, Json::value_t type,
                       const QString& where, bool optional = false)
    {
        const auto it = object.find(key);
        if (it == object.end() || (optional && it->is_null())) {
            if (!optional)
                fail(where, QStringLiteral("“%1” is missing").arg(QLatin1String(key)));
            return nullptr;
        }
        const bool integer = type == Json::value_t::number_integer;
        if (integer ? !it->is_number_integer() : it->type() != type) {
            fail(where.isEmpty() ? QLatin1String(key)
                                 : where + QLatin1Char('.') + QLatin1String(key),
                 QStringLiteral("expected %1, found %2")
                     .arg(QLatin1String(Json(type).type_name()), QLatin1String(it->type_name())));
            return nullptr;
        }
        return &*it;
    }
    QString text(const Json& object, const char* key, const QString& where, bool optional = false)
    {
        const Json* value = member(object, key, Json::value_t::string, where, optional);
        return value ? QString::fromStdString(value->get<std::string>()) : QString();
    }
    bool flag(const Json& object, const char* key, const QString& where)
    {
        const Json* value = member(object, key, Json::value_t::boolean, where, true);
        return value && value->get<bool>();
    }
    void fail(const QString& where, const QString& reason)
    {
        if (!error)
            error = damagedJournalError(m_journalPath, where, reason);
    }

private:
    QString m_journalPath;
};

std::optional<FileIdentity> identityFrom(Reader& reader, const Json& entry, const QString& where)
{
    const Json* identity = reader.member(entry, "identity", Json::value_t::object, where, true);
    if (!identity)
        return std::nullopt;
    const QString at = where + QStringLiteral(".identity");
    const Json* size = reader.member(*identity, "size", Json::value_t::number_integer, at);
    const Json* modified = reader.member(*identity, "modified", Json::value_t::number_integer, at);
    if (!size || !modified)
        return std::nullopt;
    return FileIdentity{size->get<qint64>(), modified->get<qint64>()};
}

std::optional<JournalFile> fileFrom(Reader& reader, const Json& entry, const QString& where)
{
    if (!entry.is_object()) {
        reader.fail(
            where,
            QStringLiteral("expected object, found %1").arg(QLatin1String(entry.type_name())));
        return std::nullopt;
    }
    JournalFile file;
    file.path = reader.text(entry, "file", where);
    file.image = reader.text(entry, "image", where, true);
    file.created = reader.flag(entry, "created", where);
    file.removed = reader.flag(entry, "removed", where);
    file.identity = identityFrom(reader, entry, where);
    for (const QString& path : {file.path, file.image}) {
        if (!path.isEmpty() && (!QDir::isAbsolutePath(path) || QDir::cleanPath(path) != path))
            reader.fail(where, QStringLiteral("“%1” is not an absolute path").arg(path));
    }
    const Json* tags = reader.member(entry, "tags", Json::value_t::object, where);
    if (!tags)
        return std::nullopt;
    for (const auto& [name, values] : tags->items()) {
        const QString tag = QString::fromStdString(name);
        const QString at = where + QStringLiteral(".tags[\"%1\"]").arg(tag);
        if (!isSingleTagName(tag))
            reader.fail(at, QStringLiteral("“%1” is not the name of one tag").arg(tag));
        if (!values.is_object() || !values.contains("before") || !values.contains("written")) {
            reader.fail(at, QStringLiteral("expected an object with “before” and “written”"));
            continue;
        }
        file.tags.emplace(tag, JournalTag{values["before"], values["written"]});
    }
    if (reader.error)
        return std::nullopt;
    return file;
}

} // namespace

std::optional<FileIdentity> FileIdentity::of(const QString& path)
{
    struct stat info {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return std::nullopt;
    return FileIdentity{qint64(info.st_size),
                        qint64(info.st_mtim.tv_sec) * 1000000000 + info.st_mtim.tv_nsec};
}

Error damagedJournalError(const QString& journalPath, const QString& entry, const QString& reason)
{
    Error error = journalError(
        1, QStringLiteral("“%1” can't be undone.").arg(QFileInfo(journalPath).fileName()),
        entry.isEmpty() ? reason : entry + QStringLiteral(": ") + reason);
    error.recoverySuggestion =
        QStringLiteral("Nothing was restored. A journal is only ever written by Quillbrook; "
                       "this one is damaged or was changed by hand.");
    error.userInfo.insert(QStringLiteral("path"), journalPath);
    return error;
}

bool isSingleTagName(const QString& tag)
{
    // Groups (a family number may stand in front), then a name, which may
    // end in a language code ("Title-fr").
    static const QRegularExpression form(
        QStringLiteral("^((?:[0-9]?[A-Za-z][A-Za-z0-9_-]*:)*)([A-Za-z][A-Za-z0-9_-]*)$"));
    // exiftool's family-0 groups: a name like these deletes or replaces a
    // whole block of metadata, not a tag; and the names that rename, move
    // or link the file itself rather than write into it.
    static const std::set<QString> refused = {
        QStringLiteral("adobe"),
        QStringLiteral("all"),
        QStringLiteral("app14"),
        QStringLiteral("canonvrd"),
        QStringLiteral("ciff"),
        QStringLiteral("composite"),
        QStringLiteral("ducky"),
        QStringLiteral("exif"),
        QStringLiteral("exiftool"),
        QStringLiteral("file"),
        QStringLiteral("flashpix"),
        QStringLiteral("gif"),
        QStringLiteral("icc_profile"),
        QStringLiteral("iptc"),
        QStringLiteral("jfif"),
        QStringLiteral("jpeg"),
        QStringLiteral("jumbf"),
        QStringLiteral("makernotes"),
        QStringLiteral("meta"),
        QStringLiteral("mpf"),
        QStringLiteral("photoshop"),
        QStringLiteral("png"),
        QStringLiteral("printim"),
        QStringLiteral("quicktime"),
        QStringLiteral("trailer"),
        QStringLiteral("xml"),
        QStringLiteral("xmp"),
        QStringLiteral("filename"),
        QStringLiteral("directory"),
        QStringLiteral("hardlink"),
        QStringLiteral("symlink"),
        QStringLiteral("testname"),
        QStringLiteral("filepermissions"),
        QStringLiteral("fileuserid"),
        QStringLiteral("filegroupid"),
        QStringLiteral("system"),
    };
    const QRegularExpressionMatch match = form.match(tag);
    if (!match.hasMatch())
        return false;
    for (const QString& group : match.captured(1).split(QLatin1Char(':'), Qt::SkipEmptyParts)) {
        const QString plain = group.toLower().remove(QRegularExpression(QStringLiteral("^[0-9]")));
        if (plain == QLatin1String("all") || plain == QLatin1String("file") ||
            plain == QLatin1String("system"))
            return false;
    }
    const QString name = match.captured(2).toLower();
    // "XMP-dc", a group of family 1, is no tag either.
    return !refused.contains(name) && !refused.contains(name.section(QLatin1Char('-'), 0, 0));
}

bool isSidecarPath(const QString& path)
{
    return path.endsWith(QLatin1String(".xmp"), Qt::CaseInsensitive);
}

Json WriteJournal::toJson() const
{
    Json json;
    json["version"] = version;
    json["created"] = utf8(created.toUTC().toString(Qt::ISODateWithMs));
    json["method"] = utf8(method);
    Json fileList = Json::array();
    for (const JournalFile& file : files) {
        Json entry;
        entry["file"] = utf8(file.path);
        if (!file.image.isEmpty())
            entry["image"] = utf8(file.image);
        entry["created"] = file.created;
        if (file.removed)
            entry["removed"] = true;
        entry["identity"] = identityJson(file.identity);
        Json tags = Json::object();
        for (const auto& [tag, values] : file.tags)
            tags[utf8(tag)] = Json{{"before", values.before}, {"written", values.written}};
        entry["tags"] = std::move(tags);
        fileList.push_back(std::move(entry));
    }
    json["files"] = std::move(fileList);
    return json;
}

std::expected<WriteJournal, Error> WriteJournal::fromJson(const Json& json, const QString& path)
{
    Reader reader(path);
    if (!json.is_object())
        return std::unexpected(damagedJournalError(
            path, {}, QStringLiteral("it is not a JSON object, as a journal is")));
    WriteJournal journal;
    if (const Json* number = reader.member(json, "version", Json::value_t::number_integer, {});
        number && number->get<qint64>() != version) {
        reader.fail(QStringLiteral("version"),
                    number->get<qint64>() < version
                        ? QStringLiteral("it was kept by an older Quillbrook, which didn't note "
                                         "the values its write set, so undo can't tell what "
                                         "changed since")
                        : QStringLiteral("it was kept by a newer Quillbrook"));
    }
    const QString created = reader.text(json, "created", {});
    journal.created = QDateTime::fromString(created, Qt::ISODateWithMs);
    if (!reader.error && !journal.created.isValid())
        reader.fail(QStringLiteral("created"), QStringLiteral("“%1” is not a date").arg(created));
    journal.method = reader.text(json, "method", {});
    const Json* files = reader.member(json, "files", Json::value_t::array, {});
    std::set<QString> seen;
    for (std::size_t i = 0; files && !reader.error && i < files->size(); ++i) {
        const QString where = QStringLiteral("files[%1]").arg(i);
        auto file = fileFrom(reader, (*files)[i], where);
        if (file && !seen.insert(file->path).second)
            reader.fail(where, QStringLiteral("%1 is named twice").arg(file->path));
        if (file)
            journal.files.push_back(std::move(*file));
    }
    if (reader.error)
        return std::unexpected(*reader.error);
    return journal;
}

std::expected<WriteJournal, Error> WriteJournal::load(const QString& path)
{
    const auto json = readJsonFile(path);
    if (!json) {
        const Error& unread = json.error();
        return std::unexpected(damagedJournalError(
            path, {}, unread.failureReason.isEmpty() ? unread.message() : unread.failureReason));
    }
    return fromJson(*json, path);
}

std::expected<void, Error> WriteJournal::save(const QString& path) const
{
    const auto unkept = [&path](const QString& reason) {
        Error error =
            journalError(2, QStringLiteral("The write journal could not be kept."), reason);
        error.userInfo.insert(QStringLiteral("path"), path);
        return std::unexpected(error);
    };
    if (!QDir().mkpath(QFileInfo(path).absolutePath()))
        return unkept(QStringLiteral("The folder “%1” could not be made.")
                          .arg(QFileInfo(path).absolutePath()));
    std::string text;
    try {
        text = toJson().dump(1);
    } catch (const Json::type_error& failure) {
        return unkept(QString::fromUtf8(failure.what()));
    }
    // On disk before exiftool starts, not in a cache a crash would lose:
    // QSaveFile syncs the new file before it takes the old one's place.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(text.data(), qint64(text.size())) != qint64(text.size()) || !file.commit())
        return unkept(QStringLiteral("“%1”: %2").arg(path, file.errorString()));
    return {};
}

std::expected<void, Error> checkJournalFiles(const WriteJournal& journal,
                                             const QString& journalPath)
{
    const auto refuse = [&journalPath](std::size_t index, const QString& reason) {
        return std::unexpected(
            damagedJournalError(journalPath, QStringLiteral("files[%1]").arg(index), reason));
    };
    for (std::size_t i = 0; i < journal.files.size(); ++i) {
        const JournalFile& file = journal.files[i];
        struct statx info {};
        const bool exists = ::statx(AT_FDCWD, QFile::encodeName(file.path).constData(), 0,
                                    STATX_TYPE | STATX_BTIME, &info) == 0;
        if (exists && !S_ISREG(info.stx_mode))
            return refuse(i, QStringLiteral("%1 is not a regular file").arg(file.path));
        const bool sidecar = isSidecarPath(file.path);
        if ((file.created || file.removed) && !sidecar)
            return refuse(i, QStringLiteral("%1 is no sidecar, and a write never makes or "
                                            "removes any other file")
                                 .arg(file.path));
        if (!sidecar)
            continue;
        const QString notOurs =
            QStringLiteral("%1 is a sidecar this journal's write didn't make").arg(file.path);
        if (journal.method == QLatin1String("direct"))
            return refuse(i, notOurs);
        if (!file.created)
            continue;
        const QUrl image = QUrl::fromLocalFile(file.image);
        const bool beside =
            !file.image.isEmpty() &&
            (sidecarUrl(image, SidecarNaming::name).toLocalFile() == file.path ||
             sidecarUrl(image, SidecarNaming::nameWithExtension).toLocalFile() == file.path);
        const bool older = exists && (info.stx_mask & STATX_BTIME) &&
                           qint64(info.stx_btime.tv_sec) <
                               journal.created.toSecsSinceEpoch() - creationSlackSeconds;
        if (!beside || older)
            return refuse(i, notOurs);
    }
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

QString newJournalPath(const QString& directory, const QDateTime& now)
{
    const QString stamp = now.toUTC().toString(QStringLiteral("yyyy-MM-ddTHH-mm-ss.zzzZ"));
    QString path = directory + QLatin1Char('/') + stamp + QStringLiteral(".json");
    for (int n = 2; QFileInfo::exists(path); ++n)
        path = directory + QLatin1Char('/') + stamp + QStringLiteral("-%1.json").arg(n);
    return path;
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

} // namespace qb
