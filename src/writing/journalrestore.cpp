// SPDX-License-Identifier: GPL-3.0-or-later
#include "journalrestore.h"

#include "writing/privatefolder.h"

#include "exif/currentvalues.h"
#include "exif/exiftool.h"
#include "extensions/jsonfile.h"
#include "extensions/process.h"

#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <map>

namespace qb {

namespace {

using Json = nlohmann::ordered_json;

const QString undoErrorDomain = QStringLiteral("QuillbrookKit.Undo");

Error undoError(const QString& description, const QString& reason = {})
{
    Error error;
    error.domain = undoErrorDomain;
    error.code = 1;
    error.errorDescription = description;
    error.failureReason = reason;
    return error;
}

bool isIptc(const QString& tag)
{
    return tag.startsWith(QLatin1String("IPTC:"), Qt::CaseInsensitive);
}

// The IPTC record's own tags, which exiftool sets beside any IPTC tag.
bool isIptcRecordTag(const QString& tag)
{
    for (const char* own : {"IPTC:CodedCharacterSet", "IPTC:EnvelopeRecordVersion",
                            "IPTC:ApplicationRecordVersion"}) {
        if (tag.compare(QLatin1String(own), Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

// What a sidecar holds that tells of the file or of exiftool rather than
// of the metadata a write put in it.
bool isHousekeeping(const QString& key)
{
    for (const char* group : {"File:", "ExifTool:", "Composite:"}) {
        if (key.startsWith(QLatin1String(group)))
            return true;
    }
    return key.endsWith(QLatin1String(":XMPToolkit"));
}

// A value as it compares: bytes from base64 as text where they are UTF-8,
// numbers and flags as their text (exiftool prints "5" as 5), a list of one
// as its element (exiftool prints it so).
Json comparable(const Json& value)
{
    static const std::string base64 = "base64:";
    if (value.is_string()) {
        const std::string& text = value.get_ref<const std::string&>();
        if (!text.starts_with(base64))
            return text;
        const QByteArray bytes =
            QByteArray::fromBase64(QByteArray::fromStdString(text.substr(base64.size())));
        return decodedUtf8(bytes) ? Json(bytes.toStdString()) : value;
    }
    if (value.is_number() || value.is_boolean())
        return value.dump();
    if (value.is_array() && value.size() == 1)
        return comparable(value.front());
    if (value.is_structured()) {
        Json result = value.is_array() ? Json::array() : Json::object();
        for (auto it = value.begin(); it != value.end(); ++it) {
            if (value.is_array())
                result.push_back(comparable(*it));
            else
                result[it.key()] = comparable(*it);
        }
        return result;
    }
    return value;
}

bool sameValue(const Json& a, const Json& b)
{
    return comparable(a) == comparable(b);
}

// Whether the file still holds what the write set, in either of the forms
// exiftool reads.
bool holds(const ExactValue& current, const Json& written)
{
    return sameValue(current.raw, written) || sameValue(current.shown, written);
}

bool isUtf8Charset(const ExactValue& value)
{
    return sameValue(value.raw, Json("\x1b%G")) || sameValue(value.shown, Json("UTF8"));
}

// What the undo does to one file.
struct FilePlan {
    QString path;
    std::optional<FileOutcome> decided; // nothing for exiftool to do
    bool remove = false;                // take the sidecar away
    std::map<QString, Json> restore;    // the values to put back; null deletes
    bool iptcUtf8 = false;
    QStringList notes;
    JournalFile undone; // the undo's own journal entry
};

class Planner {
public:
    Planner(const ExactValues& current, const ExactValues& sidecars, bool force)
        : m_current(current)
        , m_sidecars(sidecars)
        , m_force(force)
    {
    }

    FilePlan plan(const JournalFile& file) const
    {
        FilePlan plan;
        plan.path = file.path;
        plan.undone.path = file.path;
        plan.undone.image = file.image;
        const auto identity = FileIdentity::of(file.path);
        plan.undone.identity = identity;
        if (!identity)
            return missingFile(file, std::move(plan));
        if (!file.created && file.identity == identity)
            return decided(std::move(plan), FileOutcomeKind::unchanged,
                           QStringLiteral("The write never changed it."));
        const auto found = m_current.find(file.path);
        if (found == m_current.end())
            return decided(std::move(plan), FileOutcomeKind::failed,
                           QStringLiteral("exiftool can't read it."));
        const auto now = [&found](const QString& tag) {
            const auto it = found->second.find(tag);
            return it == found->second.end() ? ExactValue{} : it->second;
        };
        bool iptcLeft = false;
        for (const auto& [tag, values] : file.tags) {
            const ExactValue current = now(tag);
            if (isIptcRecordTag(tag) || sameValue(current.raw, values.before))
                continue;
            if (!holds(current, values.written)) {
                plan.notes << QStringLiteral("%1 %2 changed since the write; %3")
                                  .arg(QFileInfo(file.path).fileName(), tag,
                                       m_force ? QStringLiteral("restored anyway")
                                               : QStringLiteral("left as it is"));
                if (!m_force) {
                    iptcLeft = iptcLeft || isIptc(tag);
                    continue;
                }
            }
            plan.restore[tag] = values.before;
        }
        // The record's own tags go back with the record, never under a tag
        // that stays: it could no longer be read as it was written.
        for (const auto& [tag, values] : file.tags) {
            if (isIptcRecordTag(tag) && !iptcLeft && !sameValue(now(tag).raw, values.before))
                plan.restore[tag] = values.before;
        }
        const auto charset = plan.restore.find(QStringLiteral("IPTC:CodedCharacterSet"));
        plan.iptcUtf8 = charset != plan.restore.end()
                            ? isUtf8Charset({charset->second, charset->second})
                            : isUtf8Charset(now(QStringLiteral("IPTC:CodedCharacterSet")));
        if (file.created && holdsNothingElse(file, plan))
            plan.remove = true;
        for (const auto& [tag, values] : file.tags) {
            if (plan.remove || plan.restore.contains(tag))
                plan.undone.tags.emplace(
                    tag, JournalTag{now(tag).raw, plan.remove ? Json() : plan.restore[tag]});
        }
        plan.undone.removed = plan.remove;
        if (plan.remove)
            plan.restore.clear();
        else if (plan.restore.empty())
            return decided(std::move(plan), FileOutcomeKind::unchanged,
                           plan.notes.join(QLatin1Char('\n')));
        return plan;
    }

private:
    static FilePlan decided(FilePlan plan, FileOutcomeKind kind, const QString& message)
    {
        plan.decided = FileOutcome{plan.path, kind, message};
        return plan;
    }

    FilePlan missingFile(const JournalFile& file, FilePlan plan) const
    {
        if (file.created)
            return decided(std::move(plan), FileOutcomeKind::unchanged,
                           QStringLiteral("Already gone."));
        if (!file.removed)
            return decided(std::move(plan), FileOutcomeKind::failed,
                           QStringLiteral("File not found"));
        // An undo took this sidecar away: it comes back with what it held.
        plan.undone.created = true;
        for (const auto& [tag, values] : file.tags) {
            if (values.before.is_null())
                continue;
            plan.restore[tag] = values.before;
            plan.undone.tags.emplace(tag, JournalTag{nullptr, values.before});
        }
        if (plan.restore.empty())
            return decided(std::move(plan), FileOutcomeKind::unchanged, {});
        return plan;
    }

    // Whether the sidecar holds nothing but the tags the write put there,
    // each still as the write left it (or restored anyway).
    bool holdsNothingElse(const JournalFile& file, const FilePlan& plan) const
    {
        const auto sidecar = m_sidecars.find(file.path);
        if (sidecar == m_sidecars.end())
            return false;
        for (const auto& [key, value] : sidecar->second) {
            if (isHousekeeping(key))
                continue;
            const bool ours = std::ranges::any_of(plan.restore, [&key](const auto& restored) {
                return keyNamesTag(key, restored.first);
            });
            if (!ours)
                return false;
        }
        return plan.notes.isEmpty() || m_force;
    }

    const ExactValues& m_current;
    const ExactValues& m_sidecars;
    bool m_force;
};

std::expected<void, Error> checkTags(const WriteJournal& journal, const QString& journalPath,
                                     const UndoOptions& options)
{
    if (!options.writableTags)
        return {};
    const auto writable = options.writableTags->tagsOf(options.exiftool, ExiftoolConfig::none());
    if (!writable)
        return {};
    for (std::size_t i = 0; i < journal.files.size(); ++i) {
        for (const auto& tag : journal.files[i].tags) {
            if (!writable->canWrite(tag.first))
                return std::unexpected(damagedJournalError(
                    journalPath, QStringLiteral("files[%1].tags[\"%2\"]").arg(i).arg(tag.first),
                    QStringLiteral("exiftool can't write “%1”").arg(tag.first)));
        }
    }
    return {};
}

// Reads, under the writer lock, what the files hold now.
std::expected<std::pair<ExactValues, ExactValues>, Error> readFiles(const WriteJournal& journal,
                                                                    const ExifTool& reader)
{
    QStringList paths;
    QStringList sidecars;
    QStringList tags;
    for (const JournalFile& file : journal.files) {
        if (!QFileInfo::exists(file.path))
            continue;
        paths << file.path;
        if (file.created)
            sidecars << file.path;
        for (const auto& tag : file.tags) {
            if (!tags.contains(tag.first))
                tags << tag.first;
        }
    }
    auto current = readExactValues(reader, paths, tags);
    if (!current)
        return std::unexpected(current.error());
    auto everything = readExactValues(reader, sidecars, {});
    if (!everything)
        return std::unexpected(everything.error());
    return std::pair{std::move(*current), std::move(*everything)};
}

// The restoring runs: one JSON file for exiftool to import per setting of
// the IPTC character set, each in a -execute section of one exiftool.
// Values go back raw ("TAG#") and bytes from base64; a tag to delete gets
// a token of this run's own that exiftool takes as missing.
std::expected<QStringList, Error> restoreArguments(const std::vector<FilePlan*>& plans,
                                                   const QString& folder, QString& token)
{
    token = QStringLiteral("quillbrook-absent-") + QUuid::createUuid().toString(QUuid::Id128);
    QStringList arguments;
    for (const bool utf8 : {false, true}) {
        Json objects = Json::array();
        QStringList paths;
        for (const FilePlan* plan : plans) {
            if (plan->iptcUtf8 != utf8)
                continue;
            Json object{{"SourceFile", plan->path.toStdString()}};
            for (const auto& [tag, value] : plan->restore) {
                const bool absent = value.is_null() || (value.is_array() && value.empty());
                object[(tag + QLatin1Char('#')).toStdString()] =
                    absent ? Json(token.toStdString()) : value;
            }
            objects.push_back(std::move(object));
            paths << plan->path;
        }
        if (paths.isEmpty())
            continue;
        const QString file = folder + QStringLiteral("/restore-%1.json").arg(utf8);
        if (auto written = writeJsonFile(objects, file); !written)
            return std::unexpected(written.error());
        if (!arguments.isEmpty())
            arguments << QStringLiteral("-execute");
        arguments << QStringLiteral("-json=") + file;
        if (utf8)
            arguments << QStringLiteral("-charset") << QStringLiteral("iptc=utf8");
        arguments << paths;
    }
    arguments << QStringLiteral("-common_args") << QStringLiteral("-f") << QStringLiteral("-api")
              << QStringLiteral("MissingTagValue=") + token << QStringLiteral("-ignoreMinorErrors")
              << QStringLiteral("-overwrite_original");
    return arguments;
}

std::expected<FileOutcomes, Error>
runRestore(const ExifTool& exiftool, const std::vector<FilePlan*>& plans, const QString& folder)
{
    if (plans.empty())
        return FileOutcomes{};
    QString token;
    const auto arguments = restoreArguments(plans, folder, token);
    if (!arguments)
        return std::unexpected(arguments.error());
    QStringList paths;
    std::map<QString, std::optional<FileIdentity>> before;
    for (const FilePlan* plan : plans) {
        paths << plan->path;
        before[plan->path] = FileIdentity::of(plan->path);
    }
    ExifTool writer = exiftool;
    writer.setOverwriteOriginal(false);
    writer.setTrace({});
    writer.setArgumentFileFolder(folder);
    std::optional<Error> failure;
    QString standardError;
    writer.run(*arguments, [&](std::expected<ProcessResult, ExiftoolError> result) {
        if (result)
            standardError = QString::fromUtf8(result->standardError);
        else if (result.error().kind() == ExiftoolError::Case::responseNotZero)
            standardError = result.error().stdErr().value_or(QString());
        else
            failure = result.error().toError(ExiftoolTask::write);
    });
    if (failure)
        return std::unexpected(*failure);
    return fileOutcomes(paths, fileMessages(standardError, paths), [&before](const QString& path) {
        return FileIdentity::of(path) != before[path];
    });
}

FileOutcome removeSidecar(const QString& path)
{
    QFile file(path);
    if (file.remove())
        return {path, FileOutcomeKind::written, {}};
    return {path, FileOutcomeKind::failed, file.errorString()};
}

} // namespace

bool isRefusedJournal(const Error& error)
{
    return error.domain == QLatin1String("QuillbrookKit.WriteJournal") && error.code == 1;
}

std::expected<UndoResult, Error> undoWrite(const QString& journalPath, const UndoOptions& options)
{
    auto journal = WriteJournal::load(journalPath);
    if (!journal)
        return std::unexpected(journal.error());
    if (auto checked = checkJournalFiles(*journal, journalPath); !checked)
        return std::unexpected(checked.error());
    if (auto checked = checkTags(*journal, journalPath, options); !checked)
        return std::unexpected(checked.error());

    const auto lock = WriterLock(options.writerLockPath).acquire(options.waiting, options.stop);
    if (!lock)
        return std::unexpected(lock.error());
    if (!*lock)
        return std::unexpected(undoError(QStringLiteral("Stopped before anything was restored.")));
    const auto folder = makePrivateFolder();
    if (!folder->isValid())
        return std::unexpected(undoError(
            QStringLiteral("The private folder for the values to restore could not be made."),
            folder->errorString()));
    const ExifTool exiftool(options.exiftool, {});
    const auto read = readFiles(*journal, exiftool);
    if (!read)
        return std::unexpected(read.error());

    const Planner planner(read->first, read->second, options.force);
    std::vector<FilePlan> plans;
    UndoResult result;
    WriteJournal undone{options.now, QStringLiteral("undo"), {}};
    for (const JournalFile& file : journal->files) {
        plans.push_back(planner.plan(file));
        result.notes << plans.back().notes;
        if (!plans.back().decided)
            undone.files.push_back(plans.back().undone);
    }
    if (options.journalDirectory && !undone.files.empty()) {
        result.journalPath = newJournalPath(*options.journalDirectory, options.now);
        if (auto saved = undone.save(result.journalPath); !saved)
            return std::unexpected(saved.error());
    }
    std::vector<FilePlan*> writes;
    for (FilePlan& plan : plans) {
        if (!plan.decided && !plan.remove)
            writes.push_back(&plan);
    }
    const auto written = runRestore(exiftool, writes, folder->path());
    if (!written)
        return std::unexpected(written.error());
    auto next = written->begin();
    for (FilePlan& plan : plans) {
        if (plan.decided)
            result.outcomes.push_back(*plan.decided);
        else if (plan.remove)
            result.outcomes.push_back(removeSidecar(plan.path));
        else
            result.outcomes.push_back(*next++);
        if (!plan.notes.isEmpty() && result.outcomes.back().message.isEmpty())
            result.outcomes.back().message = plan.notes.join(QLatin1Char('\n'));
    }
    return result;
}

} // namespace qb
