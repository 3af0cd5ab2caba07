// SPDX-License-Identifier: GPL-3.0-or-later
#include "captureoneadjustment.h"

#include "extensions/plainorder.h"

#include <QStringList>

#include <array>

namespace qb {

namespace {

struct Entry {
    CaptureOneAdjustment adjustment;
    const char* raw;
    const char* name;
};

using A = CaptureOneAdjustment;

constexpr std::array<Entry, captureOneAdjustmentCount> catalogue{{
    {A::adjustments, "adjustments", "adjustments"},
    {A::blackAndWhite, "black and white of adjustments", "blackAndWhite"},
    {A::blackAndWhiteBlueSensitivity, "black and white blue sensitivity of adjustments",
     "blackAndWhiteBlueSensitivity"},
    {A::blackAndWhiteCyanSensitivity, "black and white cyan sensitivity of adjustments",
     "blackAndWhiteCyanSensitivity"},
    {A::blackAndWhiteGreenSensitivity, "black and white green sensitivity of adjustments",
     "blackAndWhiteGreenSensitivity"},
    {A::blackAndWhiteMagentaSensitivity, "black and white magenta sensitivity of adjustments",
     "blackAndWhiteMagentaSensitivity"},
    {A::blackAndWhiteRedSensitivity, "black and white red sensitivity of adjustments",
     "blackAndWhiteRedSensitivity"},
    {A::blackAndWhiteSplitHighlightHue, "black and white split highlight hue of adjustments",
     "blackAndWhiteSplitHighlightHue"},
    {A::blackAndWhiteSplitHighlightSaturation,
     "black and white split highlight saturation of adjustments",
     "blackAndWhiteSplitHighlightSaturation"},
    {A::blackAndWhiteSplitShadowHue, "black and white split shadow hue of adjustments",
     "blackAndWhiteSplitShadowHue"},
    {A::blackAndWhiteSplitShadowSaturation,
     "black and white split shadow saturation of adjustments",
     "blackAndWhiteSplitShadowSaturation"},
    {A::blackAndWhiteYellowSensitivity, "black and white yellow sensitivity of adjustments",
     "blackAndWhiteYellowSensitivity"},
    {A::blackRecovery, "black recovery of adjustments", "blackRecovery"},
    {A::blueCurve, "blue curve of adjustments", "blueCurve"},
    {A::brightness, "brightness of adjustments", "brightness"},
    {A::clarityAmount, "clarity amount of adjustments", "clarityAmount"},
    {A::clarityMethod, "clarity method of adjustments", "clarityMethod"},
    {A::clarityStructure, "clarity structure of adjustments", "clarityStructure"},
    {A::colorBalanceHighlightHue, "color balance highlight hue of adjustments",
     "colorBalanceHighlightHue"},
    {A::colorBalanceHighlightLightness, "color balance highlight lightness of adjustments",
     "colorBalanceHighlightLightness"},
    {A::colorBalanceHighlightSaturation, "color balance highlight saturation of adjustments",
     "colorBalanceHighlightSaturation"},
    {A::colorBalanceMasterHue, "color balance master hue of adjustments", "colorBalanceMasterHue"},
    {A::colorBalanceMasterSaturation, "color balance master saturation of adjustments",
     "colorBalanceMasterSaturation"},
    {A::colorBalanceMidtoneHue, "color balance midtone hue of adjustments",
     "colorBalanceMidtoneHue"},
    {A::colorBalanceMidtoneLightness, "color balance midtone lightness of adjustments",
     "colorBalanceMidtoneLightness"},
    {A::colorBalanceMidtoneSaturation, "color balance midtone saturation of adjustments",
     "colorBalanceMidtoneSaturation"},
    {A::colorBalanceShadowHue, "color balance shadow hue of adjustments", "colorBalanceShadowHue"},
    {A::colorBalanceShadowLightness, "color balance shadow lightness of adjustments",
     "colorBalanceShadowLightness"},
    {A::colorBalanceShadowSaturation, "color balance shadow saturation of adjustments",
     "colorBalanceShadowSaturation"},
    {A::colorEditorSettings, "color editor settings of adjustments", "colorEditorSettings"},
    {A::colorProfile, "color profile of adjustments", "colorProfile"},
    {A::colorTag, "color tag", "colorTag"},
    {A::contactAddress, "contact address", "contactAddress"},
    {A::contactCity, "contact city", "contactCity"},
    {A::contactCountry, "contact country", "contactCountry"},
    {A::contactCreator, "contact creator", "contactCreator"},
    {A::contactCreatorJobTitle, "contact creator job title", "contactCreatorJobTitle"},
    {A::contactEmail, "contact email", "contactEmail"},
    {A::contactPhone, "contact phone", "contactPhone"},
    {A::contactPostalCode, "contact postal code", "contactPostalCode"},
    {A::contactState, "contact state", "contactState"},
    {A::contactWebsite, "contact website", "contactWebsite"},
    {A::contentCategory, "content category", "contentCategory"},
    {A::contentDescription, "content description", "contentDescription"},
    {A::contentDescriptionWriter, "content description writer", "contentDescriptionWriter"},
    {A::contentHeadline, "content headline", "contentHeadline"},
    {A::contentSubjectCodes, "content subject codes", "contentSubjectCodes"},
    {A::contentSupplementalCategories, "content supplemental categories",
     "contentSupplementalCategories"},
    {A::contrast, "contrast of adjustments", "contrast"},
    {A::crop, "crop", "crop"},
    {A::cropCenter, "crop center", "cropCenter"},
    {A::cropCenterx, "crop centerX", "cropCenterx"},
    {A::cropCentery, "crop centerY", "cropCentery"},
    {A::cropHeight, "crop height", "cropHeight"},
    {A::cropSize, "crop size", "cropSize"},
    {A::cropWidth, "crop width", "cropWidth"},
    {A::currentLayer, "current layer", "currentLayer"},
    {A::exposure, "exposure of adjustments", "exposure"},
    {A::filmCurve, "film curve of adjustments", "filmCurve"},
    {A::filmGrainGranularity, "film grain granularity of adjustments", "filmGrainGranularity"},
    {A::filmGrainImpact, "film grain impact of adjustments", "filmGrainImpact"},
    {A::filmGrainType, "film grain type of adjustments", "filmGrainType"},
    {A::flip, "flip of adjustments", "flip"},
    {A::gettyOriginalFilename, "Getty original filename", "gettyOriginalFilename"},
    {A::gettyParentMeid, "Getty parent MEID", "gettyParentMeid"},
    {A::gettyPersonalities, "Getty personalities", "gettyPersonalities"},
    {A::greenCurve, "green curve of adjustments", "greenCurve"},
    {A::highlightAdjustment, "highlight adjustment of adjustments", "highlightAdjustment"},
    {A::highlightRecovery, "highlight recovery of adjustments", "highlightRecovery"},
    {A::imageCity, "image city", "imageCity"},
    {A::imageCountry, "image country", "imageCountry"},
    {A::imageCountryCode, "image country code", "imageCountryCode"},
    {A::imageIntellectualGenre, "image intellectual genre", "imageIntellectualGenre"},
    {A::imageLocation, "image location", "imageLocation"},
    {A::imageScenes, "image scenes", "imageScenes"},
    {A::imageState, "image state", "imageState"},
    {A::lccColorCast, "LCC color cast", "lccColorCast"},
    {A::lccDustRemoval, "LCC dust removal", "lccDustRemoval"},
    {A::lccUniformLight, "LCC uniform light", "lccUniformLight"},
    {A::lccUniformLightAmount, "LCC uniform light amount", "lccUniformLightAmount"},
    {A::lensCorrection, "lens correction", "lensCorrection"},
    {A::levelHighlightBlue, "level highlight blue of adjustments", "levelHighlightBlue"},
    {A::levelHighlightGreen, "level highlight green of adjustments", "levelHighlightGreen"},
    {A::levelHighlightRed, "level highlight red of adjustments", "levelHighlightRed"},
    {A::levelHighlightRgb, "level highlight rgb of adjustments", "levelHighlightRgb"},
    {A::levelMidtoneBlue, "level midtone blue of adjustments", "levelMidtoneBlue"},
    {A::levelMidtoneGreen, "level midtone green of adjustments", "levelMidtoneGreen"},
    {A::levelMidtoneRed, "level midtone red of adjustments", "levelMidtoneRed"},
    {A::levelMidtoneRgb, "level midtone rgb of adjustments", "levelMidtoneRgb"},
    {A::levelShadowBlue, "level shadow blue of adjustments", "levelShadowBlue"},
    {A::levelShadowGreen, "level shadow green of adjustments", "levelShadowGreen"},
    {A::levelShadowRed, "level shadow red of adjustments", "levelShadowRed"},
    {A::levelShadowRgb, "level shadow rgb of adjustments", "levelShadowRgb"},
    {A::levelTargetHighlightBlue, "level target highlight blue of adjustments",
     "levelTargetHighlightBlue"},
    {A::levelTargetHighlightGreen, "level target highlight green of adjustments",
     "levelTargetHighlightGreen"},
    {A::levelTargetHighlightRed, "level target highlight red of adjustments",
     "levelTargetHighlightRed"},
    {A::levelTargetHighlightRgb, "level target highlight rgb of adjustments",
     "levelTargetHighlightRgb"},
    {A::levelTargetShadowBlue, "level target shadow blue of adjustments", "levelTargetShadowBlue"},
    {A::levelTargetShadowGreen, "level target shadow green of adjustments",
     "levelTargetShadowGreen"},
    {A::levelTargetShadowRed, "level target shadow red of adjustments", "levelTargetShadowRed"},
    {A::levelTargetShadowRgb, "level target shadow rgb of adjustments", "levelTargetShadowRgb"},
    {A::lumaCurve, "luma curve of adjustments", "lumaCurve"},
    {A::moireAmount, "moire amount of adjustments", "moireAmount"},
    {A::moirePattern, "moire pattern of adjustments", "moirePattern"},
    {A::noiseReductionColor, "noise reduction color of adjustments", "noiseReductionColor"},
    {A::noiseReductionDetails, "noise reduction details of adjustments", "noiseReductionDetails"},
    {A::noiseReductionLuminance, "noise reduction luminance of adjustments",
     "noiseReductionLuminance"},
    {A::noiseReductionSinglePixel, "noise reduction single pixel of adjustments",
     "noiseReductionSinglePixel"},
    {A::orientation, "orientation of adjustments", "orientation"},
    {A::pick, "pick", "pick"},
    {A::rating, "rating", "rating"},
    {A::redCurve, "red curve of adjustments", "redCurve"},
    {A::rgbCurve, "rgb curve of adjustments", "rgbCurve"},
    {A::rotation, "rotation of adjustments", "rotation"},
    {A::saturation, "saturation of adjustments", "saturation"},
    {A::shadowRecovery, "shadow recovery of adjustments", "shadowRecovery"},
    {A::sharpeningAmount, "sharpening amount of adjustments", "sharpeningAmount"},
    {A::sharpeningHaloSuppression, "sharpening halo suppression of adjustments",
     "sharpeningHaloSuppression"},
    {A::sharpeningRadius, "sharpening radius of adjustments", "sharpeningRadius"},
    {A::sharpeningThreshold, "sharpening threshold of adjustments", "sharpeningThreshold"},
    {A::statusCopyrightNotice, "status copyright notice", "statusCopyrightNotice"},
    {A::statusInstructions, "status instructions", "statusInstructions"},
    {A::statusJobIdentifier, "status job identifier", "statusJobIdentifier"},
    {A::statusProvider, "status provider", "statusProvider"},
    {A::statusRightsUsageTerms, "status rights usage terms", "statusRightsUsageTerms"},
    {A::statusSource, "status source", "statusSource"},
    {A::statusTitle, "status title", "statusTitle"},
    {A::styles, "styles", "styles"},
    {A::temperature, "temperature of adjustments", "temperature"},
    {A::tint, "tint of adjustments", "tint"},
    {A::vignettingAmount, "vignetting amount of adjustments", "vignettingAmount"},
    {A::vignettingMethod, "vignetting method of adjustments", "vignettingMethod"},
    {A::whiteBalancePreset, "white balance preset of adjustments", "whiteBalancePreset"},
    {A::whiteRecovery, "white recovery of adjustments", "whiteRecovery"},
}};

// Lookups index the table by the case's value.
constexpr bool catalogueInDeclarationOrder()
{
    for (size_t i = 0; i < catalogue.size(); ++i) {
        if (size_t(catalogue[i].adjustment) != i)
            return false;
    }
    return true;
}
static_assert(catalogueInDeclarationOrder());

constexpr std::array<CaptureOneAdjustment, captureOneAdjustmentCount> allCases = [] {
    std::array<CaptureOneAdjustment, captureOneAdjustmentCount> cases{};
    for (size_t i = 0; i < catalogue.size(); ++i)
        cases[i] = catalogue[i].adjustment;
    return cases;
}();

const Entry& entry(CaptureOneAdjustment adjustment)
{
    return catalogue[size_t(adjustment)];
}

// Sorted, so that a script doesn't depend on the order of the map it came from.
QString joinedStatements(QStringList statements)
{
    sortPlain(statements);
    return statements.join(QLatin1Char('\n'));
}

QString useApplication(const QString& bundleIdentifier)
{
    return QStringLiteral("use application \"") + bundleIdentifier + QStringLiteral("\"\n");
}

} // namespace

std::span<const CaptureOneAdjustment> allCaptureOneAdjustments()
{
    return allCases;
}

QString rawValue(CaptureOneAdjustment adjustment)
{
    return QString::fromLatin1(entry(adjustment).raw);
}

QString caseName(CaptureOneAdjustment adjustment)
{
    return QString::fromLatin1(entry(adjustment).name);
}

std::optional<CaptureOneAdjustment> captureOneAdjustmentFromRawValue(const QString& raw)
{
    static const std::map<QString, CaptureOneAdjustment> byRawValue = [] {
        std::map<QString, CaptureOneAdjustment> map;
        for (const Entry& item : catalogue)
            map.emplace(QString::fromLatin1(item.raw), item.adjustment);
        return map;
    }();
    const auto it = byRawValue.find(raw);
    if (it == byRawValue.end())
        return std::nullopt;
    return it->second;
}

Json toJson(CaptureOneAdjustment adjustment)
{
    return Json(entry(adjustment).raw);
}

std::expected<CaptureOneAdjustment, Error> decodeCaptureOneAdjustment(const Json& json)
{
    return decodeJson([&json] {
        if (!json.is_string())
            throw JsonDecodeFailure(
                QStringLiteral("top level"),
                QStringLiteral("expected a string, found %1").arg(jsonKindName(json)));
        const QString raw = fromJsonString(json);
        const auto adjustment = captureOneAdjustmentFromRawValue(raw);
        if (!adjustment)
            throw JsonDecodeFailure(
                QStringLiteral("top level"),
                QStringLiteral("\"%1\" is not a Capture One adjustment").arg(raw));
        return *adjustment;
    });
}

QString buildAdjustmentScript(const CaptureOneAdjustments& adjustments,
                              const QString& bundleIdentifier, bool primary, bool selected)
{
    const QString target = primary    ? QStringLiteral("primary variant")
                           : selected ? QStringLiteral("every variant whose selected is true")
                                      : QStringLiteral("theVariant");
    QStringList statements;
    for (const auto& [adjustment, value] : adjustments) {
        const QString term = rawValue(adjustment);
        // Adjustments are relative to what the variant has, except the
        // black and white switch, which can't be added to.
        const QString right =
            adjustment == CaptureOneAdjustment::blackAndWhite || selected
                ? value
                : term + QStringLiteral(" of ") + target + QStringLiteral(" + ") + value;
        statements << QStringLiteral("set ") + term + QStringLiteral(" of ") + target +
                          QStringLiteral(" to ") + right;
    }
    const QString body = joinedStatements(statements);
    if (primary)
        return useApplication(bundleIdentifier) +
               QStringLiteral("if primary variant is not missing value then\n") + body +
               QStringLiteral("\nend if");
    if (selected)
        return useApplication(bundleIdentifier) + body;
    return useApplication(bundleIdentifier) +
           QStringLiteral("repeat with theVariant in (variants whose selected is true)\n") + body +
           QStringLiteral("\nend repeat");
}

QString buildPathScript(const CaptureOneAdjustments& adjustments, const QString& bundleIdentifier)
{
    QStringList statements;
    for (const auto& [adjustment, value] : adjustments)
        statements << QStringLiteral("set ") + rawValue(adjustment) +
                          QStringLiteral(" of first variant of (every image whose path is "
                                         "thePath) to ") +
                          value;
    return useApplication(bundleIdentifier) +
           QStringLiteral("\non makeAdjustments(thePaths)\nrepeat with thePath in thePaths\n") +
           joinedStatements(statements) + QStringLiteral("\nend repeat\nend makeAdjustments");
}

} // namespace qb
