// SPDX-License-Identifier: GPL-3.0-or-later
#include "currentvalues.h"

#include "extensions/dynamicvaluejson.h"
#include "extensions/interruption.h"
#include "extensions/process.h"

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

Error interruptedRead()
{
    Error error;
    error.domain = QStringLiteral("ExifBridge.CurrentValues");
    error.code = 1;
    error.errorDescription = QStringLiteral("Interrupted while exiftool read the files.");
    return error;
}

std::expected<CurrentRead, Error> readPart(const ExifTool& exiftool, const QStringList& paths,
                                           const QStringList& tags, bool numeric)
{
    QStringList arguments{QStringLiteral("-G0:1"), QStringLiteral("-json")};
    if (numeric)
        arguments << QStringLiteral("-n");
    for (const QString& tag : tags)
        arguments << QLatin1Char('-') + tag;
    arguments << paths;
    std::expected<CurrentRead, Error> result;
    const auto take = [&](const QByteArray& answer, const QString& standardError) {
        auto values = parsed(answer, tags);
        if (values)
            result = CurrentRead{std::move(*values), standardError};
        else
            result = std::unexpected(values.error());
    };
    exiftool.run(arguments, [&](std::expected<ProcessResult, ExiftoolError> ran) {
        // A stop cuts exiftool's answer short: that is no parse error.
        if (isInterrupted()) {
            result = std::unexpected(interruptedRead());
            return;
        }
        if (ran) {
            take(ran->response, decodedUtf8(ran->standardError).value_or(QString()));
            return;
        }
        const ExiftoolError& failure = ran.error();
        // A missing or damaged file makes exiftool end with status 1 after
        // it has read the others.
        if (failure.kind() == ExiftoolError::Case::responseNotZero &&
            !failure.process().endedBySignal)
            take(failure.process().response, failure.stdErr().value_or(QString()));
        else
            result = std::unexpected(failure.toError(ExiftoolTask::read));
    });
    return result;
}

} // namespace

std::expected<CurrentRead, Error> readCurrent(const ExifTool& exiftool, const QStringList& paths,
                                              const QStringList& tags, bool numeric, int parts)
{
    if (paths.isEmpty() || tags.isEmpty())
        return CurrentRead{};
    parts = int(std::clamp<qsizetype>(parts, 1, paths.size()));
    if (parts == 1)
        return readPart(exiftool, paths, tags, numeric);
    std::vector<std::expected<CurrentRead, Error>> results(static_cast<std::size_t>(parts));
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
    CurrentRead all;
    for (auto& result : results) {
        if (!result)
            return std::unexpected(result.error());
        all.values.merge(result->values);
        all.standardError += result->standardError;
    }
    return all;
}

std::expected<CurrentValues, Error> readCurrentValues(const ExifTool& exiftool,
                                                      const QStringList& paths,
                                                      const QStringList& tags, bool numeric,
                                                      int parts)
{
    auto read = readCurrent(exiftool, paths, tags, numeric, parts);
    if (!read)
        return std::unexpected(read.error());
    return std::move(read->values);
}

} // namespace qb
