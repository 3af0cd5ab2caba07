// SPDX-License-Identifier: GPL-3.0-or-later
#include "writefiles.h"

#include "writing/writechecks.h"

#include "exif/metadatareader.h"
#include "extensions/filesinuse.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>

#include <sys/stat.h>
#include <sys/xattr.h>

namespace qb {

namespace {

const QString temporarySuffix = QStringLiteral("_exiftool_tmp");

// A label every file of some systems carries, which a new file gets as well.
bool onlyLabels(const QByteArray& names)
{
    for (const QByteArray& name : names.split('\0')) {
        if (!name.isEmpty() && name != "security.selinux")
            return false;
    }
    return true;
}

// Removes each target's temporary file that exiftool left behind when it
// ended without cleaning up: held by no process and older than the write.
// Answers the note for each target whose file went.
QHash<QString, QString> removeStaleTemporaryFiles(const std::vector<WriteFile>& files,
                                                  const QDateTime& start)
{
    QStringList found;
    for (const WriteFile& file : files) {
        const QString temporary = file.target + temporarySuffix;
        const QFileInfo info(temporary);
        if (info.exists() && info.isFile() && info.lastModified() < start)
            found << temporary;
    }
    QHash<QString, QString> notes;
    if (found.isEmpty())
        return notes;
    const QSet<QString> busy = filesOpenForWriting(found);
    for (const QString& temporary : found) {
        if (!busy.contains(temporary) && QFile::remove(temporary))
            notes.insert(temporary.chopped(temporarySuffix.size()),
                         staleTemporaryFileNote(temporary));
    }
    return notes;
}

} // namespace

QString linkTarget(const QString& path)
{
    const QFileInfo info(path);
    if (!info.isSymLink())
        return path;
    const QString target = info.canonicalFilePath();
    return target.isEmpty() ? path : target; // a dangling link fails as the file would
}

bool needsWriteInPlace(const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat info {};
    if (::lstat(name.constData(), &info) != 0 || !S_ISREG(info.st_mode))
        return false;
    if (info.st_nlink > 1)
        return true;
    const ssize_t size = ::listxattr(name.constData(), nullptr, 0);
    if (size <= 0)
        return false;
    QByteArray names(size, '\0');
    const ssize_t read = ::listxattr(name.constData(), names.data(), std::size_t(names.size()));
    return read > 0 && !onlyLabels(names.left(read));
}

bool setsValues(const ExifImage& image, bool sidecars)
{
    for (const auto& [tag, value] : image.metadata) {
        if (tag == ExifImage::sourceFileKey || (sidecars && !sidecarCanHold(tag)))
            continue;
        if (value.isList() ? !value.toList().empty() : !value.description().trimmed().isEmpty())
            return true;
    }
    return false;
}

WritePlan planWrite(const std::map<QUrl, std::shared_ptr<ExifImage>>& batch, bool sidecars,
                    SidecarNaming naming, const QDateTime& start)
{
    SidecarFinder sidecarFinder(naming);
    std::vector<WriteFile> files;
    files.reserve(batch.size());
    for (const auto& [url, image] : batch) {
        WriteFile file{image, url.toLocalFile(), {}, {}, false, {}};
        const QString path = image->url().value_or(url).toLocalFile();
        if (const QString target = linkTarget(path); target != path)
            image->metadata.insert_or_assign(ExifImage::sourceFileKey, QUrl::fromLocalFile(target));
        const QUrl source = image->url().value_or(url);
        file.target =
            sidecars ? sidecarFinder.sidecarOf(source).toLocalFile() : source.toLocalFile();
        files.push_back(std::move(file));
    }
    QStringList targets;
    for (const WriteFile& file : files)
        targets << file.target;
    const QSet<QString> busy = filesOpenForWriting(targets);
    WritePlan plan;
    for (WriteFile& file : files) {
        if (busy.contains(file.target))
            plan.leftOut.push_back(
                {file.imagePath, FileOutcomeKind::leftOut, leftOutReason::stillBeingWritten()});
        else
            plan.files.push_back(std::move(file));
    }
    const QHash<QString, QString> notes = removeStaleTemporaryFiles(plan.files, start);
    for (WriteFile& file : plan.files) {
        file.note = notes.value(file.target);
        file.inPlace = needsWriteInPlace(file.target);
        file.before = FileStamp::of(file.target);
    }
    return plan;
}

FileOutcomes runOutcomes(const std::vector<const WriteFile*>& files, const WriteReport& report,
                         const std::expected<QString, Error>& result, bool sidecars, bool stopped)
{
    QStringList images;
    QStringList known;
    QHash<QString, const WriteFile*> byPath;
    for (const WriteFile* file : files) {
        images << file->imagePath;
        known << file->imagePath << file->target;
        byPath.insert(file->imagePath, file);
        byPath.insert(file->target, file);
    }
    ExiftoolLines lines = exiftoolLines(report.standardError, known);
    for (FileMessage& message : lines.messages)
        message.path = byPath.value(message.path)->imagePath;
    RunFacts facts;
    facts.changed = [&byPath](const QString& path) {
        const WriteFile* file = byPath.value(path);
        return FileStamp::of(file->target) != file->before;
    };
    facts.hadValues = [&byPath, sidecars](const QString& path) {
        return setsValues(*byPath.value(path)->image, sidecars);
    };
    facts.finished = result.has_value() || report.written.has_value();
    facts.countedUnchanged = report.unchanged.value_or(0) > 0;
    facts.stopped = stopped;
    if (!result)
        facts.failure = result.error().message();
    facts.unattributed = lines.unattributed;
    FileOutcomes outcomes = fileOutcomes(images, lines.messages, facts);
    for (FileOutcome& outcome : outcomes) {
        const QString& note = byPath.value(outcome.path)->note;
        if (!note.isEmpty())
            outcome.message =
                outcome.message.isEmpty() ? note : note + QLatin1Char('\n') + outcome.message;
    }
    return outcomes;
}

} // namespace qb
