// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"
#include "spreadsheet/sheettable.h"

#include <QByteArray>
#include <QHash>
#include <QIODevice>
#include <QString>
#include <QStringList>

#include <expected>
#include <memory>
#include <optional>

class QFile;
class QuaZip;
class QuaZipFile;

namespace qb {

// Passes on the bytes of another device until they pass `limit`, or until
// `runLimit` bytes come without a '<'. Then every read fails: a part that
// lies about its size, or one giant text, is not read any further.
class CappedDevice : public QIODevice {
public:
    enum class Failure { none, tooLarge, longRun, readFailed };

    CappedDevice(QIODevice& source, qint64 limit, qint64 runLimit);

    Failure failure() const { return m_failure; }
    bool isSequential() const override { return true; }
    bool atEnd() const override;

protected:
    qint64 readData(char* data, qint64 maxSize) override;
    qint64 writeData(const char* data, qint64 size) override;

private:
    QIODevice& m_source;
    qint64 m_limit;
    qint64 m_runLimit;
    qint64 m_total = 0;
    qint64 m_run = 0;
    Failure m_failure = Failure::none;
};

// One part of the archive, open for reading. Only one part of an archive
// can be open at a time.
class PartStream {
public:
    PartStream(QuaZip& zip, QString name, const QString& path, const SpreadsheetLimits& limits);
    ~PartStream();

    std::optional<Error> open();
    QIODevice& device();
    const QString& name() const { return m_name; }
    // Why reading stopped short, in the user's terms, when it did: the size
    // limit, or zip data that can't be unpacked.
    std::optional<Error> failure() const;
    // Closes the part. Read to its end, its checksum must match.
    std::optional<Error> close();

private:
    QString m_name;
    QString m_path;
    qint64 m_runLimit;
    qint64 m_limit;
    std::unique_ptr<QuaZipFile> m_file;
    std::unique_ptr<CappedDevice> m_capped;
};

// A zip container read through QuaZip, with its parts looked up without
// regard to case, as the Office and OpenDocument packages want.
class ZipArchive {
public:
    // `file` is open for reading; the archive owns it from here.
    static std::expected<std::unique_ptr<ZipArchive>, Error>
    open(std::unique_ptr<QFile> file, const QString& path, const SpreadsheetLimits& limits);
    ~ZipArchive();

    const QString& path() const { return m_path; }
    const SpreadsheetLimits& limits() const { return m_limits; }
    const QStringList& names() const { return m_names; }
    bool contains(const QString& name) const;
    // Whether any part is encrypted with a password.
    bool anyEncrypted() const { return m_anyEncrypted; }

    // Refused when missing, encrypted, or declared larger than the limit.
    std::expected<std::unique_ptr<PartStream>, Error> openPart(const QString& name);
    // A small part whole, up to `maxBytes`.
    std::expected<QByteArray, Error> readPart(const QString& name, qint64 maxBytes);

private:
    ZipArchive(std::unique_ptr<QFile> file, QString path, const SpreadsheetLimits& limits);

    struct Entry {
        QString name;
        quint64 size = 0;
        bool encrypted = false;
    };

    // The file goes after the zip that reads it.
    std::unique_ptr<QFile> m_file;
    std::unique_ptr<QuaZip> m_zip;
    QString m_path;
    SpreadsheetLimits m_limits;
    QStringList m_names;
    QHash<QString, Entry> m_entries; // by lower-case name
    bool m_anyEncrypted = false;
};

} // namespace qb
