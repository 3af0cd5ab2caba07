// SPDX-License-Identifier: GPL-3.0-or-later
#include "rowconversion.h"

#include "rules/destinationtable.h"

#include "extensions/log.h"

namespace qb {

SourceTagCriteria makeSourceTagCriteria(const QStringList& keyNames, NotificationCenter* center)
{
    SourceTagCriteria criteria;
    criteria.reserve(std::size_t(keyNames.size()));
    for (const QString& name : keyNames)
        criteria.push_back(std::make_shared<SourceTagCriterion>(name, center));
    return criteria;
}

int numberOfChildren(const Criterion* criterion, const SourceTagCriteria& sources)
{
    return criterion ? int(criterion->children().size()) : int(sources.size());
}

CriterionPtr childOf(const Criterion* criterion, int index, const SourceTagCriteria& sources)
{
    if (index < 0 || index >= numberOfChildren(criterion, sources))
        return nullptr;
    return criterion ? criterion->children()[std::size_t(index)] : sources[std::size_t(index)];
}

DisplayValue displayValueOf(const Criterion* criterion)
{
    return criterion ? criterion->displayValue() : DisplayValue::ofText(QStringLiteral("No Value"));
}

std::optional<MetadataMapping> mappingForRow(const Criteria& row, int index)
{
    for (const CriterionPtr& criterion : row)
        if (!criterion)
            return std::nullopt;
    if (const auto unplaced = firstOf<UnplacedRowCriterion>(row))
        return unplaced->mapping;
    const auto source = firstOf<SourceTagCriterion>(row);
    const auto tag = firstOf<ExifTagCriterion>(row);
    if (!source || !tag)
        return std::nullopt;

    std::vector<std::shared_ptr<const ValueMapper>> mappers;
    for (const CriterionPtr& criterion : row)
        if (const auto* mode = dynamic_cast<const ConversionModeCriterion*>(criterion.get()))
            if (auto mapper = mode->mapper(row))
                mappers.push_back(std::move(mapper));

    MetadataMapping mapping(source->name, tag->exifTagName, std::move(mappers));
    qbLog(QStringLiteral("Created mapper from row: ") + mapping.description());
    qbLog(QStringLiteral("Created ") + mapping.description() +
          QStringLiteral(" from RuleEditor row ") + QString::number(index));
    return mapping;
}

std::vector<MetadataMapping> mappingsForRows(const std::vector<Criteria>& rows)
{
    std::vector<MetadataMapping> mappings;
    for (std::size_t i = 0; i < rows.size(); ++i)
        if (auto mapping = mappingForRow(rows[i], int(i)))
            mappings.push_back(std::move(*mapping));
    return mappings;
}

namespace {

std::shared_ptr<ConversionModeCriterion> modeFor(const SourceTagCriterion& source,
                                                 const ValueMapper* mapper)
{
    std::optional<MapperType> type;
    if (mapper)
        if (auto container = MappingContainer::make(*mapper))
            type = container->type();
    for (const CriterionPtr& child : source.children()) {
        auto mode = std::static_pointer_cast<ConversionModeCriterion>(child);
        if (mode->mapperType() == type)
            return mode;
    }
    return nullptr;
}

} // namespace

UnplacedRowCriterion::UnplacedRowCriterion(MetadataMapping mapping, QString reason)
    : mapping(std::move(mapping))
    , m_reason(std::move(reason))
{
}

const Criteria& UnplacedRowCriterion::children() const
{
    static const Criteria none;
    return none;
}

DisplayValue UnplacedRowCriterion::displayValue() const
{
    const ValueMapper* first = mapping.actions && !mapping.actions->mappers.empty()
                                   ? mapping.actions->mappers.front().get()
                                   : nullptr;
    // The mode as the popup names it; a mapper no mode offers by its own name.
    const auto mode = modeFor(SourceTagCriterion(mapping.keyName, nullptr), first);
    const QString modeName = mode ? mode->sortingKey() : first->typeDisplayName();
    QString destination = mapping.destTag;
    for (const ExifTagCriterionPtr& tag : destinationTable()) {
        if (tag->exifTagName == mapping.destTag) {
            destination = tag->displayName;
            break;
        }
    }
    const QString arrow = QStringLiteral(" \u25b8 ");
    return DisplayValue::ofText(mapping.keyName + arrow + modeName + arrow + destination);
}

QString UnplacedRowCriterion::description() const
{
    return QStringLiteral("UnplacedRowCriterion(") + mapping.description() + QLatin1Char(')');
}

Criteria rowForMapping(const MetadataMapping& mapping, int index, const SourceTagCriteria& sources)
{
    qbPrint(QStringLiteral("Adding row for '") + mapping.description() + QStringLiteral("' at ") +
            QString::number(index));
    std::shared_ptr<SourceTagCriterion> source;
    for (const auto& candidate : sources)
        if (candidate->name == mapping.keyName) {
            source = candidate;
            break;
        }
    if (!source) {
        return {std::make_shared<UnplacedRowCriterion>(
            mapping, QStringLiteral("The data has no column \u201c%1\u201d").arg(mapping.keyName))};
    }

    const bool hasMapper = mapping.actions && !mapping.actions->mappers.empty();
    const ValueMapper* first = hasMapper ? mapping.actions->mappers.front().get() : nullptr;
    const auto mode = modeFor(*source, first);
    if (!mode) {
        // A document written by hand can hold mappers the rows don't offer;
        // that row is kept as it is rather than taking the window down.
        qbLog(QStringLiteral("Skipping '") + mapping.description() +
              QStringLiteral("': a rule row has no place for the mapper \"") +
              first->typeDisplayName() + QStringLiteral("\""));
        return {std::make_shared<UnplacedRowCriterion>(
            mapping, QStringLiteral("No rule can show the conversion \u201c%1\u201d")
                         .arg(first->typeDisplayName()))};
    }
    if (first)
        mode->setParameters(*first);

    Criteria row{source, mode};
    for (CriterionPtr& criterion : mode->rowCriteria(mapping.destTag))
        row.push_back(std::move(criterion));
    for (const CriterionPtr& criterion : row)
        qbLog(QStringLiteral("Adding ") + criterion->description() + QStringLiteral(" to row"));
    qbLog(QStringLiteral("Row for ") + source->description() + QStringLiteral(" has ") +
          QString::number(row.size()) + QStringLiteral(" criteria"));
    return row;
}

} // namespace qb
