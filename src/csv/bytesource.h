// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"

#include <QIODevice>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>

namespace qb {

// A pull source of bytes, the input stream of the CSV reader. read() has
// read-up-to-n semantics: a positive count, 0 at the end, negative on error.
class ByteSource {
public:
    // The numbers are those that stream status values are reported with.
    enum class Status {
        notOpen = 0,
        opening = 1,
        open = 2,
        reading = 3,
        writing = 4,
        atEnd = 5,
        closed = 6,
        error = 7
    };

    virtual ~ByteSource() = default;

    virtual void open() = 0;
    virtual void close() = 0;
    virtual qint64 read(std::uint8_t* buffer, qint64 maxLength) = 0;
    virtual Status status() const = 0;
    // Why the source is in the error status.
    virtual std::optional<Error> error() const = 0;
    // Names the source in error texts.
    virtual QString name() const = 0;
};

// A byte source over a Qt device, borrowed or owned. It closes the device
// only if it opened it, so a borrowed device that came open stays open.
class QIODeviceByteSource : public ByteSource {
public:
    explicit QIODeviceByteSource(QIODevice& device);
    explicit QIODeviceByteSource(std::unique_ptr<QIODevice> device);
    ~QIODeviceByteSource() override;

    static std::unique_ptr<QIODeviceByteSource> forFile(const QString& path);

    void open() override;
    void close() override;
    qint64 read(std::uint8_t* buffer, qint64 maxLength) override;
    Status status() const override { return m_status; }
    std::optional<Error> error() const override { return m_error; }
    QString name() const override;

private:
    void fail();

    std::unique_ptr<QIODevice> m_owned;
    QIODevice& m_device;
    Status m_status = Status::notOpen;
    bool m_openedHere = false;
    std::optional<Error> m_error;
};

} // namespace qb
