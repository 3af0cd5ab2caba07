// SPDX-License-Identifier: GPL-3.0-or-later
#include "documents/mappingsdoc.h"

#include "documenttesthelpers.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>

using namespace qb;
using qb::test::LogCapture;

namespace {

TEST(EditingState, TwoTogglesAndTwoUndosEndWhereTheyStarted)
{
    MappingsDoc document;
    std::vector<bool> seen;
    QObject::connect(&document, &MappingsDoc::isEditableChanged,
                     [&](bool editable) { seen.push_back(editable); });
    LogCapture log;

    document.toggleIsEditable();
    document.toggleIsEditable();
    EXPECT_TRUE(document.isEditable());
    EXPECT_EQ(document.undoStack().count(), 2);
    document.undoStack().undo();
    EXPECT_FALSE(document.isEditable());
    document.undoStack().undo();
    EXPECT_TRUE(document.isEditable());
    EXPECT_FALSE(document.isDocumentEdited());
    document.undoStack().redo();
    EXPECT_FALSE(document.isEditable());

    EXPECT_EQ(seen, (std::vector<bool>{false, true, false, true, false}));
    EXPECT_EQ(log.lines(), QStringList(5, "Toggling editable and registering undo"));
    // No action name is registered, so menus read plain Undo and Redo.
    EXPECT_EQ(document.undoStack().undoText(), QString());
}

TEST(EditingState, OneUndoPutsTheWholeRowListBack)
{
    MappingsDoc document;
    int changes = 0;
    QObject::connect(&document, &MappingsDoc::currentCriteriaRowsChanged, [&] { ++changes; });
    std::vector<bool> edited;
    QObject::connect(&document, &MappingsDoc::documentEditedChanged,
                     [&](bool value) { edited.push_back(value); });
    const std::vector<MetadataMapping> full = qb::test::sampleRows();
    const std::vector<MetadataMapping> fewer(full.begin(), full.begin() + 1);
    LogCapture log;

    document.setCriteria(full);
    document.setCriteria(fewer); // a row removed in the editor
    EXPECT_EQ(document.currentCriteriaRows(), fewer);
    document.undoStack().undo();
    EXPECT_EQ(document.currentCriteriaRows(), full);
    document.undoStack().undo();
    EXPECT_TRUE(document.currentCriteriaRows().empty());
    document.undoStack().redo();
    document.undoStack().redo();
    EXPECT_EQ(document.currentCriteriaRows(), fewer);

    EXPECT_EQ(changes, 6);
    EXPECT_EQ(log.lines(), QStringList(6, "Setting document criteria and registering undo"));
    EXPECT_EQ(edited, (std::vector<bool>{true, false, true}));
}

TEST(EditingState, OnlyTheUsersChangeOfSettingsMarksTheDocumentUntilSaved)
{
    QTemporaryDir folder;
    MappingsDoc document;
    std::vector<bool> edited;
    QObject::connect(&document, &MappingsDoc::documentEditedChanged,
                     [&](bool value) { edited.push_back(value); });
    const auto settings = [](const char* json) {
        return FileWrapper::regularFile(json, "csv.json");
    };
    using Origin = MappingsDoc::ChangeOrigin;
    const struct {
        const char* what;
        std::function<void()> change;
        bool marks;
    } steps[] = {
        {"the window sets up its panel", [&] { document.setDatasourceWrapper(settings("{}")); },
         false},
        {"the window names its panel", [&] { document.setDatasource("imagesource"); }, false},
        {"the user stores the same settings",
         [&] { document.setDatasourceWrapper(settings("{}"), Origin::user); }, false},
        {"the user changes the settings",
         [&] { document.setDatasourceWrapper(settings("{\"a\": 1}"), Origin::user); }, true},
        {"the user switches the panel", [&] { document.setDatasource("csvsource", Origin::user); },
         true},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.what);
        step.change();
        EXPECT_EQ(document.isDocumentEdited(), step.marks);
        EXPECT_EQ(document.undoStack().count(), 0) << "settings aren't undone";
        ASSERT_TRUE(document.saveAs(folder.filePath("doc")).has_value());
        EXPECT_FALSE(document.isDocumentEdited());
    }
    // A rows change and an undo of it leave the settings' mark alone.
    document.setDatasourceWrapper(settings("{\"a\": 2}"), Origin::user);
    document.setCriteria(qb::test::sampleRows());
    document.undoStack().undo();
    EXPECT_TRUE(document.isDocumentEdited());
    EXPECT_EQ(edited, (std::vector<bool>{true, false, true, false, true}));
}

TEST(EditingState, ReadingMakesNoUndoStepsAndBlocksToggling)
{
    MappingsDoc document;
    const FileWrapper package = FileWrapper::directory(
        {{"mapping.json", FileWrapper::regularFile(R"({"version": 2, "mappings": [], )"
                                                   R"("isEditable": false})")}});
    ASSERT_TRUE(document.readFromFileWrapper(package, "t").has_value());
    EXPECT_FALSE(document.isReading());
    EXPECT_FALSE(document.isEditable());
    EXPECT_EQ(document.undoStack().count(), 0);

    // A read that fails stays "reading"; such a document is only thrown away.
    ASSERT_FALSE(document.readFromFileWrapper(FileWrapper::directory(), "t").has_value());
    ASSERT_TRUE(document.isReading());
    document.toggleIsEditable();
    EXPECT_FALSE(document.isEditable());
    EXPECT_EQ(document.undoStack().count(), 0);
}

} // namespace
