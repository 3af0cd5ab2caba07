// SPDX-License-Identifier: GPL-3.0-or-later
#include "currentvalues.h"

#include "extensions/dynamicvaluejson.h"

#include <algorithm>
#include <thread>
#include <vector>

namespace qb {

bool keyNamesTag(const QString& key, const QString& tag)
{
    const QStringList keyParts = key.split(QLatin1Char(':'));
    const QStringList tagParts = tag.split(QLatin1Char(':'));
    if (keyParts.last().compare(tagParts.last(), Qt::CaseInsensitive) != 0)
        return false;
    if (tagParts.size() == 1)
        return true;
    const QString group = tagParts.first();
    return std::any_of(keyParts.cbegin(), keyParts.cend() - 1, [&group](const QString& part) {
        return part.compare(group, Qt::CaseInsensitive) == 0;
    });
}

namespace {

DynamicValue::Dictionary valuesOf(const nlohmann::ordered_json& object, const QStringList& tags)
{
    DynamicValue::Dictionary values;
    for (const auto& [key, value] : object.items()) {
        const QString name = QString::fromStdString(key);
        for (const QString& tag : tags) {
            if (!values.contains(tag) && keyNamesTag(name, tag))
                values.emplace(tag, dynamicValueFromJson(value));
        }
    }
    return values;
}

std::expected<CurrentValues, Error> parsed(const QByteArray& answer, const QStringList& tags)
{
    CurrentValues values;
    // exiftool prints nothing at all when it could read none of the files.
    if (answer.trimmed().isEmpty())
        return values;
    nlohmann::ordered_json json;
    try {
        json = nlohmann::ordered_json::parse(answer.cbegin(), answer.cend());
    } catch (const nlohmann::ordered_json::parse_error& failure) {
        return std::unexpected(exiftoolAnswerError(failure.what()));
    }
    if (!json.is_array())
        return values;
    for (const nlohmann::ordered_json& object : json) {
        const auto source = object.find("SourceFile");
        if (!object.is_object() || source == object.end() || !source->is_string())
            continue;
        values.insert_or_assign(QString::fromStdString(source->get<std::string>()),
                                valuesOf(object, tags));
    }
    return values;
}

} // namespace

namespace {

std::expected<CurrentValues, Error> readPart(const ExifTool& exiftool, const QStringList& paths,
                                             const QStringList& tags, bool numeric)
{
    QStringList arguments{QStringLiteral("-G0:1"), QStringLiteral("-json")};
    if (numeric)
        arguments << QStringLiteral("-n");
    for (const QString& tag : tags)
        arguments << QLatin1Char('-') + tag;
    arguments << paths;
    std::expected<CurrentValues, Error> result;
    exiftool.run(arguments, [&](std::expected<ProcessResult, ExiftoolError> ran) {
        if (ran) {
            result = parsed(ran->response, tags);
            return;
        }
        const ExiftoolError& failure = ran.error();
        // A missing or damaged file makes exiftool end with status 1 after
        // it has read the others.
        if (failure.kind() == ExiftoolError::Case::responseNotZero &&
            !failure.process().endedBySignal)
            result = parsed(failure.process().response, tags);
        else
            result = std::unexpected(failure.toError(ExiftoolTask::read));
    });
    return result;
}

} // namespace

std::expected<CurrentValues, Error> readCurrentValues(const ExifTool& exiftool,
                                                      const QStringList& paths,
                                                      const QStringList& tags, bool numeric,
                                                      int parts)
{
    if (paths.isEmpty() || tags.isEmpty())
        return CurrentValues{};
    parts = int(std::clamp<qsizetype>(parts, 1, paths.size()));
    if (parts == 1)
        return readPart(exiftool, paths, tags, numeric);
    std::vector<std::expected<CurrentValues, Error>> results(static_cast<std::size_t>(parts));
    {
        std::vector<std::jthread> readers;
        const qsizetype size = paths.size();
        for (int i = 0; i < parts; ++i) {
            const qsizetype from = size * i / parts;
            const qsizetype to = size * (i + 1) / parts;
            readers.emplace_back([&, i, part = paths.mid(from, to - from), reader = exiftool] {
                results[std::size_t(i)] = readPart(reader, part, tags, numeric);
            });
        }
    } // every reader has ended here
    CurrentValues all;
    for (auto& result : results) {
        if (!result)
            return std::unexpected(result.error());
        all.merge(*result);
    }
    return all;
}

} // namespace qb
