// SPDX-License-Identifier: GPL-3.0-or-later
#include "tagcatalogue.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace qb {

namespace {

constexpr std::array<TagEntry, 168> catalogue = {{
    {"SourceFile", TagValueType::Url},
    {"Composite:CFAPattern", TagValueType::String},
    {"Composite:GPSPosition", TagValueType::String},
    {"Composite:ImageSize", TagValueType::String},
    {"Composite:LensID", TagValueType::String},
    {"Composite:Aperture", TagValueType::Double},
    {"Composite:FocalLength35efl", TagValueType::Double},
    {"Composite:GPSAltitude", TagValueType::Double},
    {"Composite:GPSLatitude", TagValueType::Double},
    {"Composite:GPSLongitude", TagValueType::Double},
    {"Composite:LightValue", TagValueType::Double},
    {"Composite:Megapixels", TagValueType::Double},
    {"Composite:ShutterSpeed", TagValueType::Double},
    {"Composite:GPSDateTime", TagValueType::Date},
    {"EXIF:Artist", TagValueType::String},
    {"EXIF:AsShotNeutral", TagValueType::String},
    {"EXIF:BlackLevelRepeatDim", TagValueType::String},
    {"EXIF:CameraCalibration1", TagValueType::String},
    {"EXIF:CameraCalibration2", TagValueType::String},
    {"EXIF:CFAPattern2", TagValueType::String},
    {"EXIF:CFARepeatPatternDim", TagValueType::String},
    {"EXIF:ColorMatrix1", TagValueType::String},
    {"EXIF:ColorMatrix2", TagValueType::String},
    {"EXIF:ComponentsConfiguration", TagValueType::String},
    {"EXIF:DefaultCropOrigin", TagValueType::String},
    {"EXIF:DefaultCropSize", TagValueType::String},
    {"EXIF:DNGBackwardVersion", TagValueType::String},
    {"EXIF:DNGVersion", TagValueType::String},
    {"EXIF:ExifVersion", TagValueType::String},
    {"EXIF:GPSLatitudeRef", TagValueType::String},
    {"EXIF:GPSLongitudeRef", TagValueType::String},
    {"EXIF:GPSSpeedRef", TagValueType::String},
    {"EXIF:GPSStatus", TagValueType::String},
    {"EXIF:GPSTimeStamp", TagValueType::String},
    {"EXIF:GPSVersionID", TagValueType::String},
    {"EXIF:ImageUniqueID", TagValueType::String},
    {"EXIF:LensInfo", TagValueType::String},
    {"EXIF:LensMake", TagValueType::String},
    {"EXIF:LensModel", TagValueType::String},
    {"EXIF:LensSerialNumber", TagValueType::String},
    {"EXIF:Make", TagValueType::String},
    {"EXIF:Model", TagValueType::String},
    {"EXIF:PreviewImage", TagValueType::String},
    {"EXIF:RawDataUniqueID", TagValueType::String},
    {"EXIF:ReferenceBlackWhite", TagValueType::String},
    {"EXIF:Software", TagValueType::String},
    {"EXIF:TIFF-EPStandardID", TagValueType::String},
    {"EXIF:UniqueCameraModel", TagValueType::String},
    {"EXIF:YCbCrCoefficients", TagValueType::String},
    {"EXIF:ApertureValue", TagValueType::Int},
    {"EXIF:BaselineExposure", TagValueType::Int},
    {"EXIF:BaselineNoise", TagValueType::Int},
    {"EXIF:BaselineSharpness", TagValueType::Int},
    {"EXIF:BayerGreenSplit", TagValueType::Int},
    {"EXIF:BitsPerSample", TagValueType::Int},
    {"EXIF:BlackLevel", TagValueType::Int},
    {"EXIF:CalibrationIlluminant1", TagValueType::Int},
    {"EXIF:CalibrationIlluminant2", TagValueType::Int},
    {"EXIF:CameraSerialNumber", TagValueType::Int},
    {"EXIF:ColorSpace", TagValueType::Int},
    {"EXIF:Compression", TagValueType::Int},
    {"EXIF:Contrast", TagValueType::Int},
    {"EXIF:CustomRendered", TagValueType::Int},
    {"EXIF:DigitalZoomRatio", TagValueType::Int},
    {"EXIF:ExifImageHeight", TagValueType::Int},
    {"EXIF:ExifImageWidth", TagValueType::Int},
    {"EXIF:ExposureCompensation", TagValueType::Int},
    {"EXIF:ExposureMode", TagValueType::Int},
    {"EXIF:ExposureProgram", TagValueType::Int},
    {"EXIF:FileSource", TagValueType::Int},
    {"EXIF:Flash", TagValueType::Int},
    {"EXIF:FocalLength", TagValueType::Int},
    {"EXIF:GPSAltitudeRef", TagValueType::Int},
    {"EXIF:GPSSpeed", TagValueType::Int},
    {"EXIF:GPSTrack", TagValueType::Int},
    {"EXIF:ImageHeight", TagValueType::Int},
    {"EXIF:ImageWidth", TagValueType::Int},
    {"EXIF:ISO", TagValueType::Int},
    {"EXIF:LightSource", TagValueType::Int},
    {"EXIF:LinearResponseLimit", TagValueType::Int},
    {"EXIF:MeteringMode", TagValueType::Int},
    {"EXIF:Orientation", TagValueType::Int},
    {"EXIF:PhotometricInterpretation", TagValueType::Int},
    {"EXIF:PlanarConfiguration", TagValueType::Int},
    {"EXIF:PreviewImageLength", TagValueType::Int},
    {"EXIF:PreviewImageStart", TagValueType::Int},
    {"EXIF:ResolutionUnit", TagValueType::Int},
    {"EXIF:RowsPerStrip", TagValueType::Int},
    {"EXIF:SamplesPerPixel", TagValueType::Int},
    {"EXIF:Saturation", TagValueType::Int},
    {"EXIF:SceneCaptureType", TagValueType::Int},
    {"EXIF:SceneType", TagValueType::Int},
    {"EXIF:SelfTimerMode", TagValueType::Int},
    {"EXIF:ShadowScale", TagValueType::Int},
    {"EXIF:Sharpness", TagValueType::Int},
    {"EXIF:StripByteCounts", TagValueType::Int},
    {"EXIF:StripOffsets", TagValueType::Int},
    {"EXIF:SubfileType", TagValueType::Int},
    {"EXIF:WhiteBalance", TagValueType::Int},
    {"EXIF:WhiteLevel", TagValueType::Int},
    {"EXIF:XResolution", TagValueType::Int},
    {"EXIF:YResolution", TagValueType::Int},
    {"EXIF:ExposureTime", TagValueType::Double},
    {"EXIF:GPSAltitude", TagValueType::Double},
    {"EXIF:GPSDOP", TagValueType::Double},
    {"EXIF:GPSLatitude", TagValueType::Double},
    {"EXIF:GPSLongitude", TagValueType::Double},
    {"EXIF:MaxApertureValue", TagValueType::Double},
    {"EXIF:ShutterSpeedValue", TagValueType::Double},
    {"EXIF:CreateDate", TagValueType::Date},
    {"EXIF:DateTimeOriginal", TagValueType::Date},
    {"EXIF:GPSDateStamp", TagValueType::Date},
    {"File:ExifByteOrder", TagValueType::String},
    {"File:FileName", TagValueType::String},
    {"File:FileType", TagValueType::String},
    {"File:FileTypeExtension", TagValueType::String},
    {"File:MIMEType", TagValueType::String},
    {"File:FilePermissions", TagValueType::Int},
    {"File:FileSize", TagValueType::Int},
    {"File:FileAccessDate", TagValueType::Date},
    {"File:FileInodeChangeDate", TagValueType::Date},
    {"File:FileModifyDate", TagValueType::Date},
    {"File:Directory", TagValueType::Url},
    {"IPTC:Sub-location", TagValueType::String},
    {"IPTC:City", TagValueType::String},
    {"IPTC:Province-State", TagValueType::String},
    {"IPTC:Country-PrimaryLocationName", TagValueType::String},
    {"IPTC:Keywords", TagValueType::StringList},
    {"XMP:AuthorsPosition", TagValueType::String},
    {"XMP:CaptionWriter", TagValueType::String},
    {"XMP:Category", TagValueType::String},
    {"XMP:City", TagValueType::String},
    {"XMP:Country", TagValueType::String},
    {"XMP:CountryCode", TagValueType::String},
    {"XMP:CreatorAddress", TagValueType::String},
    {"XMP:CreatorCity", TagValueType::String},
    {"XMP:CreatorContactInfo", TagValueType::String},
    {"XMP:CreatorCountry", TagValueType::String},
    {"XMP:CreatorPostalCode", TagValueType::String},
    {"XMP:CreatorRegion", TagValueType::String},
    {"XMP:CreatorTool", TagValueType::String},
    {"XMP:CreatorWorkEmail", TagValueType::String},
    {"XMP:CreatorWorkTelephone", TagValueType::String},
    {"XMP:CreatorWorkURL", TagValueType::String},
    {"XMP:Credit", TagValueType::String},
    {"XMP:Description", TagValueType::String},
    {"XMP:Headline", TagValueType::String},
    {"XMP:Instructions", TagValueType::String},
    {"XMP:Label", TagValueType::String},
    {"XMP:Location", TagValueType::String},
    {"XMP:OriginalFileName", TagValueType::String},
    {"XMP:ParentMEID", TagValueType::String},
    {"XMP:Personality", TagValueType::String},
    {"XMP:Rights", TagValueType::String},
    {"XMP:Source", TagValueType::String},
    {"XMP:State", TagValueType::String},
    {"XMP:Title", TagValueType::String},
    {"XMP:TransmissionReference", TagValueType::String},
    {"XMP:UsageTerms", TagValueType::String},
    {"XMP:IntellectualGenre", TagValueType::Int},
    {"XMP:Rating", TagValueType::Int},
    {"XMP:Urgency", TagValueType::Int},
    {"XMP:Creator", TagValueType::StringList},
    {"XMP:HierarchicalSubject", TagValueType::StringList},
    {"XMP:Scene", TagValueType::StringList},
    {"XMP:Subject", TagValueType::StringList},
    {"XMP:SubjectCode", TagValueType::StringList},
    {"XMP:SupplementalCategories", TagValueType::StringList},
}};

consteval bool namesAreDistinct()
{
    for (std::size_t i = 0; i < catalogue.size(); ++i) {
        for (std::size_t j = i + 1; j < catalogue.size(); ++j) {
            if (catalogue[i].name == catalogue[j].name)
                return false;
        }
    }
    return true;
}
static_assert(namesAreDistinct(), "a tag is listed twice");

consteval bool isListed(std::string_view name, TagValueType type)
{
    return std::ranges::any_of(
        catalogue, [&](const TagEntry& entry) { return entry.name == name && entry.type == type; });
}

// A tag name usable as a template argument, so that each entry gets its own
// function-local static.
template <std::size_t Size>
struct TagName {
    char text[Size];

    consteval TagName(const char (&literal)[Size]) { std::copy_n(literal, Size, text); }
    constexpr std::string_view view() const { return {text, Size - 1}; }
};

template <TagValue Value, TagName Name>
const Exiftag<Value>& entry()
{
    static_assert(isListed(Name.view(), TagValueTraits<Value>::type),
                  "accessor disagrees with the catalogue table");
    // Initialised once even under concurrent first use, and never released:
    // entries are handed out by reference for the life of the process.
    static const Exiftag<Value>* const tag =
        new Exiftag<Value>(QString::fromLatin1(Name.view().data(), Name.view().size()));
    return *tag;
}

} // namespace

namespace TagGroup {

std::span<const TagEntry> entries()
{
    return catalogue;
}

const Exiftag<QUrl>& SourceFile()
{
    return entry<QUrl, "SourceFile">();
}

// One line per entry reads as the table it is.
// clang-format off
namespace Composite {
const Exiftag<QString>& CFAPattern() { return entry<QString, "Composite:CFAPattern">(); }
const Exiftag<QString>& GPSPosition() { return entry<QString, "Composite:GPSPosition">(); }
const Exiftag<QString>& ImageSize() { return entry<QString, "Composite:ImageSize">(); }
const Exiftag<QString>& LensID() { return entry<QString, "Composite:LensID">(); }
const Exiftag<double>& Aperture() { return entry<double, "Composite:Aperture">(); }
const Exiftag<double>& FocalLength35efl() { return entry<double, "Composite:FocalLength35efl">(); }
const Exiftag<double>& GPSAltitude() { return entry<double, "Composite:GPSAltitude">(); }
const Exiftag<double>& GPSLatitude() { return entry<double, "Composite:GPSLatitude">(); }
const Exiftag<double>& GPSLongitude() { return entry<double, "Composite:GPSLongitude">(); }
const Exiftag<double>& LightValue() { return entry<double, "Composite:LightValue">(); }
const Exiftag<double>& Megapixels() { return entry<double, "Composite:Megapixels">(); }
const Exiftag<double>& ShutterSpeed() { return entry<double, "Composite:ShutterSpeed">(); }
const Exiftag<QDateTime>& GPSDateTime() { return entry<QDateTime, "Composite:GPSDateTime">(); }
} // namespace Composite

namespace EXIF {
const Exiftag<QString>& Artist() { return entry<QString, "EXIF:Artist">(); }
const Exiftag<QString>& AsShotNeutral() { return entry<QString, "EXIF:AsShotNeutral">(); }
const Exiftag<QString>& BlackLevelRepeatDim() { return entry<QString, "EXIF:BlackLevelRepeatDim">(); }
const Exiftag<QString>& CameraCalibration1() { return entry<QString, "EXIF:CameraCalibration1">(); }
const Exiftag<QString>& CameraCalibration2() { return entry<QString, "EXIF:CameraCalibration2">(); }
const Exiftag<QString>& CFAPattern2() { return entry<QString, "EXIF:CFAPattern2">(); }
const Exiftag<QString>& CFARepeatPatternDim() { return entry<QString, "EXIF:CFARepeatPatternDim">(); }
const Exiftag<QString>& ColorMatrix1() { return entry<QString, "EXIF:ColorMatrix1">(); }
const Exiftag<QString>& ColorMatrix2() { return entry<QString, "EXIF:ColorMatrix2">(); }
const Exiftag<QString>& ComponentsConfiguration() { return entry<QString, "EXIF:ComponentsConfiguration">(); }
const Exiftag<QString>& DefaultCropOrigin() { return entry<QString, "EXIF:DefaultCropOrigin">(); }
const Exiftag<QString>& DefaultCropSize() { return entry<QString, "EXIF:DefaultCropSize">(); }
const Exiftag<QString>& DNGBackwardVersion() { return entry<QString, "EXIF:DNGBackwardVersion">(); }
const Exiftag<QString>& DNGVersion() { return entry<QString, "EXIF:DNGVersion">(); }
const Exiftag<QString>& ExifVersion() { return entry<QString, "EXIF:ExifVersion">(); }
const Exiftag<QString>& GPSLatitudeRef() { return entry<QString, "EXIF:GPSLatitudeRef">(); }
const Exiftag<QString>& GPSLongitudeRef() { return entry<QString, "EXIF:GPSLongitudeRef">(); }
const Exiftag<QString>& GPSSpeedRef() { return entry<QString, "EXIF:GPSSpeedRef">(); }
const Exiftag<QString>& GPSStatus() { return entry<QString, "EXIF:GPSStatus">(); }
const Exiftag<QString>& GPSTimeStamp() { return entry<QString, "EXIF:GPSTimeStamp">(); }
const Exiftag<QString>& GPSVersionID() { return entry<QString, "EXIF:GPSVersionID">(); }
const Exiftag<QString>& ImageUniqueID() { return entry<QString, "EXIF:ImageUniqueID">(); }
const Exiftag<QString>& LensInfo() { return entry<QString, "EXIF:LensInfo">(); }
const Exiftag<QString>& LensMake() { return entry<QString, "EXIF:LensMake">(); }
const Exiftag<QString>& LensModel() { return entry<QString, "EXIF:LensModel">(); }
const Exiftag<QString>& LensSerialNumber() { return entry<QString, "EXIF:LensSerialNumber">(); }
const Exiftag<QString>& Make() { return entry<QString, "EXIF:Make">(); }
const Exiftag<QString>& Model() { return entry<QString, "EXIF:Model">(); }
const Exiftag<QString>& PreviewImage() { return entry<QString, "EXIF:PreviewImage">(); }
const Exiftag<QString>& RawDataUniqueID() { return entry<QString, "EXIF:RawDataUniqueID">(); }
const Exiftag<QString>& ReferenceBlackWhite() { return entry<QString, "EXIF:ReferenceBlackWhite">(); }
const Exiftag<QString>& Software() { return entry<QString, "EXIF:Software">(); }
const Exiftag<QString>& TIFFEPStandardID() { return entry<QString, "EXIF:TIFF-EPStandardID">(); }
const Exiftag<QString>& UniqueCameraModel() { return entry<QString, "EXIF:UniqueCameraModel">(); }
const Exiftag<QString>& YCbCrCoefficients() { return entry<QString, "EXIF:YCbCrCoefficients">(); }
const Exiftag<qint64>& ApertureValue() { return entry<qint64, "EXIF:ApertureValue">(); }
const Exiftag<qint64>& BaselineExposure() { return entry<qint64, "EXIF:BaselineExposure">(); }
const Exiftag<qint64>& BaselineNoise() { return entry<qint64, "EXIF:BaselineNoise">(); }
const Exiftag<qint64>& BaselineSharpness() { return entry<qint64, "EXIF:BaselineSharpness">(); }
const Exiftag<qint64>& BayerGreenSplit() { return entry<qint64, "EXIF:BayerGreenSplit">(); }
const Exiftag<qint64>& BitsPerSample() { return entry<qint64, "EXIF:BitsPerSample">(); }
const Exiftag<qint64>& BlackLevel() { return entry<qint64, "EXIF:BlackLevel">(); }
const Exiftag<qint64>& CalibrationIlluminant1() { return entry<qint64, "EXIF:CalibrationIlluminant1">(); }
const Exiftag<qint64>& CalibrationIlluminant2() { return entry<qint64, "EXIF:CalibrationIlluminant2">(); }
const Exiftag<qint64>& CameraSerialNumber() { return entry<qint64, "EXIF:CameraSerialNumber">(); }
const Exiftag<qint64>& ColorSpace() { return entry<qint64, "EXIF:ColorSpace">(); }
const Exiftag<qint64>& Compression() { return entry<qint64, "EXIF:Compression">(); }
const Exiftag<qint64>& Contrast() { return entry<qint64, "EXIF:Contrast">(); }
const Exiftag<qint64>& CustomRendered() { return entry<qint64, "EXIF:CustomRendered">(); }
const Exiftag<qint64>& DigitalZoomRatio() { return entry<qint64, "EXIF:DigitalZoomRatio">(); }
const Exiftag<qint64>& ExifImageHeight() { return entry<qint64, "EXIF:ExifImageHeight">(); }
const Exiftag<qint64>& ExifImageWidth() { return entry<qint64, "EXIF:ExifImageWidth">(); }
const Exiftag<qint64>& ExposureCompensation() { return entry<qint64, "EXIF:ExposureCompensation">(); }
const Exiftag<qint64>& ExposureMode() { return entry<qint64, "EXIF:ExposureMode">(); }
const Exiftag<qint64>& ExposureProgram() { return entry<qint64, "EXIF:ExposureProgram">(); }
const Exiftag<qint64>& FileSource() { return entry<qint64, "EXIF:FileSource">(); }
const Exiftag<qint64>& Flash() { return entry<qint64, "EXIF:Flash">(); }
const Exiftag<qint64>& FocalLength() { return entry<qint64, "EXIF:FocalLength">(); }
const Exiftag<qint64>& GPSAltitudeRef() { return entry<qint64, "EXIF:GPSAltitudeRef">(); }
const Exiftag<qint64>& GPSSpeed() { return entry<qint64, "EXIF:GPSSpeed">(); }
const Exiftag<qint64>& GPSTrack() { return entry<qint64, "EXIF:GPSTrack">(); }
const Exiftag<qint64>& ImageHeight() { return entry<qint64, "EXIF:ImageHeight">(); }
const Exiftag<qint64>& ImageWidth() { return entry<qint64, "EXIF:ImageWidth">(); }
const Exiftag<qint64>& ISO() { return entry<qint64, "EXIF:ISO">(); }
const Exiftag<qint64>& LightSource() { return entry<qint64, "EXIF:LightSource">(); }
const Exiftag<qint64>& LinearResponseLimit() { return entry<qint64, "EXIF:LinearResponseLimit">(); }
const Exiftag<qint64>& MeteringMode() { return entry<qint64, "EXIF:MeteringMode">(); }
const Exiftag<qint64>& Orientation() { return entry<qint64, "EXIF:Orientation">(); }
const Exiftag<qint64>& PhotometricInterpretation() { return entry<qint64, "EXIF:PhotometricInterpretation">(); }
const Exiftag<qint64>& PlanarConfiguration() { return entry<qint64, "EXIF:PlanarConfiguration">(); }
const Exiftag<qint64>& PreviewImageLength() { return entry<qint64, "EXIF:PreviewImageLength">(); }
const Exiftag<qint64>& PreviewImageStart() { return entry<qint64, "EXIF:PreviewImageStart">(); }
const Exiftag<qint64>& ResolutionUnit() { return entry<qint64, "EXIF:ResolutionUnit">(); }
const Exiftag<qint64>& RowsPerStrip() { return entry<qint64, "EXIF:RowsPerStrip">(); }
const Exiftag<qint64>& SamplesPerPixel() { return entry<qint64, "EXIF:SamplesPerPixel">(); }
const Exiftag<qint64>& Saturation() { return entry<qint64, "EXIF:Saturation">(); }
const Exiftag<qint64>& SceneCaptureType() { return entry<qint64, "EXIF:SceneCaptureType">(); }
const Exiftag<qint64>& SceneType() { return entry<qint64, "EXIF:SceneType">(); }
const Exiftag<qint64>& SelfTimerMode() { return entry<qint64, "EXIF:SelfTimerMode">(); }
const Exiftag<qint64>& ShadowScale() { return entry<qint64, "EXIF:ShadowScale">(); }
const Exiftag<qint64>& Sharpness() { return entry<qint64, "EXIF:Sharpness">(); }
const Exiftag<qint64>& StripByteCounts() { return entry<qint64, "EXIF:StripByteCounts">(); }
const Exiftag<qint64>& StripOffsets() { return entry<qint64, "EXIF:StripOffsets">(); }
const Exiftag<qint64>& SubfileType() { return entry<qint64, "EXIF:SubfileType">(); }
const Exiftag<qint64>& WhiteBalance() { return entry<qint64, "EXIF:WhiteBalance">(); }
const Exiftag<qint64>& WhiteLevel() { return entry<qint64, "EXIF:WhiteLevel">(); }
const Exiftag<qint64>& XResolution() { return entry<qint64, "EXIF:XResolution">(); }
const Exiftag<qint64>& YResolution() { return entry<qint64, "EXIF:YResolution">(); }
const Exiftag<double>& ExposureTime() { return entry<double, "EXIF:ExposureTime">(); }
const Exiftag<double>& GPSAltitude() { return entry<double, "EXIF:GPSAltitude">(); }
const Exiftag<double>& GPSDOP() { return entry<double, "EXIF:GPSDOP">(); }
const Exiftag<double>& GPSLatitude() { return entry<double, "EXIF:GPSLatitude">(); }
const Exiftag<double>& GPSLongitude() { return entry<double, "EXIF:GPSLongitude">(); }
const Exiftag<double>& MaxApertureValue() { return entry<double, "EXIF:MaxApertureValue">(); }
const Exiftag<double>& ShutterSpeedValue() { return entry<double, "EXIF:ShutterSpeedValue">(); }
const Exiftag<QDateTime>& CreateDate() { return entry<QDateTime, "EXIF:CreateDate">(); }
const Exiftag<QDateTime>& DateTimeOriginal() { return entry<QDateTime, "EXIF:DateTimeOriginal">(); }
const Exiftag<QDateTime>& GPSDateStamp() { return entry<QDateTime, "EXIF:GPSDateStamp">(); }
} // namespace EXIF

namespace File {
const Exiftag<QString>& ExifByteOrder() { return entry<QString, "File:ExifByteOrder">(); }
const Exiftag<QString>& FileName() { return entry<QString, "File:FileName">(); }
const Exiftag<QString>& FileType() { return entry<QString, "File:FileType">(); }
const Exiftag<QString>& FileTypeExtension() { return entry<QString, "File:FileTypeExtension">(); }
const Exiftag<QString>& MIMEType() { return entry<QString, "File:MIMEType">(); }
const Exiftag<qint64>& FilePermissions() { return entry<qint64, "File:FilePermissions">(); }
const Exiftag<qint64>& FileSize() { return entry<qint64, "File:FileSize">(); }
const Exiftag<QDateTime>& FileAccessDate() { return entry<QDateTime, "File:FileAccessDate">(); }
const Exiftag<QDateTime>& FileInodeChangeDate() { return entry<QDateTime, "File:FileInodeChangeDate">(); }
const Exiftag<QDateTime>& FileModifyDate() { return entry<QDateTime, "File:FileModifyDate">(); }
const Exiftag<QUrl>& Directory() { return entry<QUrl, "File:Directory">(); }
} // namespace File

namespace IPTC {
const Exiftag<QString>& SubLocation() { return entry<QString, "IPTC:Sub-location">(); }
const Exiftag<QString>& City() { return entry<QString, "IPTC:City">(); }
const Exiftag<QString>& ProvinceState() { return entry<QString, "IPTC:Province-State">(); }
const Exiftag<QString>& CountryPrimaryLocationName() { return entry<QString, "IPTC:Country-PrimaryLocationName">(); }
const Exiftag<QStringList>& Keywords() { return entry<QStringList, "IPTC:Keywords">(); }
} // namespace IPTC

namespace XMP {
const Exiftag<QString>& AuthorsPosition() { return entry<QString, "XMP:AuthorsPosition">(); }
const Exiftag<QString>& CaptionWriter() { return entry<QString, "XMP:CaptionWriter">(); }
const Exiftag<QString>& Category() { return entry<QString, "XMP:Category">(); }
const Exiftag<QString>& City() { return entry<QString, "XMP:City">(); }
const Exiftag<QString>& Country() { return entry<QString, "XMP:Country">(); }
const Exiftag<QString>& CountryCode() { return entry<QString, "XMP:CountryCode">(); }
const Exiftag<QString>& CreatorAddress() { return entry<QString, "XMP:CreatorAddress">(); }
const Exiftag<QString>& CreatorCity() { return entry<QString, "XMP:CreatorCity">(); }
const Exiftag<QString>& CreatorContactInfo() { return entry<QString, "XMP:CreatorContactInfo">(); }
const Exiftag<QString>& CreatorCountry() { return entry<QString, "XMP:CreatorCountry">(); }
const Exiftag<QString>& CreatorPostalCode() { return entry<QString, "XMP:CreatorPostalCode">(); }
const Exiftag<QString>& CreatorRegion() { return entry<QString, "XMP:CreatorRegion">(); }
const Exiftag<QString>& CreatorTool() { return entry<QString, "XMP:CreatorTool">(); }
const Exiftag<QString>& CreatorWorkEmail() { return entry<QString, "XMP:CreatorWorkEmail">(); }
const Exiftag<QString>& CreatorWorkTelephone() { return entry<QString, "XMP:CreatorWorkTelephone">(); }
const Exiftag<QString>& CreatorWorkURL() { return entry<QString, "XMP:CreatorWorkURL">(); }
const Exiftag<QString>& Credit() { return entry<QString, "XMP:Credit">(); }
const Exiftag<QString>& Description() { return entry<QString, "XMP:Description">(); }
const Exiftag<QString>& Headline() { return entry<QString, "XMP:Headline">(); }
const Exiftag<QString>& Instructions() { return entry<QString, "XMP:Instructions">(); }
const Exiftag<QString>& Label() { return entry<QString, "XMP:Label">(); }
const Exiftag<QString>& Location() { return entry<QString, "XMP:Location">(); }
const Exiftag<QString>& OriginalFileName() { return entry<QString, "XMP:OriginalFileName">(); }
const Exiftag<QString>& ParentMEID() { return entry<QString, "XMP:ParentMEID">(); }
const Exiftag<QString>& Personality() { return entry<QString, "XMP:Personality">(); }
const Exiftag<QString>& Rights() { return entry<QString, "XMP:Rights">(); }
const Exiftag<QString>& Source() { return entry<QString, "XMP:Source">(); }
const Exiftag<QString>& State() { return entry<QString, "XMP:State">(); }
const Exiftag<QString>& Title() { return entry<QString, "XMP:Title">(); }
const Exiftag<QString>& TransmissionReference() { return entry<QString, "XMP:TransmissionReference">(); }
const Exiftag<QString>& UsageTerms() { return entry<QString, "XMP:UsageTerms">(); }
const Exiftag<qint64>& IntellectualGenre() { return entry<qint64, "XMP:IntellectualGenre">(); }
const Exiftag<qint64>& Rating() { return entry<qint64, "XMP:Rating">(); }
const Exiftag<qint64>& Urgency() { return entry<qint64, "XMP:Urgency">(); }
const Exiftag<QStringList>& Creator() { return entry<QStringList, "XMP:Creator">(); }
const Exiftag<QStringList>& HierarchicalSubject() { return entry<QStringList, "XMP:HierarchicalSubject">(); }
const Exiftag<QStringList>& Scene() { return entry<QStringList, "XMP:Scene">(); }
const Exiftag<QStringList>& Subject() { return entry<QStringList, "XMP:Subject">(); }
const Exiftag<QStringList>& SubjectCode() { return entry<QStringList, "XMP:SubjectCode">(); }
const Exiftag<QStringList>& SupplementalCategories() { return entry<QStringList, "XMP:SupplementalCategories">(); }
} // namespace XMP
// clang-format on

} // namespace TagGroup

} // namespace qb
