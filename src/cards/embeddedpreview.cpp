// SPDX-License-Identifier: GPL-3.0-or-later
#include "embeddedpreview.h"

#include "exif/exiftool.h"

#include <QBuffer>
#include <QImageReader>

#include <nlohmann/json.hpp>

namespace qb {

namespace {

struct Candidate {
    QByteArray bytes;
    int longSide = 0;
};

int longSideOf(const QByteArray& bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    const QSize size = QImageReader(&buffer).size();
    return size.isValid() ? std::max(size.width(), size.height()) : 0;
}

} // namespace

std::expected<std::optional<QByteArray>, Error> choosePreview(const QByteArray& exiftoolAnswer,
                                                              int longSide)
{
    using Json = nlohmann::json;
    std::vector<Candidate> candidates;
    try {
        const Json answer = Json::parse(exiftoolAnswer.cbegin(), exiftoolAnswer.cend());
        if (!answer.is_array() || answer.empty() || !answer.front().is_object())
            return std::unexpected(exiftoolAnswerError("not an array of one object"));
        const Json& tags = answer.front();
        for (const char* tag : previewTags) {
            const auto it = tags.find(tag);
            if (it == tags.end() || !it->is_string())
                continue;
            const QByteArray text = QByteArray::fromStdString(it->get<std::string>());
            if (!text.startsWith("base64:"))
                continue;
            QByteArray bytes = QByteArray::fromBase64(text.mid(7));
            // A preview Qt can't size is not one it could decode either.
            if (const int side = longSideOf(bytes); side > 0)
                candidates.push_back({std::move(bytes), side});
        }
    } catch (const Json::exception& failure) {
        return std::unexpected(exiftoolAnswerError(failure.what()));
    }
    const Candidate* best = nullptr;
    for (const Candidate& c : candidates) {
        const bool large = c.longSide >= longSide;
        const bool bestLarge = best && best->longSide >= longSide;
        if (!best || (large && (!bestLarge || c.longSide < best->longSide)) ||
            (!large && !bestLarge && c.longSide > best->longSide))
            best = &c;
    }
    if (!best)
        return std::optional<QByteArray>();
    return std::optional<QByteArray>(best->bytes);
}

ExiftoolPreviewSource::ExiftoolPreviewSource(QString exiftoolPath,
                                             std::vector<std::shared_ptr<ProcessRunner>> runners)
    : m_exiftoolPath(std::move(exiftoolPath))
    , m_idle(std::move(runners))
{
    if (m_idle.empty())
        m_idle.push_back(std::make_shared<SystemProcessRunner>());
}

std::shared_ptr<ProcessRunner> ExiftoolPreviewSource::takeRunner()
{
    std::unique_lock lock(m_mutex);
    m_returned.wait(lock, [this] { return !m_idle.empty(); });
    std::shared_ptr<ProcessRunner> runner = std::move(m_idle.back());
    m_idle.pop_back();
    return runner;
}

void ExiftoolPreviewSource::giveBack(std::shared_ptr<ProcessRunner> runner)
{
    {
        const std::lock_guard lock(m_mutex);
        m_idle.push_back(std::move(runner));
    }
    m_returned.notify_one();
}

std::expected<std::optional<QByteArray>, Error> ExiftoolPreviewSource::preview(const QString& path,
                                                                               int longSide)
{
    QStringList arguments{QStringLiteral("-json"), QStringLiteral("-b")};
    for (const char* tag : previewTags)
        arguments << QLatin1Char('-') + QLatin1String(tag);
    arguments << path;

    std::shared_ptr<ProcessRunner> runner = takeRunner();
    std::expected<ProcessResult, ExiftoolError> ran;
    ExifTool(m_exiftoolPath, {}, runner).run(arguments, [&](auto result) {
        ran = std::move(result);
    });
    giveBack(std::move(runner));
    if (!ran)
        return std::unexpected(ran.error().toError(ExiftoolTask::read));
    return choosePreview(ran->response, longSide);
}

} // namespace qb
