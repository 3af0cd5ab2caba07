// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/jsondecode.h"

#include <QString>

#include <expected>
#include <map>
#include <optional>
#include <span>

namespace qb {

// Every property of a Capture One variant that can be set. The raw value is
// the term of Capture One's scripting dictionary and goes into scripts as it
// stands; cases are declared in alphabetical order.
enum class CaptureOneAdjustment {
    adjustments,
    blackAndWhite,
    blackAndWhiteBlueSensitivity,
    blackAndWhiteCyanSensitivity,
    blackAndWhiteGreenSensitivity,
    blackAndWhiteMagentaSensitivity,
    blackAndWhiteRedSensitivity,
    blackAndWhiteSplitHighlightHue,
    blackAndWhiteSplitHighlightSaturation,
    blackAndWhiteSplitShadowHue,
    blackAndWhiteSplitShadowSaturation,
    blackAndWhiteYellowSensitivity,
    blackRecovery,
    blueCurve,
    brightness,
    clarityAmount,
    clarityMethod,
    clarityStructure,
    colorBalanceHighlightHue,
    colorBalanceHighlightLightness,
    colorBalanceHighlightSaturation,
    colorBalanceMasterHue,
    colorBalanceMasterSaturation,
    colorBalanceMidtoneHue,
    colorBalanceMidtoneLightness,
    colorBalanceMidtoneSaturation,
    colorBalanceShadowHue,
    colorBalanceShadowLightness,
    colorBalanceShadowSaturation,
    colorEditorSettings,
    colorProfile,
    colorTag,
    contactAddress,
    contactCity,
    contactCountry,
    contactCreator,
    contactCreatorJobTitle,
    contactEmail,
    contactPhone,
    contactPostalCode,
    contactState,
    contactWebsite,
    contentCategory,
    contentDescription,
    contentDescriptionWriter,
    contentHeadline,
    contentSubjectCodes,
    contentSupplementalCategories,
    contrast,
    crop,
    cropCenter,
    cropCenterx,
    cropCentery,
    cropHeight,
    cropSize,
    cropWidth,
    currentLayer,
    exposure,
    filmCurve,
    filmGrainGranularity,
    filmGrainImpact,
    filmGrainType,
    flip,
    gettyOriginalFilename,
    gettyParentMeid,
    gettyPersonalities,
    greenCurve,
    highlightAdjustment,
    highlightRecovery,
    imageCity,
    imageCountry,
    imageCountryCode,
    imageIntellectualGenre,
    imageLocation,
    imageScenes,
    imageState,
    lccColorCast,
    lccDustRemoval,
    lccUniformLight,
    lccUniformLightAmount,
    lensCorrection,
    levelHighlightBlue,
    levelHighlightGreen,
    levelHighlightRed,
    levelHighlightRgb,
    levelMidtoneBlue,
    levelMidtoneGreen,
    levelMidtoneRed,
    levelMidtoneRgb,
    levelShadowBlue,
    levelShadowGreen,
    levelShadowRed,
    levelShadowRgb,
    levelTargetHighlightBlue,
    levelTargetHighlightGreen,
    levelTargetHighlightRed,
    levelTargetHighlightRgb,
    levelTargetShadowBlue,
    levelTargetShadowGreen,
    levelTargetShadowRed,
    levelTargetShadowRgb,
    lumaCurve,
    moireAmount,
    moirePattern,
    noiseReductionColor,
    noiseReductionDetails,
    noiseReductionLuminance,
    noiseReductionSinglePixel,
    orientation,
    pick,
    rating,
    redCurve,
    rgbCurve,
    rotation,
    saturation,
    shadowRecovery,
    sharpeningAmount,
    sharpeningHaloSuppression,
    sharpeningRadius,
    sharpeningThreshold,
    statusCopyrightNotice,
    statusInstructions,
    statusJobIdentifier,
    statusProvider,
    statusRightsUsageTerms,
    statusSource,
    statusTitle,
    styles,
    temperature,
    tint,
    vignettingAmount,
    vignettingMethod,
    whiteBalancePreset,
    whiteRecovery,
};

inline constexpr int captureOneAdjustmentCount = 134;

// Every case, in declaration order.
std::span<const CaptureOneAdjustment> allCaptureOneAdjustments();

QString rawValue(CaptureOneAdjustment adjustment);
// The case's name in code ("cropCenterx"), for messages and tests.
QString caseName(CaptureOneAdjustment adjustment);
// Nothing for a text that is no raw value; the comparison is exact.
std::optional<CaptureOneAdjustment> captureOneAdjustmentFromRawValue(const QString& raw);

// The JSON form is the raw value.
Json toJson(CaptureOneAdjustment adjustment);
std::expected<CaptureOneAdjustment, Error> decodeCaptureOneAdjustment(const Json& json);

// Adjustment to value. Values are AppleScript as they stand: whoever fills
// the map decides how each is quoted.
using CaptureOneAdjustments = std::map<CaptureOneAdjustment, QString>;

// The script that sets `adjustments` on the variants of the application
// `bundleIdentifier`: on the primary variant, on every selected variant at
// once, or one by one over the selected variants. Unless `selected`, every
// value but black and white is added to the variant's current one.
QString buildAdjustmentScript(const CaptureOneAdjustments& adjustments,
                              const QString& bundleIdentifier, bool primary, bool selected);

// The script that defines the handler "makeAdjustments", which sets
// `adjustments` on the first variant of each image whose path it is given.
QString buildPathScript(const CaptureOneAdjustments& adjustments, const QString& bundleIdentifier);

} // namespace qb
