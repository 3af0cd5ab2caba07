// SPDX-License-Identifier: GPL-3.0-or-later
#include "currentvalues.h"

#include "extensions/dynamicvaluejson.h"
#include "extensions/interruption.h"
#include "extensions/process.h"

#include <algorithm>
#include <functional>
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

void CurrentRead::merge(CurrentRead& other)
{
    values.merge(other.values);
    standardError += other.standardError;
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

// exiftool's answer: an array of one object per file it could read.
std::expected<nlohmann::ordered_json, Error> parsedAnswer(const QByteArray& answer)
{
    // exiftool prints nothing at all when it could read none of the files.
    if (answer.trimmed().isEmpty())
        return nlohmann::ordered_json::array();
    nlohmann::ordered_json json;
    try {
        json = nlohmann::ordered_json::parse(answer.cbegin(), answer.cend());
    } catch (const nlohmann::ordered_json::parse_error& failure) {
        return std::unexpected(exiftoolAnswerError(failure.what()));
    }
    return json.is_array() ? json : nlohmann::ordered_json::array();
}

Error interruptedRead()
{
    Error error;
    error.domain = QStringLiteral("ExifBridge.CurrentValues");
    error.code = 1;
    error.errorDescription = QStringLiteral("Interrupted while exiftool read the files.");
    return error;
}

// Runs one read and hands each file's object to `take`; gives exiftool's
// standard error, which names the files it could not read.
std::expected<QString, Error>
readObjects(const ExifTool& exiftool, const QStringList& arguments,
            const std::function<void(const QString&, const nlohmann::ordered_json&)>& take)
{
    std::expected<nlohmann::ordered_json, Error> answer;
    QString standardError;
    exiftool.run(arguments, [&](std::expected<ProcessResult, ExiftoolError> ran) {
        // A stop cuts exiftool's answer short: that is no parse error.
        if (isInterrupted()) {
            answer = std::unexpected(interruptedRead());
            return;
        }
        if (ran) {
            answer = parsedAnswer(ran->response);
            standardError = decodedUtf8(ran->standardError).value_or(QString());
            return;
        }
        const ExiftoolError& failure = ran.error();
        // A missing or damaged file makes exiftool end with status 1 after
        // it has read the others.
        if (failure.kind() == ExiftoolError::Case::responseNotZero &&
            !failure.process().endedBySignal) {
            answer = parsedAnswer(failure.process().response);
            standardError = failure.stdErr().value_or(QString());
        } else {
            answer = std::unexpected(failure.toError(ExiftoolTask::read));
        }
    });
    if (!answer)
        return std::unexpected(answer.error());
    for (const nlohmann::ordered_json& object : *answer) {
        const auto source = object.find("SourceFile");
        if (object.is_object() && source != object.end() && source->is_string())
            take(QString::fromStdString(source->get<std::string>()), object);
    }
    return standardError;
}

// The tags to read as arguments. exiftool works out its Composite tags for
// every file it reads, a third of the cost of reading a small one; tags
// that each name a group other than Composite can't be among them, so
// their read goes without (-e).
QStringList tagArguments(const QStringList& tags)
{
    const bool composite = tags.isEmpty() || std::ranges::any_of(tags, [](const QString& tag) {
                               const qsizetype colon = tag.indexOf(QLatin1Char(':'));
                               return colon < 0 || QStringView(tag).first(colon).compare(
                                                       u"Composite", Qt::CaseInsensitive) == 0;
                           });
    QStringList arguments;
    if (!composite)
        arguments << QStringLiteral("-e");
    for (const QString& tag : tags)
        arguments << QLatin1Char('-') + tag;
    return arguments;
}

// Runs `readPart` over `parts` contiguous runs of the paths at once, as a
// parallel write splits its batch, and merges what they found.
template <typename Values>
std::expected<Values, Error>
readInParts(const QStringList& paths, int parts,
            const std::function<std::expected<Values, Error>(const QStringList&)>& readPart)
{
    parts = int(std::clamp<qsizetype>(parts, 1, paths.size()));
    if (parts == 1)
        return readPart(paths);
    std::vector<std::expected<Values, Error>> results(static_cast<std::size_t>(parts));
    {
        std::vector<std::jthread> readers;
        const qsizetype size = paths.size();
        for (int i = 0; i < parts; ++i) {
            const qsizetype from = size * i / parts;
            const qsizetype to = size * (i + 1) / parts;
            readers.emplace_back([&, i, part = paths.mid(from, to - from)] {
                results[std::size_t(i)] = readPart(part);
            });
        }
    } // every reader has ended here
    Values all;
    for (auto& result : results) {
        if (!result)
            return std::unexpected(result.error());
        all.merge(*result);
    }
    return all;
}

ExactValue exactValue(const nlohmann::ordered_json& described)
{
    if (!described.is_object())
        return {described, described};
    const auto shown = described.find("val");
    const auto raw = described.find("num");
    const nlohmann::ordered_json value = shown == described.end() ? nullptr : *shown;
    return {raw == described.end() ? value : *raw, value};
}

} // namespace

std::expected<CurrentRead, Error> readCurrent(const ExifTool& exiftool, const QStringList& paths,
                                              const QStringList& tags, bool numeric, int parts)
{
    if (paths.isEmpty() || tags.isEmpty())
        return CurrentRead{};
    QStringList options{QStringLiteral("-G0:1"), QStringLiteral("-json")};
    if (numeric)
        options << QStringLiteral("-n");
    options << tagArguments(tags);
    return readInParts<CurrentRead>(paths, parts, [&](const QStringList& part) {
        CurrentRead read;
        const ExifTool reader = exiftool; // one each: an ExifTool runs on one thread
        auto ran =
            readObjects(reader, options + part, [&](const QString& path, const auto& object) {
                read.values.insert_or_assign(path, valuesOf(object, tags));
            });
        if (!ran)
            return std::expected<CurrentRead, Error>(std::unexpected(ran.error()));
        read.standardError = std::move(*ran);
        return std::expected<CurrentRead, Error>(std::move(read));
    });
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

std::expected<ExactValues, Error> readExactValues(const ExifTool& exiftool,
                                                  const QStringList& paths, const QStringList& tags,
                                                  int parts)
{
    if (paths.isEmpty())
        return ExactValues{};
    const QStringList options = QStringList{QStringLiteral("-G0:1"), QStringLiteral("-json"),
                                            QStringLiteral("-l"), QStringLiteral("-b")} +
                                tagArguments(tags);
    return readInParts<ExactValues>(paths, parts, [&](const QStringList& part) {
        ExactValues values;
        const ExifTool reader = exiftool;
        auto read =
            readObjects(reader, options + part, [&](const QString& path, const auto& object) {
                std::map<QString, ExactValue>& file = values[path];
                for (const auto& [key, value] : object.items()) {
                    const QString name = QString::fromStdString(key);
                    if (name == QLatin1String("SourceFile"))
                        continue;
                    if (tags.isEmpty()) {
                        file.emplace(name, exactValue(value));
                        continue;
                    }
                    for (const QString& tag : tags) {
                        if (!file.contains(tag) && keyNamesTag(name, tag))
                            file.emplace(tag, exactValue(value));
                    }
                }
            });
        return read ? std::expected<ExactValues, Error>(std::move(values))
                    : std::unexpected(read.error());
    });
}

} // namespace qb
