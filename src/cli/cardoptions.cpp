// SPDX-License-Identifier: GPL-3.0-or-later
#include "cardoptions.h"

#include "cards/cardsession.h"
#include "cards/framepreviews.h"
#include "cards/plannedrows.h"
#include "exif/stayopenexiftool.h"

#include <QFileInfo>
#include <QThread>

namespace qb::cli {

namespace {

template <typename Choice>
std::expected<Choice, QString> named(const QCommandLineParser& parser,
                                     const QCommandLineOption& option, Choice fallback,
                                     std::initializer_list<std::pair<const char*, Choice>> names)
{
    if (!parser.isSet(option))
        return fallback;
    const QString given = parser.value(option);
    QStringList known;
    for (const auto& [name, choice] : names) {
        if (given == QLatin1String(name))
            return choice;
        known << QString::fromLatin1(name);
    }
    return std::unexpected(
        QStringLiteral("--%1 takes %2, not '%3'")
            .arg(option.names().first(), known.join(QStringLiteral(" or ")), given));
}

} // namespace

std::expected<CardPlanOptions, QString> chosenLiveCardOptions(const QCommandLineParser& parser,
                                                              const CardOptions& options)
{
    CardPlanOptions chosen;
    const auto cardFrames = named(parser, options.cardFrames, CardFrames::skip,
                                  {{"skip", CardFrames::skip}, {"write", CardFrames::write}});
    if (!cardFrames)
        return std::unexpected(cardFrames.error());
    chosen.cardFrames = *cardFrames;
    if (parser.isSet(options.cardPattern)) {
        auto pattern = CardKeyPattern::compile(parser.value(options.cardPattern));
        if (!pattern)
            return std::unexpected(pattern.error().message());
        chosen.keyPattern = std::move(*pattern);
    }
    return chosen;
}

std::expected<CardPlanOptions, QString> chosenCardPlanOptions(const QCommandLineParser& parser,
                                                              const CardOptions& options)
{
    auto chosen = chosenLiveCardOptions(parser, options);
    if (!chosen)
        return chosen;
    const auto order = named(parser, options.order, FrameOrder::time,
                             {{"time", FrameOrder::time}, {"name", FrameOrder::name}});
    if (!order)
        return std::unexpected(order.error());
    const auto cardOrder =
        named(parser, options.cardOrder, CardOrder::forward,
              {{"forward", CardOrder::forward}, {"backward", CardOrder::backward}});
    if (!cardOrder)
        return std::unexpected(cardOrder.error());
    chosen->order = *order;
    chosen->cardOrder = *cardOrder;
    if (parser.isSet(options.gap)) {
        bool number = false;
        chosen->gapSeconds = parser.value(options.gap).toDouble(&number);
        if (!number || chosen->gapSeconds <= 0)
            return std::unexpected(QStringLiteral("--gap takes a number of seconds, not '%1'")
                                       .arg(parser.value(options.gap)));
    }
    if (parser.isSet(options.cardsFile)) {
        auto fixes = readCardFixes(parser.value(options.cardsFile));
        if (!fixes)
            return std::unexpected(fixes.error().message());
        chosen->fixes = std::move(*fixes);
    }
    return chosen;
}

std::expected<std::optional<CardPlanOptions>, QString>
chosenCardMode(const QCommandLineParser& parser, const QCommandLineOption& cards,
               const CardOptions& options, bool live)
{
    if (!parser.isSet(cards)) {
        for (const QCommandLineOption& option : live ? options.live() : options.all()) {
            if (parser.isSet(option))
                return std::unexpected(
                    QStringLiteral("--%1 goes with --cards").arg(option.names().first()));
        }
        return std::nullopt;
    }
    auto chosen =
        live ? chosenLiveCardOptions(parser, options) : chosenCardPlanOptions(parser, options);
    if (!chosen)
        return std::unexpected(chosen.error());
    return std::move(*chosen);
}

std::expected<CardPlan, ExitStatus> planCardSession(const QList<QUrl>& images,
                                                    const FileNameDataSource& rows,
                                                    const CardPlanOptions& options,
                                                    const QString& exiftool, Streams& streams)
{
    QStringList paths;
    for (const QUrl& url : images)
        paths << url.toLocalFile();
    auto frames = readCardFrames(paths, ExifTool(exiftool, {}), sessionDecoder(exiftool));
    if (!frames) {
        printError(streams, frames.error());
        return std::unexpected(ExitStatus::failure);
    }
    return makeCardPlan(std::move(*frames), rowKeysOf(rows), options);
}

PlanTextOptions planTextOptions(std::shared_ptr<const FileNameDataSource> rows)
{
    PlanTextOptions options;
    options.describe = [rows = std::move(rows)](const QString& key) {
        return rowName(*rows, key);
    };
    return options;
}

QString describedKey(const QString& key, const PlanTextOptions& options)
{
    const QString name = options.describe ? options.describe(key) : QString();
    return name.isEmpty() ? key : QStringLiteral("%1 (%2)").arg(key, name);
}

} // namespace qb::cli
