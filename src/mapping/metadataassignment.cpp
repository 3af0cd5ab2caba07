// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadataassignment.h"

#include "extensions/plainorder.h"
#include "extensions/regex.h"

#include <QHash>

#include <algorithm>

namespace qb {

namespace {

// Every mapping of each source field, in row order, looked up under
// canonical equivalence. Built once per run rather than once per field.
class MappingLookup {
public:
    struct Rule {
        qsizetype row;
        const MetadataMapping* mapping;
    };

    explicit MappingLookup(const std::vector<MetadataMapping>& mappings)
    {
        for (std::size_t i = 0; i < mappings.size(); ++i)
            m_rules[canonical(mappings[i].keyName)].push_back({qsizetype(i), &mappings[i]});
    }

    const std::vector<Rule>* find(const QString& field) const
    {
        const auto it = m_rules.constFind(canonical(field));
        return it == m_rules.cend() ? nullptr : &*it;
    }

private:
    QHash<QString, std::vector<Rule>> m_rules;
};

// exiftool takes tag names without regard to case.
QString tagKey(const QString& tag)
{
    return tag.toLower();
}

// What `clear` writes for an empty cell: an empty list, which exiftool's
// import takes as "remove the tag" for a tag of any kind, where an empty
// text would stand as an empty entry in a list tag.
DynamicValue clearedValue()
{
    return DynamicValue(DynamicValue::List{});
}

struct Mapped {
    ExifImage::Metadata tags;
    ExifImage::Notes notes;
};

Mapped applyLookup(const MetadataRow& row, const MappingLookup& lookup, EmptyCells emptyCells)
{
    struct Chosen {
        qsizetype row;
        const MetadataMapping* mapping;
        DynamicValue value;
    };
    std::map<QString, Chosen> chosen;         // by tag key
    std::map<QString, QString> emptyByTagKey; // tag key to the tag as the rule names it
    for (const auto& [field, value] : row) {
        const auto* rules = lookup.find(field);
        if (!rules)
            continue;
        for (const auto& rule : *rules) {
            const MetadataMapping& mapping = *rule.mapping;
            DynamicValue result = mapping.actions ? mapping.actions->applied(value) : value;
            if (!result.isPresent())
                continue;
            const QString key = tagKey(mapping.destTag);
            if (isEmptyCell(result)) {
                if (emptyCells == EmptyCells::keep) {
                    emptyByTagKey.emplace(key, mapping.destTag);
                    continue;
                }
                result = clearedValue();
            }
            const auto it = chosen.find(key);
            if (it == chosen.end() || it->second.row > rule.row)
                chosen.insert_or_assign(key, Chosen{rule.row, &mapping, std::move(result)});
        }
    }
    Mapped mapped;
    for (auto& [key, choice] : chosen) {
        mapped.tags.insert_or_assign(choice.mapping->destTag, std::move(choice.value));
        mapped.notes.ruleOf.insert_or_assign(choice.mapping->destTag, choice.mapping->keyName);
    }
    for (const auto& [key, tag] : emptyByTagKey) {
        if (!chosen.contains(key))
            mapped.notes.leftAlone << tag;
    }
    return mapped;
}

QString ruleName(const std::vector<MetadataMapping>& mappings, qsizetype row)
{
    return QStringLiteral("the rule for \u201c%1\u201d (row %2)")
        .arg(mappings[std::size_t(row)].keyName)
        .arg(row + 1);
}

} // namespace

QString emptyCellsName(EmptyCells emptyCells)
{
    return emptyCells == EmptyCells::keep ? QStringLiteral("keep") : QStringLiteral("clear");
}

std::optional<EmptyCells> emptyCellsNamed(QStringView name)
{
    if (name == u"keep")
        return EmptyCells::keep;
    if (name == u"clear")
        return EmptyCells::clear;
    return std::nullopt;
}

bool isEmptyCell(const DynamicValue& value)
{
    if (value.isString())
        return value.toString().trimmed().isEmpty();
    if (value.isList())
        return std::ranges::all_of(value.toList(), [](const DynamicValue& element) {
            return element.isString() && isEmptyCell(element);
        });
    return false;
}

ExifImage::Metadata applyMappings(const MetadataRow& sourceMetadata,
                                  const std::vector<MetadataMapping>& mappings,
                                  EmptyCells emptyCells)
{
    if (mappings.empty())
        return {};
    return applyLookup(sourceMetadata, MappingLookup(mappings), emptyCells).tags;
}

ExifImages mapImages(const ImageProvider& provider, const MetadataSource& source,
                     const std::vector<MetadataMapping>& mappings, EmptyCells emptyCells)
{
    const QList<QUrl> urls = provider.images();
    if (urls.isEmpty())
        return {};
    // A key or replacement pattern that runs out of time is told once.
    const RegexTimeouts run;
    const std::vector<MetadataRow> rows = source.metadataForImages(urls);
    const MappingLookup lookup(mappings);
    ExifImages images;
    for (qsizetype i = 0; i < urls.size(); ++i) {
        if (rows[std::size_t(i)].empty())
            continue;
        auto image = std::make_shared<ExifImage>(urls[i]);
        Mapped mapped = applyLookup(rows[std::size_t(i)], lookup, emptyCells);
        image->merge(mapped.tags, true);
        image->notes = std::move(mapped.notes);
        images.push_back(std::move(image));
    }
    return images;
}

std::vector<OverruledRule> overruledRules(const std::vector<MetadataMapping>& mappings)
{
    std::vector<OverruledRule> overruled;
    QHash<QString, qsizetype> first;
    for (std::size_t i = 0; i < mappings.size(); ++i) {
        const QString key = tagKey(mappings[i].destTag);
        if (const auto it = first.constFind(key); it != first.cend())
            overruled.push_back({qsizetype(i), *it});
        else
            first.insert(key, qsizetype(i));
    }
    return overruled;
}

QStringList overruledRuleWarnings(const std::vector<MetadataMapping>& mappings)
{
    QStringList lines;
    for (const OverruledRule& rule : overruledRules(mappings)) {
        QString lower = ruleName(mappings, rule.row);
        lower[0] = lower[0].toUpper();
        lines << QStringLiteral("%1 writes %2, as %3 does: the upper row\u2019s value stands.")
                     .arg(lower, mappings[std::size_t(rule.row)].destTag,
                          ruleName(mappings, rule.upper));
    }
    return lines;
}

} // namespace qb
