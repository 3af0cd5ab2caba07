// SPDX-License-Identifier: GPL-3.0-or-later
#include "captureoneadjustmentwriter.h"

#include "captureone/applescriptbridge.h"
#include "captureone/captureoneevents.h"

#include <array>
#include <utility>

namespace qb {

namespace {

using A = CaptureOneAdjustment;

// Keyed by the tag's name without its group. Rights and UsageTerms share an
// adjustment, as do OriginalFileName and ParentMEID (so that Getty parent
// MEID is never set): where an image has both, the one visited last stands.
constexpr std::array<std::pair<const char*, CaptureOneAdjustment>, 33> tagAdjustments{{
    {"Rating", A::rating},
    {"Label", A::colorTag},
    {"Creator", A::contactCreator},
    {"AuthorsPosition", A::contactCreatorJobTitle},
    {"CreatorAddress", A::contactAddress},
    {"CreatorCity", A::contactCity},
    {"CreatorRegion", A::contactState},
    {"CreatorPostalCode", A::contactPostalCode},
    {"CreatorCountry", A::contactCountry},
    {"CreatorWorkEmail", A::contactEmail},
    {"CreatorWorkTelephone", A::contactPhone},
    {"CreatorWorkURL", A::contactWebsite},
    {"Headline", A::contentHeadline},
    {"Description", A::contentDescription},
    {"Category", A::contentCategory},
    {"SupplementalCategories", A::contentSupplementalCategories},
    {"SubjectCode", A::contentSubjectCodes},
    {"CaptionWriter", A::contentDescriptionWriter},
    {"IntellectualGenre", A::imageIntellectualGenre},
    {"Scene", A::imageScenes},
    {"Location", A::imageLocation},
    {"City", A::imageCity},
    {"State", A::imageState},
    {"Country", A::imageCountry},
    {"CountryCode", A::imageCountryCode},
    {"OriginalFileName", A::gettyOriginalFilename},
    {"ParentMEID", A::gettyOriginalFilename},
    {"Personality", A::gettyPersonalities},
    {"Instructions", A::statusInstructions},
    {"Rights", A::statusRightsUsageTerms},
    {"UsageTerms", A::statusRightsUsageTerms},
    {"Source", A::statusSource},
    {"Title", A::statusTitle},
}};

QString filePath(const QUrl& url)
{
    return url.isLocalFile() ? url.toLocalFile() : url.path();
}

} // namespace

std::optional<CaptureOneAdjustment> adjustmentForTag(const QString& tagName)
{
    const QStringList parts = tagName.split(QLatin1Char(':'));
    if (parts.size() != 2)
        return std::nullopt;
    for (const auto& [name, adjustment] : tagAdjustments) {
        if (parts[1] == QLatin1String(name))
            return adjustment;
    }
    return std::nullopt;
}

QString appleScriptString(const QString& text)
{
    QString escaped = text;
    escaped.replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
    escaped.replace(QLatin1Char('"'), QStringLiteral("\\\""));
    return QLatin1Char('"') + escaped + QLatin1Char('"');
}

QString appleScriptValue(const DynamicValue& value)
{
    // Lists and dictionaries are spelt out here rather than through their
    // description, which would put their texts in quotes unescaped.
    switch (value.kind()) {
    case DynamicValue::Kind::String:
        return appleScriptString(value.toString());
    case DynamicValue::Kind::List: {
        QStringList parts;
        for (const DynamicValue& element : value.toList())
            parts << appleScriptValue(element);
        return QLatin1Char('[') + parts.join(QStringLiteral(", ")) + QLatin1Char(']');
    }
    case DynamicValue::Kind::Dictionary: {
        if (value.toDictionary().empty())
            return QStringLiteral("[:]");
        QStringList parts;
        for (const auto& [key, element] : value.toDictionary())
            parts << appleScriptString(key) + QStringLiteral(": ") + appleScriptValue(element);
        return QLatin1Char('[') + parts.join(QStringLiteral(", ")) + QLatin1Char(']');
    }
    default:
        return value.description();
    }
}

CaptureOneAdjustments adjustmentsForImage(const ExifImage& image)
{
    CaptureOneAdjustments adjustments;
    for (const auto& [tag, value] : image.metadata) {
        if (const auto adjustment = adjustmentForTag(tag))
            adjustments.insert_or_assign(*adjustment, appleScriptValue(value));
    }
    return adjustments;
}

std::vector<CaptureOneAdjustmentGroup> groupAdjustments(const CaptureOneImageMap& images)
{
    // The whole adjustments map is the key: one call per distinct set.
    std::map<CaptureOneAdjustments, std::vector<QUrl>> groups;
    for (const auto& [url, image] : images)
        groups[image ? adjustmentsForImage(*image) : CaptureOneAdjustments()].push_back(url);
    std::vector<CaptureOneAdjustmentGroup> result;
    result.reserve(groups.size());
    for (auto& [adjustments, files] : groups)
        result.push_back({adjustments, std::move(files)});
    return result;
}

QStringList scriptPaths(const std::vector<QUrl>& files)
{
    QStringList paths;
    paths.reserve(qsizetype(files.size()));
    for (const QUrl& file : files)
        paths << filePath(file);
    return paths;
}

std::vector<CaptureOneScriptPreview> captureOneDryRun(const CaptureOneImageMap& images,
                                                      CaptureOneVersion version)
{
    std::vector<CaptureOneScriptPreview> previews;
    for (CaptureOneAdjustmentGroup& group : groupAdjustments(images))
        previews.push_back({std::move(group.files),
                            buildPathScript(group.adjustments, bundleIdentifier(version))});
    return previews;
}

QString captureOneDryRunText(const std::vector<CaptureOneScriptPreview>& previews)
{
    QStringList blocks;
    const size_t count = previews.size();
    for (size_t i = 0; i < count; ++i) {
        const CaptureOneScriptPreview& preview = previews[i];
        QString block =
            QStringLiteral("-- Group %1 of %2: %3 %4\n")
                .arg(i + 1)
                .arg(count)
                .arg(preview.files.size())
                .arg(preview.files.size() == 1 ? QStringLiteral("file") : QStringLiteral("files"));
        for (const QString& path : scriptPaths(preview.files))
            block += QStringLiteral("-- ") + path + QLatin1Char('\n');
        block += preview.script + QLatin1Char('\n');
        blocks << block;
    }
    return blocks.join(QLatin1Char('\n'));
}

CaptureOneAdjustmentWriter::CaptureOneAdjustmentWriter(
    std::shared_ptr<ScriptEngine> engine, std::shared_ptr<const RunningApplications> running,
    QString resourceBundle)
    : m_engine(std::move(engine))
    , m_running(std::move(running))
    , m_resourceBundle(std::move(resourceBundle))
{
}

std::expected<QString, Error>
CaptureOneAdjustmentWriter::applyAdjustments(const CaptureOneImageMap& images)
{
    const CaptureOneEvents events(CaptureOneVersion::v20,
                                  AppleScriptBridge(m_engine, m_resourceBundle), m_running);
    for (const CaptureOneAdjustmentGroup& group : groupAdjustments(images)) {
        const auto sent = events.makeAdjustments(scriptPaths(group.files), group.adjustments);
        if (!sent)
            return std::unexpected(sent.error());
    }
    return finishedMessage();
}

} // namespace qb
