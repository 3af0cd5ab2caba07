// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/exiftag.h"

#include <span>
#include <string_view>

namespace qb {

// One line of the catalogue, for listing it without touching its tags.
struct TagEntry {
    std::string_view name; // "GROUP:Name", ASCII
    TagValueType type;

    QString tagName() const { return QString::fromLatin1(name.data(), qsizetype(name.size())); }
};

// The well-known tags. Each function returns the same object on every call;
// an entry is created at its first use, and creating it creates no other.
// Hyphens of exiftool's names are dropped in the identifiers (IPTC:Sub-location
// is IPTC::SubLocation).
namespace TagGroup {

// All entries in catalogue order, SourceFile first. Reading the list creates
// no tag.
std::span<const TagEntry> entries();

// The key of every image.
const Exiftag<QUrl>& SourceFile();

namespace Composite {
const Exiftag<QString>& CFAPattern();
const Exiftag<QString>& GPSPosition();
const Exiftag<QString>& ImageSize();
const Exiftag<QString>& LensID();
const Exiftag<double>& Aperture();
const Exiftag<double>& FocalLength35efl();
const Exiftag<double>& GPSAltitude();
const Exiftag<double>& GPSLatitude();
const Exiftag<double>& GPSLongitude();
const Exiftag<double>& LightValue();
const Exiftag<double>& Megapixels();
const Exiftag<double>& ShutterSpeed();
const Exiftag<QDateTime>& GPSDateTime();
} // namespace Composite

namespace EXIF {
const Exiftag<QString>& Artist();
const Exiftag<QString>& AsShotNeutral();
const Exiftag<QString>& BlackLevelRepeatDim();
const Exiftag<QString>& CameraCalibration1();
const Exiftag<QString>& CameraCalibration2();
const Exiftag<QString>& CFAPattern2();
const Exiftag<QString>& CFARepeatPatternDim();
const Exiftag<QString>& ColorMatrix1();
const Exiftag<QString>& ColorMatrix2();
const Exiftag<QString>& ComponentsConfiguration();
const Exiftag<QString>& DefaultCropOrigin();
const Exiftag<QString>& DefaultCropSize();
const Exiftag<QString>& DNGBackwardVersion();
const Exiftag<QString>& DNGVersion();
const Exiftag<QString>& ExifVersion();
const Exiftag<QString>& GPSLatitudeRef();
const Exiftag<QString>& GPSLongitudeRef();
const Exiftag<QString>& GPSSpeedRef();
const Exiftag<QString>& GPSStatus();
const Exiftag<QString>& GPSTimeStamp();
const Exiftag<QString>& GPSVersionID();
const Exiftag<QString>& ImageUniqueID();
const Exiftag<QString>& LensInfo();
const Exiftag<QString>& LensMake();
const Exiftag<QString>& LensModel();
const Exiftag<QString>& LensSerialNumber();
const Exiftag<QString>& Make();
const Exiftag<QString>& Model();
const Exiftag<QString>& PreviewImage();
const Exiftag<QString>& RawDataUniqueID();
const Exiftag<QString>& ReferenceBlackWhite();
const Exiftag<QString>& Software();
const Exiftag<QString>& TIFFEPStandardID();
const Exiftag<QString>& UniqueCameraModel();
const Exiftag<QString>& YCbCrCoefficients();
const Exiftag<qint64>& ApertureValue();
const Exiftag<qint64>& BaselineExposure();
const Exiftag<qint64>& BaselineNoise();
const Exiftag<qint64>& BaselineSharpness();
const Exiftag<qint64>& BayerGreenSplit();
const Exiftag<qint64>& BitsPerSample();
const Exiftag<qint64>& BlackLevel();
const Exiftag<qint64>& CalibrationIlluminant1();
const Exiftag<qint64>& CalibrationIlluminant2();
const Exiftag<qint64>& CameraSerialNumber();
const Exiftag<qint64>& ColorSpace();
const Exiftag<qint64>& Compression();
const Exiftag<qint64>& Contrast();
const Exiftag<qint64>& CustomRendered();
const Exiftag<qint64>& DigitalZoomRatio();
const Exiftag<qint64>& ExifImageHeight();
const Exiftag<qint64>& ExifImageWidth();
const Exiftag<qint64>& ExposureCompensation();
const Exiftag<qint64>& ExposureMode();
const Exiftag<qint64>& ExposureProgram();
const Exiftag<qint64>& FileSource();
const Exiftag<qint64>& Flash();
const Exiftag<qint64>& FocalLength();
const Exiftag<qint64>& GPSAltitudeRef();
const Exiftag<qint64>& GPSSpeed();
const Exiftag<qint64>& GPSTrack();
const Exiftag<qint64>& ImageHeight();
const Exiftag<qint64>& ImageWidth();
const Exiftag<qint64>& ISO();
const Exiftag<qint64>& LightSource();
const Exiftag<qint64>& LinearResponseLimit();
const Exiftag<qint64>& MeteringMode();
const Exiftag<qint64>& Orientation();
const Exiftag<qint64>& PhotometricInterpretation();
const Exiftag<qint64>& PlanarConfiguration();
const Exiftag<qint64>& PreviewImageLength();
const Exiftag<qint64>& PreviewImageStart();
const Exiftag<qint64>& ResolutionUnit();
const Exiftag<qint64>& RowsPerStrip();
const Exiftag<qint64>& SamplesPerPixel();
const Exiftag<qint64>& Saturation();
const Exiftag<qint64>& SceneCaptureType();
const Exiftag<qint64>& SceneType();
const Exiftag<qint64>& SelfTimerMode();
const Exiftag<qint64>& ShadowScale();
const Exiftag<qint64>& Sharpness();
const Exiftag<qint64>& StripByteCounts();
const Exiftag<qint64>& StripOffsets();
const Exiftag<qint64>& SubfileType();
const Exiftag<qint64>& WhiteBalance();
const Exiftag<qint64>& WhiteLevel();
const Exiftag<qint64>& XResolution();
const Exiftag<qint64>& YResolution();
const Exiftag<double>& ExposureTime();
const Exiftag<double>& GPSAltitude();
const Exiftag<double>& GPSDOP();
const Exiftag<double>& GPSLatitude();
const Exiftag<double>& GPSLongitude();
const Exiftag<double>& MaxApertureValue();
const Exiftag<double>& ShutterSpeedValue();
const Exiftag<QDateTime>& CreateDate();
const Exiftag<QDateTime>& DateTimeOriginal();
const Exiftag<QDateTime>& GPSDateStamp();
} // namespace EXIF

namespace File {
const Exiftag<QString>& ExifByteOrder();
const Exiftag<QString>& FileName();
const Exiftag<QString>& FileType();
const Exiftag<QString>& FileTypeExtension();
const Exiftag<QString>& MIMEType();
const Exiftag<qint64>& FilePermissions();
const Exiftag<qint64>& FileSize();
const Exiftag<QDateTime>& FileAccessDate();
const Exiftag<QDateTime>& FileInodeChangeDate();
const Exiftag<QDateTime>& FileModifyDate();
const Exiftag<QUrl>& Directory();
} // namespace File

namespace IPTC {
const Exiftag<QString>& SubLocation();
const Exiftag<QString>& City();
const Exiftag<QString>& ProvinceState();
const Exiftag<QString>& CountryPrimaryLocationName();
const Exiftag<QStringList>& Keywords();
} // namespace IPTC

namespace XMP {
const Exiftag<QString>& AuthorsPosition();
const Exiftag<QString>& CaptionWriter();
const Exiftag<QString>& Category();
const Exiftag<QString>& City();
const Exiftag<QString>& Country();
const Exiftag<QString>& CountryCode();
const Exiftag<QString>& CreatorAddress();
const Exiftag<QString>& CreatorCity();
const Exiftag<QString>& CreatorContactInfo();
const Exiftag<QString>& CreatorCountry();
const Exiftag<QString>& CreatorPostalCode();
const Exiftag<QString>& CreatorRegion();
const Exiftag<QString>& CreatorTool();
const Exiftag<QString>& CreatorWorkEmail();
const Exiftag<QString>& CreatorWorkTelephone();
const Exiftag<QString>& CreatorWorkURL();
const Exiftag<QString>& Credit();
const Exiftag<QString>& Description();
const Exiftag<QString>& Headline();
const Exiftag<QString>& Instructions();
const Exiftag<QString>& Label();
const Exiftag<QString>& Location();
const Exiftag<QString>& OriginalFileName();
const Exiftag<QString>& ParentMEID();
const Exiftag<QString>& Personality();
const Exiftag<QString>& Rights();
const Exiftag<QString>& Source();
const Exiftag<QString>& State();
const Exiftag<QString>& Title();
const Exiftag<QString>& TransmissionReference();
const Exiftag<QString>& UsageTerms();
const Exiftag<qint64>& IntellectualGenre();
const Exiftag<qint64>& Rating();
const Exiftag<qint64>& Urgency();
const Exiftag<QStringList>& Creator();
const Exiftag<QStringList>& HierarchicalSubject();
const Exiftag<QStringList>& Scene();
const Exiftag<QStringList>& Subject();
const Exiftag<QStringList>& SubjectCode();
const Exiftag<QStringList>& SupplementalCategories();
} // namespace XMP
} // namespace TagGroup

} // namespace qb
