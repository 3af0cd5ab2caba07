// SPDX-License-Identifier: GPL-3.0-or-later
#include "extensions/treeitem.h"

#include <gtest/gtest.h>

namespace {

using Item = qb::TreeItem<std::string>;

std::vector<std::string> objectsOf(const std::vector<Item::Pointer>& nodes)
{
    std::vector<std::string> objects;
    for (const auto& node : nodes)
        objects.push_back(node->object());
    return objects;
}

// root > (a > (a1, x), b > (x))
Item::Pointer sampleTree()
{
    auto root = Item::make("root");
    auto a = Item::make("a");
    auto b = Item::make("b");
    root->addChild(a);
    root->addChild(b);
    a->addObjects({"a1", "x"});
    b->addObjects({"x"});
    return root;
}

TEST(TreeItem, LevelsAndDescendantsDepthFirst)
{
    const auto root = sampleTree();
    EXPECT_EQ(root->level(), 0);
    EXPECT_EQ(root->children()[0]->level(), 1);
    EXPECT_EQ(root->children()[0]->children()[1]->level(), 2);
    EXPECT_EQ(objectsOf(root->descendants()), (std::vector<std::string>{"a", "a1", "x", "b", "x"}));
    EXPECT_FALSE(root->isLeaf());
    EXPECT_TRUE(root->children()[1]->children()[0]->isLeaf());
    EXPECT_EQ(root->children()[0]->children()[1]->description(), "<TreeItem x 2>");
}

TEST(TreeItem, FindSearchesDescendantsOnly)
{
    const auto root = sampleTree();
    const auto x = root->find("x");
    ASSERT_TRUE(x);
    EXPECT_EQ(x->parent()->object(), "a"); // the first in depth-first order
    EXPECT_EQ(root->find("root"), nullptr);
    EXPECT_EQ(x->find("x"), nullptr); // a leaf finds nothing
}

TEST(TreeItem, AddChildAtIndex)
{
    auto root = Item::make("root");
    root->addObjects({"b", "c"});
    root->addChild(Item::make("a"), 0);
    root->addChild(Item::make("z"), 99);
    root->addChild(Item::make("m"), 2);
    EXPECT_EQ(objectsOf(root->children()), (std::vector<std::string>{"a", "b", "m", "c", "z"}));
}

TEST(TreeItem, ChildWithAnEqualObjectKeepsNoParent)
{
    auto root = Item::make("same");
    auto child = Item::make("same");
    root->addChild(child);
    EXPECT_EQ(root->children().size(), 1u);
    EXPECT_EQ(child->parent(), nullptr);
    EXPECT_EQ(child->level(), 0);
}

TEST(TreeItem, CyclesAreRefused)
{
    const auto root = sampleTree();
    const auto a1 = root->find("a1");
    EXPECT_FALSE(a1->addChild(root));
    EXPECT_FALSE(a1->addChild(a1));
    EXPECT_TRUE(a1->isLeaf());
}

TEST(TreeItem, RemoveChildRemovesTheFirstEqualOnly)
{
    auto root = Item::make("root");
    root->addObjects({"a", "b", "a"});
    const auto first = root->children()[0];
    root->removeChild(*Item::make("a"));
    EXPECT_EQ(objectsOf(root->children()), (std::vector<std::string>{"b", "a"}));
    EXPECT_EQ(first->parent(), nullptr);
    root->removeChild(*Item::make("none"));
    EXPECT_EQ(root->children().size(), 2u);
}

TEST(TreeItem, ParentDoesNotKeepTheTreeAlive)
{
    std::weak_ptr<Item> watched;
    Item::Pointer child;
    {
        const auto root = sampleTree();
        watched = root;
        child = root->children()[0];
    }
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(child->parent(), nullptr);
    EXPECT_EQ(child->level(), 0);
}

TEST(TreeItem, OrderFollowsObjects)
{
    EXPECT_TRUE(*Item::make("a") < *Item::make("b"));
    EXPECT_TRUE(*Item::make("a") == *Item::make("a"));
    EXPECT_FALSE(*Item::make("b") <= *Item::make("a"));
}

TEST(TreeItem, JsonRoundTrip)
{
    const auto root = sampleTree();
    const nlohmann::ordered_json json = root->toJson();
    EXPECT_EQ(json.dump(), R"({"object":"root","children":[{"object":"a","children":[)"
                           R"({"object":"a1","children":[]},{"object":"x","children":[]}]},)"
                           R"({"object":"b","children":[{"object":"x","children":[]}]}]})");
    const auto decoded = Item::fromJson(json);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(objectsOf((*decoded)->descendants()), objectsOf(root->descendants()));
    EXPECT_EQ((*decoded)->find("a1")->level(), 2);
    EXPECT_EQ((*decoded)->toJson(), json);
}

TEST(TreeItem, JsonDecodingFailures)
{
    using Json = nlohmann::ordered_json;
    const Json cases[] = {
        Json::parse(R"({"object":"a"})"),
        Json::parse(R"({"children":[]})"),
        Json::parse(R"({"object":1,"children":[]})"),
        Json::parse(R"({"object":"a","children":{}})"),
        Json::parse(R"({"object":"a","children":[{"object":"b"}]})"),
        Json::parse(R"([1])"),
    };
    for (const Json& json : cases) {
        SCOPED_TRACE(json.dump());
        const auto decoded = Item::fromJson(json);
        ASSERT_FALSE(decoded.has_value());
        EXPECT_FALSE(decoded.error().failureReason.isEmpty());
    }

    Json deep = Json::parse(R"({"object":"leaf","children":[]})");
    for (int i = 0; i < Item::maximumDecodingDepth + 5; ++i)
        deep = Json{{"object", "n"}, {"children", Json::array({deep})}};
    EXPECT_FALSE(Item::fromJson(deep).has_value());
}

TEST(TreeItem, DescriptionOfNumbers)
{
    auto root = qb::TreeItem<int>::make(7);
    root->addObjects({8});
    EXPECT_EQ(root->children()[0]->description(), "<TreeItem 8 1>");
}

} // namespace
