// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/imageplan.h"

#include <gtest/gtest.h>

using namespace qb;

namespace {

MetadataMapping rule(const QString& column, const QString& tag)
{
    return MetadataMapping(column, tag, nullptr);
}

std::shared_ptr<const FileNameDataSource> source(MetadataTable table,
                                                 MatchingStyle style = MatchingStyle::prefix)
{
    auto made = std::make_shared<FileNameDataSource>(std::move(table));
    made->setMatchingStyle(style);
    return made;
}

std::vector<ImagePlanEntry> plan(ImagePlanInputs inputs)
{
    std::vector<ImagePlanEntry> entries(std::size_t(inputs.images.size()));
    const std::atomic_bool cancelled = false;
    planImages(
        inputs, 2,
        [&](qsizetype first, std::vector<ImagePlanEntry> batch) {
            std::ranges::move(batch, entries.begin() + first);
        },
        cancelled);
    return entries;
}

struct PlanCase {
    const char* name;
    const char* file;
    MatchingStyle style = MatchingStyle::prefix;
    int method = 0;
    EmptyCells emptyCells = EmptyCells::keep;
    bool withEmptyKey = false;
    ImagePlanEntry expected;
};

TEST(ImagePlan, EachImageGetsTheStateOfWhatTheWriteWouldDo)
{
    using enum ImageState;
    const PlanCase cases[] = {
        {"one row", "A1_0001.jpg", {}, 0, {}, false, {willBeWritten, {"A1"}, 2, {}}},
        {"a key that begins the other",
         "A10_0001.jpg",
         {},
         0,
         {},
         false,
         {severalRows, {"A1", "A10"}, 2, {}}},
        {"equal keeps them apart",
         "A10.jpg",
         MatchingStyle::equals,
         0,
         {},
         false,
         {willBeWritten, {"A10"}, 1, {}}},
        {"no row", "C3_0001.jpg", {}, 0, {}, false, {noRow, {}, 0, {}}},
        {"a type the direct method can't write",
         "A1_0002.txt",
         {},
         0,
         {},
         false,
         {cannotBeWritten, {}, 0, {}}},
        {"sidecars take any type", "A1_0002.txt", {}, 1, {}, false, {willBeWritten, {"A1"}, 2, {}}},
        {"another program writes it",
         "A1_busy.jpg",
         {},
         0,
         {},
         false,
         {stillBeingWritten, {}, 0, {}}},
        {"an empty cell is left alone",
         "B2_0001.jpg",
         {},
         0,
         {},
         false,
         {willBeWritten, {"B2"}, 0, {}}},
        {"an empty cell clears its tag",
         "B2_0001.jpg",
         {},
         0,
         EmptyCells::clear,
         false,
         {willBeWritten, {"B2"}, 1, {}}},
        {"only the empty key", "C3_0001.jpg", {}, 0, {}, true, {emptyKeyRow, {}, 1, {}}},
        {"the empty key beside a real one",
         "B2_0001.jpg",
         {},
         0,
         {},
         true,
         {willBeWritten, {"B2"}, 1, {}}},
    };
    for (const PlanCase& row : cases) {
        SCOPED_TRACE(row.name);
        MetadataTable table{{"A1", {{"Title", QString("Red")}, {"Keywords", QString("a")}}},
                            {"A10", {{"Title", QString("Blue")}}},
                            {"B2", {{"Title", QString(" ")}}}};
        if (row.withEmptyKey)
            table[""] = {{"Title", QString("Everyone")}};
        ImagePlanInputs inputs;
        inputs.images = {QUrl::fromLocalFile(QString("/shoot/") + row.file)};
        inputs.source = source(table, row.style);
        inputs.mappings = {rule("Title", "XMP:Title"), rule("Keywords", "XMP:Subject")};
        inputs.writeMethodValue = row.method;
        inputs.emptyCells = row.emptyCells;
        inputs.filesInUse = [](const QStringList& paths) {
            QSet<QString> busy;
            for (const QString& path : paths)
                if (path.contains("busy"))
                    busy.insert(path);
            return busy;
        };
        EXPECT_EQ(plan(inputs).front(), row.expected)
            << imageStateText(plan(inputs).front()).toStdString();
    }
}

TEST(ImagePlan, ComesInBatchesAndStopsWhenCancelled)
{
    ImagePlanInputs inputs;
    for (int i = 0; i < 5; ++i)
        inputs.images << QUrl::fromLocalFile(QString("/shoot/X%1.jpg").arg(i));
    inputs.filesInUse = [](const QStringList&) {
        return QSet<QString>();
    };
    std::atomic_bool cancelled = false;
    std::vector<qsizetype> firsts;
    planImages(
        inputs, 2,
        [&](qsizetype first, std::vector<ImagePlanEntry> batch) {
            firsts.push_back(first);
            EXPECT_EQ(batch.front().state, ImageState::noRow); // no data yet
            cancelled = first >= 2;
        },
        cancelled);
    EXPECT_EQ(firsts, (std::vector<qsizetype>{0, 2}));
}

TEST(ImagePlan, FiltersSortTheStates)
{
    using enum ImageState;
    struct Row {
        ImageState state;
        bool willBeWritten, problem, notYetWritten;
        bool flagged = false;
    };
    const Row rows[] = {
        {ImageState::willBeWritten, true, false, true},
        // A frame to check is written and shown among the problems too.
        {ImageState::willBeWritten, true, true, true, true},
        {card, false, false, true},
        {card, false, false, true, true},
        {unassigned, false, true, true},
        {noRow, false, true, true},
        {severalRows, false, true, true},
        {stillBeingWritten, false, true, true},
        {written, false, false, false},
        {unchanged, false, false, false},
        {failed, false, true, true},
        {unknown, false, false, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(imageStateText({row.state, {}, 0, {}}).toStdString() +
                     (row.flagged ? ", flagged" : ""));
        const auto matches = [&row](ImageFilter filter) {
            return stateMatchesFilter(row.state, filter, row.flagged);
        };
        EXPECT_TRUE(matches(ImageFilter::all));
        EXPECT_EQ(matches(ImageFilter::willBeWritten), row.willBeWritten);
        EXPECT_EQ(matches(ImageFilter::problems), row.problem);
        EXPECT_EQ(matches(ImageFilter::notYetWritten), row.notYetWritten);
    }
}

TEST(ImagePlan, CommonFolderIsTheDeepestSharedOne)
{
    const std::pair<QStringList, QString> rows[] = {
        {{"/a/b/x.jpg", "/a/b/y.jpg"}, "/a/b"},
        {{"/a/b/x.jpg", "/a/b/c/y.jpg"}, "/a/b"},
        {{"/a/bc/x.jpg", "/a/b/y.jpg"}, "/a"},
        {{"/a/x.jpg", "/z/y.jpg"}, "/"},
        {{}, ""},
    };
    for (const auto& [paths, folder] : rows) {
        SCOPED_TRACE(paths.join(' ').toStdString());
        EXPECT_EQ(commonFolder(paths), folder);
    }
}

} // namespace
