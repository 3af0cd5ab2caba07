// SPDX-License-Identifier: GPL-3.0-or-later
#include "packagestore.h"

#include "extensions/log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QRandomGenerator>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace qb {

namespace {

enum class PackageErrorCode { notADocument = 1, notSaved = 2 };

Error openError(const QString& path, const QString& reason)
{
    Error error;
    error.domain = QStringLiteral("qb.DocumentPackage");
    error.code = static_cast<int>(PackageErrorCode::notADocument);
    error.errorDescription =
        QStringLiteral("The document “%1” could not be opened.").arg(QFileInfo(path).fileName());
    error.failureReason = reason;
    error.recoverySuggestion = QStringLiteral("Choose a .%1 package or the mapping.json inside it.")
                                   .arg(packageExtension());
    error.userInfo.insert(QStringLiteral("path"), path);
    return error;
}

Error saveError(const QString& path, const QString& reason, const Error* underlying = nullptr)
{
    Error error;
    error.domain = QStringLiteral("qb.DocumentPackage");
    error.code = static_cast<int>(PackageErrorCode::notSaved);
    error.errorDescription =
        QStringLiteral("The document “%1” could not be saved.").arg(QFileInfo(path).fileName());
    error.failureReason = reason;
    error.userInfo.insert(QStringLiteral("path"), path);
    if (underlying)
        error.underlying = std::make_shared<const Error>(*underlying);
    return error;
}

// A hidden name beside `path` that nothing uses yet.
QString siblingName(const QString& path, const char* purpose)
{
    const QFileInfo info(path);
    for (;;) {
        const QString candidate = info.dir().filePath(
            // One arg() call: a second would read a "%1" in the file name.
            QStringLiteral(".%1.%2-%3")
                .arg(info.fileName(), QLatin1String(purpose),
                     QStringLiteral("%1").arg(QRandomGenerator::global()->generate(), 8, 16,
                                              QLatin1Char('0'))));
        if (!QFileInfo::exists(candidate) && !QFileInfo(candidate).isSymLink())
            return candidate;
    }
}

bool removeTree(const QString& path)
{
    const QFileInfo info(path);
    if (info.isDir() && !info.isSymLink())
        return QDir(path).removeRecursively();
    return QFile::remove(path);
}

// QFile::rename copies when it can't rename; a package must move in one step.
std::expected<void, QString> renameInPlace(const QString& from, const QString& to)
{
    if (std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0)
        return {};
    return std::unexpected(QString::fromLocal8Bit(std::strerror(errno)));
}

const QString mappingMember = mappingMemberName();
const QString datasourceMember = datasourceMemberName();

// Why the member described by `info` can't be taken, judged before anything
// is opened; nothing when it lies inside the package at `root` (canonical).
std::optional<QString> outsideReason(const QFileInfo& info, const QString& root)
{
    const QString target = info.canonicalFilePath();
    if (target.isEmpty())
        return info.isSymLink() ? QStringLiteral("It is a link to something that isn't there.")
                                : QStringLiteral("There is no such file.");
    if (!target.startsWith(root + QLatin1Char('/')))
        return QStringLiteral("It is a link to something outside the package.");
    return std::nullopt;
}

void leaveOut(const QString& relative, const QString& reason)
{
    qbLog(QStringLiteral("Leaving \u201c%1\u201d out of the document: %2").arg(relative, reason));
}

// Reads the members of one package, keeping count of what all of them hold.
class PackageReader {
public:
    explicit PackageReader(QString root)
        : m_root(std::move(root))
    {
    }

    QFileInfo info(const QString& relative) const
    {
        return QFileInfo(m_root + QLatin1Char('/') + relative);
    }

    // The regular file at `relative`, or why it can't be taken.
    std::expected<FileWrapper, QString> regularMember(const QString& relative)
    {
        const QFileInfo member = info(relative);
        if (auto refused = outsideReason(member, m_root))
            return std::unexpected(*refused);
        if (member.size() > m_budget)
            return std::unexpected(budgetReason());
        auto read = FileWrapper::readRegularFile(member.canonicalFilePath(), maximumMemberSize);
        if (!read)
            return std::unexpected(read.error().failureReason);
        const qint64 size = read->regularFileContents()->size();
        if (size > m_budget)
            return std::unexpected(budgetReason());
        m_budget -= size;
        read->preferredFilename = member.fileName();
        return std::move(*read);
    }

    // The direct members of datasource/ that can be read; folders and
    // whatever else is refused are left out.
    FileWrapper datasourceFolder()
    {
        FileWrapper::Members members;
        const QStringList names =
            QDir(info(datasourceMember).canonicalFilePath())
                .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
        for (const QString& name : names) {
            const QString relative = datasourceMember + QLatin1Char('/') + name;
            if (info(relative).isDir() && !outsideReason(info(relative), m_root)) {
                leaveOut(relative, QStringLiteral("It is a folder."));
                continue;
            }
            auto member = regularMember(relative);
            if (member)
                members.emplace(name, std::move(*member));
            else
                leaveOut(relative, member.error());
        }
        return FileWrapper::directory(std::move(members), datasourceMember);
    }

private:
    static QString budgetReason()
    {
        return QStringLiteral("The package holds more than %1 in all.")
            .arg(QLocale::c().formattedDataSize(maximumPackageSize, 0));
    }

    QString m_root;
    qint64 m_budget = maximumPackageSize;
};

} // namespace

std::expected<FileWrapper, Error> readPackage(const QString& path)
{
    const QString root = QFileInfo(path).canonicalFilePath();
    if (root.isEmpty() || !QFileInfo(root).isDir())
        return std::unexpected(openError(path, QStringLiteral("There is no such folder.")));
    PackageReader reader(root);
    FileWrapper::Members members;

    const QFileInfo mapping = reader.info(mappingMember);
    if (mapping.exists() || mapping.isSymLink()) {
        const bool folderInside = mapping.isDir() && !outsideReason(mapping, root);
        // A folder by that name is a member without contents, which decoding
        // reports as such.
        std::expected<FileWrapper, QString> member = folderInside
                                                         ? FileWrapper::directory({}, mappingMember)
                                                         : reader.regularMember(mappingMember);
        if (!member)
            return std::unexpected(
                openError(path, QStringLiteral("Its \u201c%1\u201d can't be read. %2")
                                    .arg(mappingMember, member.error())));
        members.emplace(mappingMember, std::move(*member));
    }

    const QFileInfo datasource = reader.info(datasourceMember);
    if (datasource.exists() || datasource.isSymLink()) {
        if (auto refused = outsideReason(datasource, root))
            leaveOut(datasourceMember, *refused);
        else if (!datasource.isDir())
            leaveOut(datasourceMember, QStringLiteral("It is not a folder."));
        else
            members.emplace(datasourceMember, reader.datasourceFolder());
    }
    return FileWrapper::directory(std::move(members), QFileInfo(root).fileName());
}

std::expected<QString, Error> packagePathForOpening(const QString& path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return std::unexpected(openError(path, QStringLiteral("There is no such file or folder.")));
    if (info.isDir())
        return QDir::cleanPath(info.absoluteFilePath());
    if (info.fileName() == QLatin1String("mapping.json"))
        return QDir::cleanPath(info.absolutePath());
    return std::unexpected(
        openError(path, QStringLiteral("It is neither a package folder nor a mapping.json.")));
}

QString packagePathForSaving(const QString& path)
{
    const QString clean = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    if (QFileInfo(clean).suffix() == packageExtension())
        return clean;
    return clean + QLatin1Char('.') + packageExtension();
}

std::expected<void, Error> replacePackage(const FileWrapper& package, const QString& path)
{
    const QString staging = siblingName(path, "saving");
    if (const auto written = package.write(staging); !written) {
        removeTree(staging);
        return std::unexpected(saveError(path, written.error().message(), &written.error()));
    }
    const bool hadPrevious = QFileInfo::exists(path) || QFileInfo(path).isSymLink();
    const QString previous = hadPrevious ? siblingName(path, "previous") : QString();
    if (hadPrevious) {
        if (const auto moved = renameInPlace(path, previous); !moved) {
            removeTree(staging);
            return std::unexpected(
                saveError(path, QStringLiteral("The previous version could not be set aside: %1.")
                                    .arg(moved.error())));
        }
    }
    if (const auto moved = renameInPlace(staging, path); !moved) {
        Error error = saveError(
            path, QStringLiteral("The new version could not be moved in: %1.").arg(moved.error()));
        if (hadPrevious && !renameInPlace(previous, path))
            error.recoverySuggestion =
                QStringLiteral("The previous version is kept whole at “%1”.").arg(previous);
        removeTree(staging);
        return std::unexpected(error);
    }
    // The new package is in place; a leftover copy of the old one costs
    // space, not data, so it doesn't fail the save.
    if (hadPrevious && !removeTree(previous))
        qbLog(QStringLiteral("Could not remove the previous version of the document at %1")
                  .arg(previous));
    return {};
}

} // namespace qb
