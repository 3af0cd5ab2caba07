// SPDX-License-Identifier: GPL-3.0-or-later
#include "../widgets/guiapplication.h"

#include "../support/capturedoutput.h"
#include "app/appinfo.h"
#include "app/generalpreferenceviewcontroller.h"
#include "app/preferenceswindow.h"
#include "app/updater.h"
#include "preferences/preferences.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QRadioButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace qb;

namespace {

const QString direct = "Use Exiftool to write metadata directly to the file.";
const QString xmp = "Use Exiftool to write metadata as XMP sidecar files.";
const QString captureOne = "Use AppleEvents to write metadata to the open Capture One document.";

class PreferencesWindowTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QStandardPaths::setTestModeEnabled(true);
        m_preferences.registerDefaults();
        m_output.printed.clear();
    }

    template <typename T>
    T* find(const char* name) const
    {
        T* widget = m_window.findChild<T*>(QString::fromLatin1(name));
        EXPECT_TRUE(widget) << name;
        return widget;
    }
    QString description() const { return find<QLabel>("writeMethodDescription")->text(); }

    qb::testing::GuiApplication m_app;
    QTemporaryDir m_dir;
    Preferences m_preferences{m_dir.filePath("Quillbrook.ini")};
    RecordingUpdater m_updater;
    AppInfo m_info{"Quillbrook", "42", "1.2", "org.quillbrook.Quillbrook"};
    PreferencesWindow m_window{m_preferences, &m_updater, m_info,
                               QUrl("https://updates.example.org/")};
    qb::testing::CapturedOutput m_output;
};

TEST_F(PreferencesWindowTest, ANewUserWritesDirectlyAndGetsBetasOnceUpdatesAreShown)
{
    m_window.showPreferences();
    EXPECT_EQ(m_window.currentPage(), 0);
    EXPECT_EQ(m_preferences.writeMethodValue(), 0);
    EXPECT_TRUE(find<QRadioButton>("writeMethodDirect")->isChecked());
    EXPECT_EQ(description(), direct);
    EXPECT_EQ(m_output.printed, QStringList{"Updating description"});
    EXPECT_TRUE(find<QCheckBox>("warnOnHeaderMismatch")->isChecked());
    EXPECT_FALSE(find<QCheckBox>("presentDialogueOnSuccess")->isChecked());
    EXPECT_TRUE(find<QCheckBox>("keepWriteJournal")->isChecked());
    EXPECT_TRUE(m_updater.feedURL().isEmpty()) << "the feed waits for the Updates page";

    const QString feed = "https://updates.example.org/applications/org.quillbrook.Quillbrook/";
    m_window.showPage(1);
    EXPECT_EQ(m_updater.feedURL(), QUrl(feed + "betas/appcast.xml"));
    find<QCheckBox>("includeBetaReleases")->click();
    EXPECT_FALSE(m_preferences.includeBetaReleases());
    EXPECT_EQ(m_updater.feedURL(), QUrl(feed + "releases/appcast.xml"));
    EXPECT_EQ(m_output.logged,
              QStringList({"Setting Sparkle feed to " + feed + "betas/appcast.xml",
                           "Setting Sparkle feed to " + feed + "releases/appcast.xml"}));

    // Closed, the window's pages stop following; reopened, it is on Updates.
    m_window.close();
    m_preferences.setIncludeBetaReleases(true);
    EXPECT_EQ(m_updater.feedURL(), QUrl(feed + "releases/appcast.xml"));
    m_window.showPreferences();
    EXPECT_EQ(m_window.currentPage(), 1);
    EXPECT_EQ(m_updater.feedURL(), QUrl(feed + "betas/appcast.xml"));
}

TEST_F(PreferencesWindowTest, TheDescriptionAndChoiceFollowTheStoredWriteMethodWhileShown)
{
    m_window.showPreferences();
    const struct {
        int value;
        QString text;
        const char* choice;
    } rows[] = {{2, captureOne, "writeMethodCaptureOne"},
                {1, xmp, "writeMethodXMP"},
                {5, xmp, "writeMethodXMP"},
                {0, direct, "writeMethodDirect"},
                {-1, xmp, "writeMethodXMP"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.value);
        m_preferences.setWriteMethodValue(row.value);
        EXPECT_EQ(description(), row.text);
        EXPECT_TRUE(find<QRadioButton>(row.choice)->isChecked());
    }
    EXPECT_EQ(m_output.printed.size(), 1 + int(std::size(rows)));

    m_window.showPage(1);
    m_preferences.setWriteMethodValue(2);
    EXPECT_EQ(m_output.printed.size(), 1 + int(std::size(rows))) << "no description while hidden";
    m_window.showPage(0);
    EXPECT_EQ(description(), captureOne);
}

TEST_F(PreferencesWindowTest, ControlsWriteThePreferences)
{
    m_window.showPreferences();
    find<QRadioButton>("writeMethodXMP")->click();
    EXPECT_EQ(m_preferences.writeMethodValue(), 1);
    EXPECT_EQ(description(), xmp);
    find<QCheckBox>("warnOnHeaderMismatch")->click();
    find<QCheckBox>("presentDialogueOnSuccess")->click();
    EXPECT_FALSE(m_preferences.warnOnHeaderMismatch());
    EXPECT_TRUE(m_preferences.presentDialogueOnSuccess());
}

// What a screen reader does: the control's own accessibility action.
void toggleAsAScreenReaderDoes(QWidget* control)
{
    QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(control);
    ASSERT_TRUE(accessible && accessible->actionInterface());
    const QString toggle = QAccessibleActionInterface::toggleAction();
    ASSERT_TRUE(accessible->actionInterface()->actionNames().contains(toggle));
    accessible->actionInterface()->doAction(toggle);
}

TEST_F(PreferencesWindowTest, EveryControlFollowsItsAccessibilityAction)
{
    m_window.showPreferences();
    auto* sidecarName = find<QComboBox>("sidecarNamePopUp");
    const struct {
        const char* control;
        int page;
        const char* setting; // the preference, by its property name
        QVariant after;
        QString description; // of the write method, when it is one
    } controls[] = {
        {"writeMethodXMP", 0, "writeMethodValue", 1, xmp},
        {"writeMethodCaptureOne", 0, "writeMethodValue", 2, captureOne},
        {"writeMethodDirect", 0, "writeMethodValue", 0, direct},
        {"keepWriteJournal", 0, "keepWriteJournal", false, {}},
        {"emptyCellsClear", 0, "emptyCellsClear", true, {}},
        {"warnOnHeaderMismatch", 0, "warnOnHeaderMismatch", false, {}},
        {"presentDialogueOnSuccess", 0, "presentDialogueOnSuccess", true, {}},
        {"includeBetaReleases", 1, "includeBetaReleases", false, {}},
    };
    for (const auto& c : controls) {
        SCOPED_TRACE(c.control);
        m_window.showPage(c.page);
        auto* button = find<QAbstractButton>(c.control);
        toggleAsAScreenReaderDoes(button);
        // A radio button is checked by its action; a check box flips.
        EXPECT_EQ(button->isChecked(), c.description.isEmpty() ? c.after.toBool() : true);
        EXPECT_EQ(m_preferences.property(c.setting), c.after);
        if (!c.description.isEmpty()) {
            EXPECT_EQ(description(), c.description);
            // The name of sidecars is only chosen for sidecars.
            EXPECT_EQ(sidecarName->isEnabled(), c.after == 1);
        }
    }
    EXPECT_TRUE(m_updater.feedURL().path().endsWith("/releases/appcast.xml"));

    // The popup and the number follow a change made in code, as an
    // assistive tool's value change is.
    m_window.showPage(0);
    sidecarName->setCurrentIndex(1);
    EXPECT_EQ(m_preferences.sidecarNaming(), SidecarNaming::nameWithExtension);
    QAccessibleInterface* jobs =
        QAccessible::queryAccessibleInterface(find<QSpinBox>("writeJobsField"));
    ASSERT_TRUE(jobs && jobs->valueInterface());
    jobs->valueInterface()->setCurrentValue(3);
    EXPECT_EQ(m_preferences.writeJobs(), 3);
}

TEST_F(PreferencesWindowTest, TheSidecarNameIsChosenBesideTheXmpMethod)
{
    m_window.showPreferences();
    auto* popUp = find<QComboBox>("sidecarNamePopUp");
    EXPECT_EQ(popUp->accessibleName(), "Sidecar file name");
    EXPECT_EQ(m_preferences.sidecarNaming(), SidecarNaming::name); // nothing registered
    EXPECT_EQ(popUp->currentText(), "IMG_0001.xmp (Lightroom, Capture One)");
    EXPECT_FALSE(popUp->isEnabled()); // a new user writes directly

    find<QRadioButton>("writeMethodXMP")->click();
    ASSERT_TRUE(popUp->isEnabled());
    popUp->setCurrentIndex(1);
    emit popUp->activated(1);
    EXPECT_EQ(m_preferences.value(Preferences::sidecarNameKey), "name.ext");
    EXPECT_EQ(m_preferences.sidecarNaming(), SidecarNaming::nameWithExtension);

    QSignalSpy changed(&m_preferences, &Preferences::sidecarNameChanged);
    m_preferences.setSidecarName("sideways"); // not a form: reads as the default
    EXPECT_EQ(changed.count(), 1);
    EXPECT_EQ(popUp->currentText(), "IMG_0001.xmp (Lightroom, Capture One)");
    m_preferences.setWriteMethodValue(2);
    EXPECT_FALSE(popUp->isEnabled());
}

TEST_F(PreferencesWindowTest, TheNumberOfExiftoolProcessesIsAutomaticUntilChosen)
{
    m_window.showPreferences();
    auto* field = find<QSpinBox>("writeJobsField");
    EXPECT_EQ(field->accessibleName(), "Exiftool processes for large writes");
    EXPECT_EQ(field->text(), "Automatic");
    field->setValue(3);
    EXPECT_EQ(m_preferences.value(Preferences::writeJobsKey), 3);
    QSignalSpy changed(&m_preferences, &Preferences::writeJobsChanged);
    m_preferences.setWriteJobs(-2); // nothing below automatic
    EXPECT_EQ(changed.count(), 1);
    EXPECT_EQ(m_preferences.writeJobs(), 0);
    EXPECT_EQ(field->text(), "Automatic");
}

} // namespace

TEST_F(PreferencesWindowTest, EmptyCellsClearTheFieldOnlyWhenTicked)
{
    auto* box = find<QCheckBox>("emptyCellsClear");
    ASSERT_TRUE(box);
    EXPECT_FALSE(box->isChecked());
    EXPECT_FALSE(m_preferences.emptyCellsClear());
    // A change from the keyboard or from code is stored, not only a click.
    for (const bool ticked : {true, false, true}) {
        SCOPED_TRACE(ticked);
        box->setChecked(ticked);
        EXPECT_EQ(m_preferences.emptyCellsClear(), ticked);
    }
    m_preferences.setEmptyCellsClear(false);
    EXPECT_FALSE(box->isChecked());
}
