// SPDX-License-Identifier: GPL-3.0-or-later
#include "framepreviews.h"

#include "exif/embeddedpreview.h"

namespace qb {

ExiftoolFramePreviews::ExiftoolFramePreviews(QString exiftoolPath,
                                             std::vector<std::shared_ptr<ProcessRunner>> runners)
    : m_exiftoolPath(std::move(exiftoolPath))
    , m_idle(std::move(runners))
{
    if (m_idle.empty())
        m_idle.push_back(std::make_shared<SystemProcessRunner>());
}

std::shared_ptr<ProcessRunner> ExiftoolFramePreviews::takeRunner()
{
    std::unique_lock lock(m_mutex);
    m_returned.wait(lock, [this] { return !m_idle.empty(); });
    std::shared_ptr<ProcessRunner> runner = std::move(m_idle.back());
    m_idle.pop_back();
    return runner;
}

void ExiftoolFramePreviews::giveBack(std::shared_ptr<ProcessRunner> runner)
{
    {
        const std::lock_guard lock(m_mutex);
        m_idle.push_back(std::move(runner));
    }
    m_returned.notify_one();
}

std::expected<QByteArray, QString> ExiftoolFramePreviews::preview(const QString& path, int longSide)
{
    std::shared_ptr<ProcessRunner> runner = takeRunner();
    std::expected<QByteArray, QString> read =
        readEmbeddedPreview(*runner, m_exiftoolPath, path, longSide);
    giveBack(std::move(runner));
    return read;
}

} // namespace qb
