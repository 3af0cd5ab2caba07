// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/filenamedatasource.h"
#include "sources/matchfindings.h"

#include <gtest/gtest.h>

#include <random>

using namespace qb;
using Style = FileNameDataSource::MatchingStyle;

namespace {

QUrl image(const QString& path)
{
    return QUrl::fromLocalFile(path);
}

TEST(MatchingStyles, KeyIsLookedForInTheName)
{
    const struct {
        Style style;
        const char* key;
        const char* path;
        bool matches;
    } cases[] = {
        {Style::prefix, "A12", "/s/A12_1.jpg", true},
        {Style::prefix, "a12", "/s/A12_1.jpg", false},
        {Style::prefix, "", "/s/anything.jpg", true},
        {Style::prefix, "s", "/s/A12.jpg", false}, // folders play no part
        {Style::equals, "A12", "/s/A12.jpg", true},
        {Style::equals, "A12.jpg", "/s/A12.jpg", false},
        {Style::equals, "A12_0034.final", "/s/A12_0034.final.CR3", true},
        {Style::equals, "Caf\u00e9", "/s/Cafe\u0301.jpg", true}, // canonical equivalence
        {Style::equals, "cafe", "/s/Caf\u00e9.jpg", false},
        {Style::contains, "12_", "/s/A12_1.jpg", true},
        {Style::contains, "A12_1", "/s/A12.jpg", false}, // never the other way round
        {Style::suffix, "_1", "/s/A12_1.jpg", true},
        {Style::suffix, "jpg", "/s/A12_1.jpg", false},
        {Style::regex, "^A1[0-9]$", "/s/A12.jpg", true},
        {Style::regex, "^A1[0-9]$", "/s/A123.jpg", false},
        {Style::regex, "1[0-9]", "/s/xA12y.jpg", true}, // unanchored
        {Style::regex, "[", "/s/A12.jpg", false},
        {Style::regex, "\\.final$", "/s/A.final.CR3", true},
        {Style::equals, "folder", "/s/folder/", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.key) + " in " + c.path);
        FileNameDataSource source(MetadataTable{});
        source.setMatchingStyle(c.style);
        EXPECT_EQ(
            source.imageMatchesKey(image(QString::fromUtf8(c.path)), QString::fromUtf8(c.key)),
            c.matches);
    }
}

TEST(MatchingStyles, AccentsComposedOrNotMatchAlikeUnderEveryStyle)
{
    const QString composed = QStringLiteral("Caf\u00e9");
    const QString decomposed = composed.normalized(QString::NormalizationForm_D);
    const struct {
        Style style;
        const char* key; // holding the name where "%" stands
    } cases[] = {{Style::contains, "x%"},
                 {Style::equals, "x%"},
                 {Style::prefix, "x%"},
                 {Style::regex, "^x%$"},
                 {Style::suffix, "%"}};
    for (const auto& c : cases) {
        for (const QString& keyForm : {composed, decomposed}) {
            for (const QString& nameForm : {composed, decomposed}) {
                const QString key = QString::fromLatin1(c.key).replace('%', keyForm);
                const QUrl url = image("/s/x" + nameForm + ".jpg");
                SCOPED_TRACE(::testing::Message()
                             << "style " << int(c.style) << ", key "
                             << (keyForm == composed ? "composed" : "decomposed") << ", name "
                             << (nameForm == composed ? "composed" : "decomposed"));
                FileNameDataSource source(MetadataTable{{key, {{"field", "row"}}}});
                source.setMatchingStyle(c.style);
                EXPECT_TRUE(source.imageMatchesKey(url, key));
                EXPECT_EQ(source.metadataForImages({url}).front().size(), 1u); // the indexed way
            }
        }
    }
}

TEST(MatchingStyles, RawValuesAreStableAndAChangeTakesEffectAtOnce)
{
    EXPECT_EQ(matchingStyleFromRawValue(0), Style::contains);
    EXPECT_EQ(matchingStyleFromRawValue(4), Style::suffix);
    EXPECT_EQ(matchingStyleFromRawValue(5), Style::path);
    EXPECT_FALSE(matchingStyleFromRawValue(6).has_value());

    FileNameDataSource source({{"12", {{"f", "v"}}}});
    EXPECT_EQ(source.matchingStyle(), Style::prefix);
    const QUrl url = image("/s/A12.jpg");
    EXPECT_TRUE(source.metadataForImage(url).empty());
    source.setMatchingStyle(Style::contains);
    EXPECT_FALSE(source.metadataForImages({url}).front().empty());
}

TEST(MergeRule, FirstNonEmptyValueWinsAndNothingIsErased)
{
    // Under prefix, both A1 and A12 match A12_1; the keys' order in the table
    // puts A1 first.
    FileNameDataSource source({
        {"A1",
         {{"title", ""},
          {"city", "Oslo"},
          {"rating", 0},
          {"flag", false},
          {"tags", DynamicValue::List{}}}},
        {"A12",
         {{"title", "Fjord"},
          {"city", "Bergen"},
          {"rating", 5},
          {"flag", true},
          {"tags", "x"},
          {"new", ""}}},
        {"B", {{"title", "Other"}}},
    });
    const MetadataRow row = source.metadataForImage(image("/s/A12_1.jpg"));
    const MetadataRow expected = {{"title", "Fjord"}, {"city", "Oslo"}, {"rating", 0},
                                  {"flag", false},    {"tags", "x"},    {"new", ""}};
    EXPECT_EQ(row, expected);
}

TEST(FileNameDataSourceQueries, KeysNamesAndImagesByKey)
{
    FileNameDataSource source({
        {"b", {{"c", "1"}, {"b", "2"}}},
        {"a", {{"a", "3"}, {"b", "4"}}},
        {"Z", {}},
        {"ab", {}},
    });
    EXPECT_EQ(source.keyNames(), QStringList({"a", "b", "c"}));
    EXPECT_EQ(source.keys(), QStringList({"Z", "a", "ab", "b"}));

    const QList<QUrl> urls = {image("/x/ab1.jpg"), image("/x/b.jpg"), image("/x/q.jpg"),
                              image("/y/a.png")};
    const auto byKey = source.imagesByKey(urls);
    ASSERT_EQ(byKey.size(), 4u);
    EXPECT_EQ(byKey.at("a"), QList<QUrl>({urls[0], urls[3]}));
    EXPECT_EQ(byKey.at("ab"), QList<QUrl>({urls[0]}));
    EXPECT_EQ(byKey.at("b"), QList<QUrl>({urls[1]}));
    EXPECT_TRUE(byKey.at("Z").isEmpty());

    // A key whose row has no fields still matches, with an empty row.
    EXPECT_TRUE(source.metadataForImage(image("/x/Z.jpg")).empty());
    EXPECT_EQ(source.imagesMatchingKey("Z", {image("/x/Z.jpg")}).size(), 1);
}

// The indexed lookup must give exactly what the plain walk of the whole
// table gives, for every style, on tables and names built to collide.
TEST(FileNameDataSourceQueries, IndexedLookupEqualsThePlainWalk)
{
    std::mt19937 random(20261122);
    const QString alphabet = QStringLiteral("ab1_.\u00e9e\u0301[^$*");
    auto randomText = [&](int maxLength) {
        QString text;
        const int length = std::uniform_int_distribution<int>(0, maxLength)(random);
        for (int i = 0; i < length; ++i)
            text += alphabet[std::uniform_int_distribution<int>(0, alphabet.size() - 1)(random)];
        return text;
    };
    for (int round = 0; round < 40; ++round) {
        MetadataTable table;
        const int rows = std::uniform_int_distribution<int>(0, 30)(random);
        for (int r = 0; r < rows; ++r) {
            MetadataRow row;
            for (const char* field : {"f1", "f2", "f3"}) {
                if (random() % 3)
                    row[field] = random() % 4 ? DynamicValue(randomText(2))
                                              : DynamicValue(int(random() % 3));
            }
            table[randomText(3)] = row;
        }
        QList<QUrl> urls;
        for (int i = 0; i < 60; ++i)
            urls << image(QStringLiteral("/d/") + randomText(6) + QStringLiteral(".jpg"));

        for (Style style : allMatchingStyles) {
            SCOPED_TRACE(::testing::Message() << "round " << round << " style " << int(style));
            FileNameDataSource source(table);
            source.setMatchingStyle(style);
            const std::vector<MetadataRow> indexed = source.metadataForImages(urls);
            const auto byKey = source.imagesByKey(urls);
            for (qsizetype i = 0; i < urls.size(); ++i)
                ASSERT_EQ(indexed[i], source.metadataForImage(urls[i]))
                    << urls[i].path().toStdString();
            // A handful of images takes the walk over the keys instead.
            const std::vector<MetadataRow> few = source.metadataForImages(urls.mid(0, 3));
            for (qsizetype i = 0; i < 3; ++i)
                ASSERT_EQ(few[std::size_t(i)], indexed[std::size_t(i)]);
            for (const auto& [key, row] : table)
                ASSERT_EQ(byKey.at(key), source.imagesMatchingKey(key, urls)) << key.toStdString();
        }
    }
}

TEST(MatchFindings, TellWhatTiesRowsToImagesOddlyWithASummaryBeyondAHandful)
{
    QList<QUrl> many;
    for (int i = 1; i <= 7; ++i)
        many << image(QStringLiteral("/s/S12_%1.jpg").arg(i));
    const QString job = QStringLiteral("XMP-photoshop:TransmissionReference");
    const struct {
        const char* name;
        Style style;
        std::optional<QString> keyTag;
        QStringList keys;
        QList<QUrl> images;
        QStringList lines;
    } cases[] = {
        {"overlapping keys",
         Style::prefix,
         std::nullopt,
         {"S12", "S1", "T"},
         {image("/s/S12_0001.jpg"), image("/s/S1_2.jpg")},
         {"S12_0001.jpg matched 2 rows: S1, S12"}},
        {"one row each",
         Style::equals,
         std::nullopt,
         {"S12_0001", "S1"},
         {image("/s/S12_0001.jpg"), image("/s/S1.jpg")},
         {}},
        {"empty key",
         Style::suffix,
         std::nullopt,
         {"", "1"},
         {image("/s/A1.jpg"), image("/s/B2.jpg")},
         {"A row with an empty key matches every image under \u201cends with\u201d: its values go "
          "to every image, also to those without a row of their own."}},
        {"empty key matching nothing",
         Style::equals,
         std::nullopt,
         {"", "A1"},
         {image("/s/A1.jpg")},
         {}},
        {"more than a handful",
         Style::contains,
         std::nullopt,
         {"S", "S12"},
         many,
         {"S12_1.jpg matched 2 rows: S, S12", "S12_2.jpg matched 2 rows: S, S12",
          "S12_3.jpg matched 2 rows: S, S12", "S12_4.jpg matched 2 rows: S, S12",
          "S12_5.jpg matched 2 rows: S, S12",
          "\u2026 and 2 more images matched more than one row."}},
        {"path keys naming no image",
         Style::path,
         std::nullopt,
         {"a.jpg", "gone.jpg", "/elsewhere/b.jpg", ""},
         {image("/data/a.jpg"), image("/data/b.jpg")},
         {"The key \u201c\u201d names no image given: its row is not used.",
          "The key \u201c/elsewhere/b.jpg\u201d names no image given: its row is not used.",
          "The key \u201cgone.jpg\u201d names no image given: its row is not used."}},
        {"path keys without images",
         Style::path,
         std::nullopt,
         {"a.jpg"},
         {},
         {"The key \u201ca.jpg\u201d names no image given: its row is not used."}},
        {"images without the key tag",
         Style::prefix,
         job,
         {"J1"},
         many,
         {"S12_1.jpg has no " + job + ", so no row matches it.",
          "S12_2.jpg has no " + job + ", so no row matches it.",
          "S12_3.jpg has no " + job + ", so no row matches it.",
          "S12_4.jpg has no " + job + ", so no row matches it.",
          "S12_5.jpg has no " + job + ", so no row matches it.",
          "\u2026 and 2 more images have no " + job + "."}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        MetadataTable table;
        for (const QString& key : c.keys)
            table[key] = {{"Title", DynamicValue(key)}};
        FileNameDataSource source(table);
        source.setMatchingStyle(c.style);
        source.setKeyFolder("/data");
        source.setKeyTag(c.keyTag);
        // An image is without the tag once it was read; before, it is waited for.
        if (c.keyTag) {
            EXPECT_TRUE(MatchFindings::find(source, c.images).isEmpty());
        }
        source.addTagKeys(c.images, {});
        const MatchFindings findings = MatchFindings::find(source, c.images);
        EXPECT_EQ(findings.lines(), c.lines);
        EXPECT_EQ(findings.isEmpty(), c.lines.isEmpty());
    }
}

// The keys of the rows an image matches, through the single comparison and
// through the index, which must agree.
QStringList matchedKeys(const FileNameDataSource& source, const QUrl& url)
{
    QStringList walked;
    for (const QString& key : source.keys()) {
        if (source.imageMatchesKey(url, key))
            walked << key;
    }
    QStringList indexed;
    const auto one = source.matchingRows({url});
    for (const qsizetype position : one.front())
        indexed << source.rows().key(position).toString();
    EXPECT_EQ(walked, indexed);
    // Past a handful of images the index of the keys is used.
    const QList<QUrl> many(12, url);
    QStringList manyIndexed;
    const auto all = source.matchingRows(many);
    for (const qsizetype position : all.back())
        manyIndexed << source.rows().key(position).toString();
    EXPECT_EQ(manyIndexed, indexed);
    return indexed;
}

TEST(MatchingStyles, APathKeyNamesOneFileFromTheDataFilesFolderOrFromTheRoot)
{
    const struct {
        const char* key;
        const char* matches; // the image's path, or nothing
    } cases[] = {
        {"photos/a.jpg", "/data/job/photos/a.jpg"},
        {"./photos/../photos/a.jpg", "/data/job/photos/a.jpg"},
        {"/data/job/photos/a.jpg", "/data/job/photos/a.jpg"},
        {"/data/job/photos//a.jpg", "/data/job/photos/a.jpg"},
        {"../other/c.jpg", "/data/other/c.jpg"},
        {"/shoots/Cafe\u0301.jpg", "/shoots/Caf\u00e9.jpg"}, // canonical equivalence
        {"photos/b.JPG", "/data/job/photos/b.JPG"},
        {"photos/A.jpg", nullptr}, // no folding of case
        {"photos/a", nullptr},     // the extension is part of a path
        {"a.jpg", nullptr},        // nor is a name a path
        {"photos/a.jpg ", nullptr},
        {"", nullptr},
    };
    const QList<QUrl> images = {image("/data/job/photos/a.jpg"), image("/data/job/photos/b.JPG"),
                                image("/data/other/c.jpg"), image("/shoots/Caf\u00e9.jpg")};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.key);
        const QString key = QString::fromUtf8(c.key);
        FileNameDataSource source(MetadataTable{{key, {{"Title", DynamicValue(key)}}}});
        source.setMatchingStyle(Style::path);
        source.setKeyFolder("/data/job");
        for (const QUrl& url : images) {
            const bool expected = c.matches && url == image(QString::fromUtf8(c.matches));
            EXPECT_EQ(matchedKeys(source, url), expected ? QStringList{key} : QStringList{})
                << url.path().toStdString();
        }
    }
}

TEST(MatchingStyles, ATagsValueStandsForTheNameUnderEveryStyle)
{
    const MetadataTable table = {{"SN-1", {{"Credit", DynamicValue("one")}}},
                                 {"SN-100", {{"Credit", DynamicValue("hundred")}}},
                                 {"^SN-2$", {{"Credit", DynamicValue("pattern")}}}};
    // Named like a key, so that a match by name would show.
    const QUrl hundred = image("/s/SN-1.jpg");
    const QUrl two = image("/s/x.jpg");
    const QUrl untagged = image("/s/SN-100.jpg");
    const struct {
        Style style;
        QStringList hundred;
        QStringList two;
    } cases[] = {
        {Style::equals, {"SN-100"}, {}},
        {Style::prefix, {"SN-1", "SN-100"}, {}},
        {Style::contains, {"SN-1", "SN-100"}, {}},
        {Style::suffix, {"SN-100"}, {}},
        // Every key is a pattern here, and "SN-1" is found in "SN-100".
        {Style::regex, {"SN-1", "SN-100"}, {"^SN-2$"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(int(c.style));
        FileNameDataSource source(table);
        source.setMatchingStyle(c.style);
        source.setKeyTag("EXIF:SerialNumber");
        source.addTagKeys({hundred, two, untagged}, {{hundred, "SN-100"}, {two, "SN-2"}});
        EXPECT_EQ(matchedKeys(source, hundred), c.hundred);
        EXPECT_EQ(matchedKeys(source, two), c.two);
        EXPECT_EQ(matchedKeys(source, untagged), QStringList());
        EXPECT_TRUE(source.metadataForImage(untagged).empty());
        // A new tag forgets the values of the old one.
        source.setKeyTag("IPTC:ObjectName");
        EXPECT_EQ(matchedKeys(source, hundred), QStringList());
    }
}

TEST(MatchingStyles, EachImagesTagIsReadOnceUntilTheTagChanges)
{
    FileNameDataSource source(MetadataTable{{"SN-100", {{"Credit", DynamicValue("hundred")}}}});
    const QUrl a = image("/s/a.jpg");
    const QUrl b = image("/s/b.jpg");
    const QUrl untagged = image("/s/c.jpg");
    EXPECT_TRUE(source.imagesToReadKeysOf({a}).isEmpty()); // keyed by name
    source.setKeyTag("EXIF:SerialNumber");
    EXPECT_EQ(source.imagesToReadKeysOf({a, b, a}), QList<QUrl>({a, b}));
    source.addTagKeys({a, untagged}, {{a, "SN-100"}});
    EXPECT_EQ(source.imagesToReadKeysOf({a, b, untagged}), QList<QUrl>({b}));
    EXPECT_EQ(matchedKeys(source, a), QStringList({"SN-100"}));
    // Read again, an image that lost its tag matches nothing.
    source.addTagKeys({a}, {});
    EXPECT_EQ(matchedKeys(source, a), QStringList());
    source.setMatchingStyle(Style::path);
    EXPECT_TRUE(source.imagesToReadKeysOf({b}).isEmpty());
    source.setMatchingStyle(Style::equals);
    source.setKeyTag("IPTC:ObjectName");
    EXPECT_EQ(source.imagesToReadKeysOf({a, untagged}), QList<QUrl>({a, untagged}));
}

} // namespace
