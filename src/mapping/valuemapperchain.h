// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mapping/valuemappers.h"

#include "extensions/error.h"
#include "extensions/jsondecode.h"

#include <expected>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

namespace qb {

// The ordered mappers of one rule row. Shared by reference: copies of a
// mapping refer to one chain.
class ValueMapperChain {
public:
    // The tagged form of one mapper, as documents store it.
    class MappingContainer {
    public:
        // Declaration order is the order in which mappers are tested and
        // type names are looked up.
        enum class Unassociated {
            array,
            string,
            stringCase,
            stringReplacement,
            boolean,
            booleanValue,
            date,
            dateComparison
        };
        static constexpr int unassociatedCount = 8;
        static QString rawValue(Unassociated type);

        // Nothing for a mapper that isn't one of the eight types.
        static std::optional<MappingContainer> make(const ValueMapper& mapper);

        Unassociated type() const { return static_cast<Unassociated>(m_mapper.index()); }
        std::shared_ptr<const ValueMapper> mapper() const;

        Json toJson() const;
        // Throws JsonDecodeFailure; an unknown type is a decoding failure too.
        static MappingContainer fromJson(const JsonObject& object);

    private:
        using Variant =
            std::variant<ArrayMapper, StringMapper, StringCaseMapper, StringReplacementMapper,
                         BooleanMapper, BooleanValueMapper, DateMapper, DateComparisonMapper>;
        explicit MappingContainer(Variant mapper)
            : m_mapper(std::move(mapper))
        {
        }
        Variant m_mapper;
    };

    ValueMapperChain() = default;
    explicit ValueMapperChain(std::vector<std::shared_ptr<const ValueMapper>> mappers)
        : mappers(std::move(mappers))
    {
    }

    // Every mapper in turn; absent is passed on, since some mappers turn it
    // back into a value.
    void applyChain(DynamicValue& value) const;
    DynamicValue applied(DynamicValue value) const;
    int mapperCount() const { return int(mappers.size()); }

    Json toJson() const;
    static ValueMapperChain fromJson(const JsonObject& object);
    static std::expected<ValueMapperChain, Error> decode(const Json& json);

    std::vector<std::shared_ptr<const ValueMapper>> mappers;
};

using MappingContainer = ValueMapperChain::MappingContainer;

// Equal when both hold the same mappers with the same fields, in order.
bool sameMappers(const ValueMapperChain& a, const ValueMapperChain& b);

} // namespace qb
