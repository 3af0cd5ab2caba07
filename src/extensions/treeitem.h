// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"

#include <QDebug>
#include <QString>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <concepts>
#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

namespace qb {

// The text of a tree item's object in its description.
template <typename T>
QString treeItemText(const T& object)
{
    if constexpr (std::is_convertible_v<const T&, QString>) {
        return object;
    } else if constexpr (std::is_same_v<T, std::string>) {
        return QString::fromStdString(object);
    } else if constexpr (std::is_arithmetic_v<T>) {
        return QString::number(object);
    } else if constexpr (requires {
                             {
                                 object.description()
                                 } -> std::convertible_to<QString>;
                         }) {
        return object.description();
    } else {
        QString text;
        QDebug(&text).noquote().nospace() << object;
        return text;
    }
}

template <typename T>
concept JsonEncodable = std::is_constructible_v<nlohmann::ordered_json, const T&>;

template <typename T>
concept JsonDecodable = requires(const nlohmann::ordered_json& json)
{
    json.get<T>();
};

// A node of a tree of values. Nodes are shared: a parent owns its children,
// and a child refers back to its parent without owning it, so that dropping
// the root frees the whole tree.
template <typename T>
class TreeItem : public std::enable_shared_from_this<TreeItem<T>> {
    struct Token {};

public:
    using Pointer = std::shared_ptr<TreeItem>;

    // Decoded trees deeper than this are refused rather than risk the stack.
    static constexpr int maximumDecodingDepth = 1000;

    TreeItem(Token, T object)
        : m_object(std::move(object))
    {
    }

    // A root: no parent, no children.
    static Pointer make(T object) { return std::make_shared<TreeItem>(Token{}, std::move(object)); }

    const T& object() const { return m_object; }
    void setObject(T object) { m_object = std::move(object); }
    Pointer parent() const { return m_parent.lock(); }
    const std::vector<Pointer>& children() const { return m_children; }

    // The number of ancestors: 0 at the root.
    int level() const
    {
        int count = 0;
        for (Pointer node = parent(); node; node = node->parent())
            ++count;
        return count;
    }

    bool isLeaf() const { return m_children.empty(); }

    // Every node below this one, depth first: each child, then its own.
    std::vector<Pointer> descendants() const
    {
        std::vector<Pointer> result;
        collectDescendants(result);
        return result;
    }

    // The first descendant, depth first, whose object equals `object`; the
    // node itself is not searched.
    Pointer find(const T& object) const
    {
        for (const Pointer& child : m_children) {
            if (child->m_object == object)
                return child;
            if (Pointer found = child->find(object))
                return found;
        }
        return nullptr;
    }

    // Inserts `child` at `index` (appends when there is none or it is past
    // the end) and makes this node its parent, unless the two objects are
    // equal: such a child is added but keeps its parent. A node that would
    // close a cycle (this node or one of its ancestors) is refused: false.
    bool addChild(const Pointer& child, std::optional<std::size_t> index = std::nullopt)
    {
        if (!child || wouldCycle(*child))
            return false;
        if (!(child->m_object == m_object))
            child->m_parent = this->weak_from_this();
        const std::size_t position = std::min(index.value_or(m_children.size()), m_children.size());
        m_children.insert(m_children.begin() + static_cast<std::ptrdiff_t>(position), child);
        return true;
    }

    void addObjects(const std::vector<T>& objects)
    {
        for (const T& object : objects)
            addChild(make(object));
    }

    // Removes the first child equal to `node` (by object), if there is one.
    // The removed child no longer names this node as its parent.
    void removeChild(const TreeItem& node)
    {
        const auto found = std::find_if(m_children.begin(), m_children.end(),
                                        [&](const Pointer& child) { return *child == node; });
        if (found == m_children.end())
            return;
        if ((*found)->parent().get() == this)
            (*found)->m_parent.reset();
        m_children.erase(found);
    }

    QString description() const
    {
        return QStringLiteral("<TreeItem %1 %2>").arg(treeItemText(m_object)).arg(level());
    }

    friend bool operator==(const TreeItem& a, const TreeItem& b)
    {
        return a.m_object == b.m_object;
    }
    friend bool operator<(const TreeItem& a, const TreeItem& b) { return a.m_object < b.m_object; }
    friend bool operator>(const TreeItem& a, const TreeItem& b) { return b < a; }
    friend bool operator<=(const TreeItem& a, const TreeItem& b) { return !(b < a); }
    friend bool operator>=(const TreeItem& a, const TreeItem& b) { return !(a < b); }

    // {"object": ..., "children": [...]}; the parent is implied by nesting.
    nlohmann::ordered_json toJson() const requires JsonEncodable<T>
    {
        nlohmann::ordered_json children = nlohmann::ordered_json::array();
        for (const Pointer& child : m_children)
            children.push_back(child->toJson());
        nlohmann::ordered_json json = nlohmann::ordered_json::object();
        json["object"] = m_object;
        json["children"] = std::move(children);
        return json;
    }

    static std::expected<Pointer, Error>
    fromJson(const nlohmann::ordered_json& json) requires JsonDecodable<T>
    {
        return decode(json, QStringLiteral("the root"), 0);
    }

private:
    void collectDescendants(std::vector<Pointer>& result) const
    {
        for (const Pointer& child : m_children) {
            result.push_back(child);
            child->collectDescendants(result);
        }
    }

    bool wouldCycle(const TreeItem& candidate) const
    {
        if (&candidate == this)
            return true;
        for (Pointer node = parent(); node; node = node->parent()) {
            if (node.get() == &candidate)
                return true;
        }
        return false;
    }

    static Error decodingError(const QString& where, const QString& reason)
    {
        Error error;
        error.domain = QStringLiteral("qb.TreeItem");
        error.code = 1;
        error.errorDescription = QStringLiteral("The tree could not be read.");
        error.failureReason = QStringLiteral("At %1: %2").arg(where, reason);
        return error;
    }

    static std::expected<Pointer, Error> decode(const nlohmann::ordered_json& json,
                                                const QString& where, int depth)
    {
        if (depth > maximumDecodingDepth)
            return std::unexpected(decodingError(where, QStringLiteral("the tree is too deep.")));
        if (!json.is_object())
            return std::unexpected(decodingError(where, QStringLiteral("expected an object.")));
        if (!json.contains("object"))
            return std::unexpected(
                decodingError(where, QStringLiteral("the key “object” is missing.")));
        if (!json.contains("children"))
            return std::unexpected(
                decodingError(where, QStringLiteral("the key “children” is missing.")));
        const nlohmann::ordered_json& children = json["children"];
        if (!children.is_array())
            return std::unexpected(
                decodingError(where, QStringLiteral("“children” is not a list.")));
        Pointer node;
        try {
            node = make(json["object"].get<T>());
        } catch (const nlohmann::ordered_json::exception& failure) {
            return std::unexpected(decodingError(where, QString::fromUtf8(failure.what())));
        }
        for (std::size_t i = 0; i < children.size(); ++i) {
            const QString childPlace = QStringLiteral("%1 > child %2").arg(where).arg(i);
            auto child = decode(children[i], childPlace, depth + 1);
            if (!child)
                return std::unexpected(child.error());
            // Nesting is the parent relation, whatever the objects compare as.
            (*child)->m_parent = node;
            node->m_children.push_back(std::move(*child));
        }
        return node;
    }

    T m_object;
    std::weak_ptr<TreeItem> m_parent;
    std::vector<Pointer> m_children;
};

} // namespace qb
