// SPDX-License-Identifier: GPL-3.0-or-later
#include "destinationtable.h"

#include "exif/exiftag.h"

namespace qb {

namespace {

using Type = MapperType;

// Every destination takes these; only some take an array as well.
const std::vector<MapperType> commonModes = {
    Type::stringCase,   Type::string, Type::boolean,       Type::stringReplacement,
    Type::booleanValue, Type::date,   Type::dateComparison};

enum class Name { fromTag, fixed };

struct Entry {
    const char* tag;
    const char* fixedName; // used when `name` is fixed
    Name name;
    bool takesArray;
};

// The order is the popup's; a null tag is a separator. The fixed names are
// the ones photographers know from other tools, spelled as they stand.
constexpr Entry entries[] = {
    {"XMP:Rating", nullptr, Name::fromTag, false},
    {"XMP:Label", "Color Tag", Name::fixed, false},
    {"XMP:Subject", "Keywords", Name::fixed, true},
    {nullptr, nullptr, Name::fixed, false},
    {"XMP:Creator", nullptr, Name::fromTag, false},
    {"XMP:AuthorsPosition", "Creator Job Title", Name::fixed, false},
    {"XMP:CreatorAddress", nullptr, Name::fromTag, false},
    {"XMP:CreatorCity", nullptr, Name::fromTag, false},
    {"XMP:CreatorRegion", "Creator State/ Province", Name::fixed, false},
    {"XMP:CreatorPostalCode", nullptr, Name::fromTag, false},
    {"XMP:CreatorCountry", nullptr, Name::fromTag, false},
    {"XMP:CreatorWorkTelephone", nullptr, Name::fromTag, false},
    {"XMP:CreatorWorkEmail", nullptr, Name::fromTag, false},
    {"XMP:CreatorWorkURL", nullptr, Name::fromTag, false},
    {nullptr, nullptr, Name::fixed, false},
    {"XMP:Headline", nullptr, Name::fromTag, false},
    {"XMP:Description", nullptr, Name::fromTag, false},
    {"XMP:Category", nullptr, Name::fromTag, false},
    {"XMP:SupplementalCategories", nullptr, Name::fromTag, true},
    {"XMP:SubjectCode", nullptr, Name::fromTag, true},
    {"XMP:CaptionWriter", "Description Writer", Name::fixed, false},
    {nullptr, nullptr, Name::fixed, false},
    {"XMP:IntellectualGenre", nullptr, Name::fromTag, false},
    {"XMP:Scene", "Image Scene", Name::fixed, true},
    {"XMP:Location", "Image Location", Name::fixed, false},
    {"XMP:City", "Image City", Name::fixed, false},
    {"XMP:State", "Image State/ Province", Name::fixed, false},
    {"XMP:Country", "Image Country", Name::fixed, false},
    {"XMP:CountryCode", "Image Country Code", Name::fixed, false},
    {nullptr, nullptr, Name::fixed, false},
    {"XMP:Title", nullptr, Name::fromTag, false},
    {"XMP:TransmissionReference", "Job Identifier", Name::fixed, false},
    {"XMP:Instructions", nullptr, Name::fromTag, false},
    {"XMP:Credit", "Provider", Name::fixed, false},
    {"XMP:Source", nullptr, Name::fromTag, false},
    {"XMP:Rights", "Copyright Notice", Name::fixed, false},
    {"XMP:UsageTerms", "Right Usage Terms", Name::fixed, false},
    {nullptr, nullptr, Name::fixed, false},
    {"XMP:Personality", "Getty Personality", Name::fixed, true},
    {"XMP:OriginalFileName", "Getty Original Filename", Name::fixed, false},
    {"XMP:ParentMEID", "Getty Parent MEID", Name::fixed, false},
    {nullptr, nullptr, Name::fixed, false},
    {"EXIF:Make", "Camera Make", Name::fixed, false},
    {"EXIF:Model", "Camera Model", Name::fixed, false},
    {"EXIF:LensMake", "Lens Make", Name::fixed, false},
    {"EXIF:LensModel", "Lens Model", Name::fixed, false},
    {"EXIF:FocalLength", "Focal Length", Name::fixed, false},
    {"EXIF:ISO", "ISO", Name::fixed, false},
    {"EXIF:Software", "Software", Name::fixed, false},
};

ExifTagCriterionPtr makeEntry(const Entry& entry)
{
    std::vector<MapperType> modes = commonModes;
    if (entry.takesArray)
        modes.push_back(Type::array);
    if (!entry.tag)
        return std::make_shared<ExifTagCriterion>(QString(), QStringLiteral("-"), modes);
    const QString tag = QString::fromLatin1(entry.tag);
    const QString name =
        entry.name == Name::fixed ? QString::fromUtf8(entry.fixedName) : tagDisplayName(tag);
    return std::make_shared<ExifTagCriterion>(tag, name, modes);
}

} // namespace

ExifTagCriterion::ExifTagCriterion(QString exifTagName, QString displayName,
                                   std::vector<MapperType> modes)
    : exifTagName(std::move(exifTagName))
    , displayName(std::move(displayName))
    , supportedModes(std::move(modes))
{
}

bool ExifTagCriterion::supports(MapperType mode) const
{
    return std::find(supportedModes.begin(), supportedModes.end(), mode) != supportedModes.end();
}

const Criteria& ExifTagCriterion::children() const
{
    static const Criteria none;
    return none;
}

DisplayValue ExifTagCriterion::displayValue() const
{
    return isSeparator() ? DisplayValue::separator() : DisplayValue::ofText(displayName);
}

QString ExifTagCriterion::description() const
{
    return QStringLiteral("ExifTagCriterion(") + exifTagName + QLatin1Char(')');
}

const std::vector<ExifTagCriterionPtr>& destinationTable()
{
    static const std::vector<ExifTagCriterionPtr> table = [] {
        std::vector<ExifTagCriterionPtr> built;
        for (const Entry& entry : entries)
            built.push_back(makeEntry(entry));
        return built;
    }();
    return table;
}

Criteria destinationsFor(std::optional<MapperType> mode)
{
    Criteria result;
    for (const ExifTagCriterionPtr& entry : destinationTable())
        if (!mode || entry->supports(*mode))
            result.push_back(entry);
    return result;
}

ExifTagCriterionPtr findDestination(const Criteria& criteria, const QString& tagName)
{
    for (const CriterionPtr& criterion : criteria)
        if (auto tag = std::dynamic_pointer_cast<ExifTagCriterion>(criterion))
            if (tag->exifTagName == tagName)
                return tag;
    return nullptr;
}

} // namespace qb
