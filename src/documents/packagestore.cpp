// SPDX-License-Identifier: GPL-3.0-or-later
#include "packagestore.h"

#include "extensions/log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
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
            QStringLiteral(".%1.%2-%3")
                .arg(info.fileName(), QLatin1String(purpose))
                .arg(QRandomGenerator::global()->generate(), 8, 16, QLatin1Char('0')));
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

} // namespace

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
