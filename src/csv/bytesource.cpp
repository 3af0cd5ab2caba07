// SPDX-License-Identifier: GPL-3.0-or-later
#include "bytesource.h"

#include "extensions/regularfile.h"

#include <QFile>
#include <QFileDevice>

namespace qb {

QIODeviceByteSource::QIODeviceByteSource(QIODevice& device)
    : m_device(device)
{
}

QIODeviceByteSource::QIODeviceByteSource(std::unique_ptr<QIODevice> device)
    : m_owned(std::move(device))
    , m_device(*m_owned)
{
}

QIODeviceByteSource::~QIODeviceByteSource()
{
    close();
}

std::unique_ptr<QIODeviceByteSource> QIODeviceByteSource::forFile(const QString& path)
{
    return std::make_unique<QIODeviceByteSource>(std::make_unique<QFile>(path));
}

void QIODeviceByteSource::open()
{
    if (m_status != Status::notOpen)
        return;
    if (m_device.isOpen() && m_device.isReadable()) {
        m_status = Status::open;
        return;
    }
    // A file named by path must be a regular one: a FIFO or a device would
    // block the open or never end.
    if (auto* file = qobject_cast<QFile*>(&m_device)) {
        if (auto opened = openRegularFile(*file); !opened) {
            m_status = Status::error;
            m_error = opened.error();
            return;
        }
    } else if (!m_device.open(QIODevice::ReadOnly)) {
        fail();
        return;
    }
    m_openedHere = true;
    m_status = Status::open;
}

void QIODeviceByteSource::close()
{
    if (m_status == Status::closed || m_status == Status::notOpen)
        return;
    if (m_openedHere)
        m_device.close();
    m_status = Status::closed;
}

qint64 QIODeviceByteSource::read(std::uint8_t* buffer, qint64 maxLength)
{
    if (m_status == Status::error || m_status == Status::notOpen)
        return -1;
    if (m_status == Status::closed || m_status == Status::atEnd)
        return 0;
    for (;;) {
        const qint64 count = m_device.read(reinterpret_cast<char*>(buffer), maxLength);
        if (count < 0) {
            fail();
            return -1;
        }
        // Sockets and processes answer 0 while no data has arrived yet; only
        // a failed wait means the end. Files answer false at once.
        if (count > 0 || maxLength <= 0 || !m_device.isSequential() ||
            !m_device.waitForReadyRead(-1)) {
            if (count == 0 && maxLength > 0)
                m_status = Status::atEnd;
            return count;
        }
    }
}

QString QIODeviceByteSource::name() const
{
    if (const auto* file = qobject_cast<const QFileDevice*>(&m_device))
        return file->fileName();
    return QString::fromLatin1(m_device.metaObject()->className());
}

void QIODeviceByteSource::fail()
{
    m_status = Status::error;
    Error error;
    error.domain = QStringLiteral("QIODevice");
    if (const auto* file = qobject_cast<const QFileDevice*>(&m_device))
        error.code = file->error();
    error.errorDescription = m_device.errorString();
    m_error = error;
}

} // namespace qb
