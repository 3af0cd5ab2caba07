// SPDX-License-Identifier: GPL-3.0-or-later
#include "ziparchive.h"

#include "spreadsheet/spreadsheeterror.h"

#include <QFile>

#include <quazip.h>
#include <quazipfile.h>

#include <cstring>

namespace qb {

namespace {

// Bit 0 of a zip entry's flags: its data is encrypted.
constexpr quint16 encryptedFlag = 0x1;

QString zipErrorText(int code)
{
    switch (code) {
    case UNZ_CRCERROR:
        return QStringLiteral("a part\u2019s checksum doesn\u2019t match its contents");
    case UNZ_BADZIPFILE:
        return QStringLiteral("its structure is broken");
    case UNZ_OPENERROR:
        return QStringLiteral("its table of contents is missing or broken");
    case Z_DATA_ERROR:
        return QStringLiteral("a part\u2019s packed data is broken");
    default:
        return QStringLiteral("zip error %1").arg(code);
    }
}

} // namespace

CappedDevice::CappedDevice(QIODevice& source, qint64 limit, qint64 runLimit)
    : m_source(source)
    , m_limit(limit)
    , m_runLimit(runLimit)
{
}

bool CappedDevice::atEnd() const
{
    return m_failure != Failure::none || m_source.atEnd();
}

qint64 CappedDevice::readData(char* data, qint64 maxSize)
{
    if (m_failure != Failure::none)
        return -1;
    const qint64 count = m_source.read(data, maxSize);
    if (count < 0) {
        m_failure = Failure::readFailed;
        return -1;
    }
    m_total += count;
    if (m_total > m_limit) {
        m_failure = Failure::tooLarge;
        return -1;
    }
    // Every run between two '<' counts, those within one read too.
    for (const char *at = data, *end = data + count;;) {
        const auto* next = static_cast<const char*>(std::memchr(at, '<', end - at));
        m_run += (next ? next : end) - at;
        if (m_run > m_runLimit) {
            m_failure = Failure::longRun;
            break;
        }
        if (next == nullptr)
            break;
        m_run = 0;
        at = next + 1;
    }
    return m_failure == Failure::none ? count : -1;
}

qint64 CappedDevice::writeData(const char*, qint64)
{
    return -1;
}

PartStream::PartStream(QuaZip& zip, QString name, const QString& path,
                       const SpreadsheetLimits& limits)
    : m_name(std::move(name))
    , m_path(path)
    , m_runLimit(limits.runBytes)
    , m_limit(limits.partBytes)
    , m_file(std::make_unique<QuaZipFile>(&zip))
{
}

PartStream::~PartStream()
{
    if (m_capped)
        m_capped->close();
    if (m_file->isOpen())
        m_file->close();
}

std::optional<Error> PartStream::open()
{
    if (!m_file->open(QIODevice::ReadOnly))
        return damagedZipError(m_path, zipErrorText(m_file->getZipError()));
    m_capped = std::make_unique<CappedDevice>(*m_file, m_limit, m_runLimit);
    m_capped->open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    return std::nullopt;
}

QIODevice& PartStream::device()
{
    return *m_capped;
}

std::optional<Error> PartStream::failure() const
{
    switch (m_capped->failure()) {
    case CappedDevice::Failure::none:
        return std::nullopt;
    case CappedDevice::Failure::tooLarge:
        return partTooLargeError(m_path, m_name, m_limit);
    case CappedDevice::Failure::longRun:
        return damagedPartError(
            m_path, m_name,
            QStringLiteral("it holds a text of more than %1 bytes, more than any cell holds")
                .arg(m_runLimit));
    case CappedDevice::Failure::readFailed:
        break;
    }
    return damagedZipError(m_path, zipErrorText(m_file->getZipError()));
}

std::optional<Error> PartStream::close()
{
    if (auto stopped = failure())
        return stopped;
    m_capped->close();
    m_file->close();
    if (m_file->getZipError() != UNZ_OK)
        return damagedZipError(m_path, zipErrorText(m_file->getZipError()));
    return std::nullopt;
}

ZipArchive::ZipArchive(std::unique_ptr<QFile> file, QString path, const SpreadsheetLimits& limits)
    : m_file(std::move(file))
    , m_zip(std::make_unique<QuaZip>(m_file.get()))
    , m_path(std::move(path))
    , m_limits(limits)
{
}

ZipArchive::~ZipArchive() = default;

std::expected<std::unique_ptr<ZipArchive>, Error>
ZipArchive::open(std::unique_ptr<QFile> file, const QString& path, const SpreadsheetLimits& limits)
{
    std::unique_ptr<ZipArchive> archive(new ZipArchive(std::move(file), path, limits));
    QuaZip& zip = *archive->m_zip;
    // QuaZip would close our file with itself; the archive owns the file.
    zip.setAutoClose(false);
    if (!zip.open(QuaZip::mdUnzip))
        return std::unexpected(damagedZipError(path, zipErrorText(zip.getZipError())));
    const QList<QuaZipFileInfo64> infos = zip.getFileInfoList64();
    if (zip.getZipError() != UNZ_OK)
        return std::unexpected(damagedZipError(path, zipErrorText(zip.getZipError())));
    for (const QuaZipFileInfo64& info : infos) {
        const bool encrypted = (info.flags & encryptedFlag) != 0;
        archive->m_names << info.name;
        archive->m_entries.insert(info.name.toLower(),
                                  Entry{info.name, info.uncompressedSize, encrypted});
        archive->m_anyEncrypted = archive->m_anyEncrypted || encrypted;
    }
    return archive;
}

bool ZipArchive::contains(const QString& name) const
{
    return m_entries.contains(name.toLower());
}

std::expected<std::unique_ptr<PartStream>, Error> ZipArchive::openPart(const QString& name)
{
    const auto found = m_entries.constFind(name.toLower());
    if (found == m_entries.cend())
        return std::unexpected(missingPartError(m_path, name));
    if (found->encrypted)
        return std::unexpected(refusedFileError(m_path, SpreadsheetErrorCode::passwordProtected));
    // Checked before a byte is unpacked; the capped device catches a part
    // whose declared size lies.
    if (found->size > quint64(m_limits.partBytes))
        return std::unexpected(partTooLargeError(m_path, found->name, m_limits.partBytes));
    if (!m_zip->setCurrentFile(found->name, QuaZip::csSensitive))
        return std::unexpected(damagedZipError(m_path, zipErrorText(m_zip->getZipError())));
    auto part = std::make_unique<PartStream>(*m_zip, found->name, m_path, m_limits);
    if (auto failed = part->open())
        return std::unexpected(*failed);
    return part;
}

std::expected<QByteArray, Error> ZipArchive::readPart(const QString& name, qint64 maxBytes)
{
    auto part = openPart(name);
    if (!part)
        return std::unexpected(part.error());
    QByteArray bytes = (*part)->device().read(maxBytes);
    if (auto failure = (*part)->failure())
        return std::unexpected(*failure);
    return bytes;
}

} // namespace qb
