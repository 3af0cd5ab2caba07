// SPDX-License-Identifier: GPL-3.0-or-later
#include "spreadsheetfile.h"

#include "extensions/regularfile.h"
#include "spreadsheet/odsreader.h"
#include "spreadsheet/spreadsheeterror.h"
#include "spreadsheet/xlsxparts.h"

#include <QFile>
#include <QFileInfo>

#include <cstring>

using namespace Qt::StringLiterals;

namespace qb {

namespace {

using enum SpreadsheetErrorCode;

const QByteArray oleMagic = QByteArrayLiteral("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1");

// A compound file's directory entries are 128 bytes on 128-byte boundaries:
// a name in UTF-16 and, at byte 64, the name's size with its terminator.
// An Office file encrypted with a password is such a file holding the
// stream "EncryptionInfo" beside the encrypted package.
bool holdsEncryptionInfo(QFile& file, qint64 scanLimit)
{
    const QString name = u"EncryptionInfo"_s;
    const QByteArray entryName(reinterpret_cast<const char*>(name.utf16()), name.size() * 2);
    const char nameSize[2] = {char((name.size() + 1) * 2), 0};
    if (!file.seek(0))
        return false;
    for (qint64 scanned = 0; scanned < scanLimit;) {
        const QByteArray chunk = file.read(qint64{1} << 20);
        for (qsizetype at = 0; at + 128 <= chunk.size(); at += 128) {
            if (std::memcmp(chunk.constData() + at, entryName.constData(), entryName.size()) == 0 &&
                std::memcmp(chunk.constData() + at + 64, nameSize, 2) == 0)
                return true;
        }
        if (chunk.size() < (qint64{1} << 20))
            return false;
        scanned += chunk.size();
    }
    return false;
}

// What a file that is no zip is, as far as its first bytes tell.
QString whatIsNotZip(const QByteArray& start)
{
    if (start.isEmpty())
        return u"It is empty."_s;
    const QByteArray lower = start.toLower();
    if (lower.contains("urn:schemas-microsoft-com:office:spreadsheet"))
        return u"It is an Excel 2003 XML spreadsheet."_s;
    if (lower.contains("<html") || lower.contains("<table"))
        return u"It is a web page (HTML) with a spreadsheet\u2019s name."_s;
    if (!start.contains('\0'))
        return u"It looks like text, perhaps CSV with a spreadsheet\u2019s name."_s;
    return {};
}

bool isNumbersPart(const QString& name)
{
    const QString lower = name.toLower();
    return (lower.startsWith(u"index/"_s) && lower.endsWith(u".iwa"_s)) ||
           lower == u"index.zip"_s || lower == u"index.xml.gz"_s;
}

std::expected<SpreadsheetFormat, Error> officeFormat(ZipArchive& archive)
{
    auto main = xlsxMainPart(archive);
    if (!main)
        return std::unexpected(main.error());
    const QString part = main->value_or(QString()).toLower();
    if (part.endsWith(u".bin"_s) || archive.contains(u"xl/workbook.bin"_s))
        return std::unexpected(refusedFileError(archive.path(), binaryWorkbook));
    if (part.endsWith(u"/document.xml"_s))
        return std::unexpected(
            refusedFileError(archive.path(), notASpreadsheet, u"It is a Word document."_s));
    if (part.endsWith(u"/presentation.xml"_s))
        return std::unexpected(refusedFileError(archive.path(), notASpreadsheet,
                                                u"It is a PowerPoint presentation."_s));
    return SpreadsheetFormat::xlsx;
}

std::expected<SpreadsheetFormat, Error> openDocumentFormat(ZipArchive& archive)
{
    if (archive.contains(u"mimetype"_s)) {
        auto type = archive.readPart(u"mimetype"_s, 256);
        if (!type)
            return std::unexpected(type.error());
        const QString mimeType = QString::fromLatin1(type->trimmed());
        if (mimeType.startsWith(u"application/vnd.oasis.opendocument."_s) &&
            !mimeType.startsWith(u"application/vnd.oasis.opendocument.spreadsheet"_s)) {
            return std::unexpected(refusedFileError(
                archive.path(), notASpreadsheet,
                u"It is an OpenDocument file of another kind (%1)."_s.arg(mimeType)));
        }
    }
    auto encrypted = odsIsEncrypted(archive);
    if (!encrypted)
        return std::unexpected(encrypted.error());
    if (*encrypted)
        return std::unexpected(refusedFileError(archive.path(), passwordProtected));
    return SpreadsheetFormat::ods;
}

std::expected<SpreadsheetFormat, Error> zipFormat(ZipArchive& archive)
{
    if (std::any_of(archive.names().begin(), archive.names().end(), isNumbersPart))
        return std::unexpected(refusedFileError(archive.path(), numbersDocument));
    if (archive.contains(u"[Content_Types].xml"_s))
        return officeFormat(archive);
    if (archive.contains(u"content.xml"_s))
        return openDocumentFormat(archive);
    if (archive.anyEncrypted())
        return std::unexpected(refusedFileError(archive.path(), passwordProtected));
    return std::unexpected(refusedFileError(archive.path(), notASpreadsheet,
                                            u"It is a zip archive of other files."_s));
}

} // namespace

std::expected<OpenedSpreadsheet, Error> openSpreadsheet(const QString& path,
                                                        const SpreadsheetLimits& limits)
{
    // A Numbers document may be a folder; it is refused as what it is.
    if (QFileInfo(path).suffix().compare(u"numbers"_s, Qt::CaseInsensitive) == 0)
        return std::unexpected(refusedFileError(path, numbersDocument));
    auto file = std::make_unique<QFile>(path);
    if (auto opened = openRegularFile(*file); !opened)
        return std::unexpected(opened.error());
    const QByteArray start = file->peek(4096);
    if (start.startsWith(oleMagic)) {
        const bool encrypted = holdsEncryptionInfo(*file, limits.partBytes);
        return std::unexpected(
            refusedFileError(path, encrypted ? passwordProtected : oldBinaryWorkbook));
    }
    if (!start.startsWith("PK"))
        return std::unexpected(refusedFileError(path, notASpreadsheet, whatIsNotZip(start)));
    auto archive = ZipArchive::open(std::move(file), path, limits);
    if (!archive)
        return std::unexpected(archive.error());
    auto format = zipFormat(**archive);
    if (!format)
        return std::unexpected(format.error());
    return OpenedSpreadsheet{*format, std::move(*archive)};
}

} // namespace qb
