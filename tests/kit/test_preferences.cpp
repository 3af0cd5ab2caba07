// SPDX-License-Identifier: GPL-3.0-or-later
#include "kit/preferences.h"

#include "extensions/log.h"

#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace qb;
using Method = MetadataQueue::WriteMethod;

namespace {

class PreferencesTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QStandardPaths::setTestModeEnabled(true);
        setPrintSink([this](const QString& text) { m_printed << text; });
    }
    void TearDown() override { setPrintSink({}); }

    QString file() const { return m_dir.filePath(QStringLiteral("Quillbrook.ini")); }

    QTemporaryDir m_dir;
    QStringList m_printed;
};

TEST_F(PreferencesTest, ANewUserReadsTheRegisteredDefaultsAndWritesDirectly)
{
    Preferences preferences(file());
    EXPECT_FALSE(preferences.warnOnHeaderMismatch()); // nothing registered yet
    preferences.registerDefaults();
    EXPECT_EQ(m_printed, QStringList({"register() [\"includeBetaReleases\": true, \"writeMethod\": "
                                      "1, \"warnOnHeaderMismatch\": true, "
                                      "\"presentDialogueOnSuccess\": false]"}));
    EXPECT_TRUE(preferences.includeBetaReleases());
    EXPECT_TRUE(preferences.warnOnHeaderMismatch());
    EXPECT_FALSE(preferences.presentDialogueOnSuccess());
    // The default of 1 is registered under the key that is never read.
    EXPECT_EQ(preferences.value(Preferences::writeMethodKey), QVariant(1));
    EXPECT_EQ(preferences.writeMethodValue(), 0);
    EXPECT_EQ(preferences.writeMethod(), Method::direct);
}

TEST_F(PreferencesTest, StoredValuesOutliveTheObjectAndBeatTheDefaults)
{
    {
        Preferences preferences(file());
        preferences.setIncludeBetaReleases(false);
        preferences.setWriteMethodValue(2);
    }
    Preferences reopened(file());
    reopened.registerDefaults();
    EXPECT_FALSE(reopened.includeBetaReleases());
    EXPECT_EQ(reopened.writeMethodValue(), 2);
    EXPECT_EQ(reopened.writeMethod(), Method::captureOne);
}

TEST_F(PreferencesTest, TheWriteMethodIsReadAsTheAssignmentReadsIt)
{
    const struct {
        int raw;
        Method method;
    } rows[] = {{0, Method::direct}, {1, Method::xmp}, {2, Method::captureOne},
                {3, Method::xmp},    {5, Method::xmp}, {-1, Method::xmp}};
    Preferences preferences(file());
    for (const auto& row : rows) {
        SCOPED_TRACE(row.raw);
        preferences.setWriteMethodValue(row.raw);
        EXPECT_EQ(preferences.writeMethodValue(), row.raw);
        EXPECT_EQ(preferences.writeMethod(), row.method);
    }
}

TEST_F(PreferencesTest, EachKeySignalsItsOwnChangesOnly)
{
    Preferences preferences(file());
    QVariantList beta, warn, dialogue, method;
    QObject::connect(&preferences, &Preferences::includeBetaReleasesChanged,
                     [&](bool value) { beta << value; });
    QObject::connect(&preferences, &Preferences::warnOnHeaderMismatchChanged,
                     [&](bool value) { warn << value; });
    QObject::connect(&preferences, &Preferences::presentDialogueOnSuccessChanged,
                     [&](bool value) { dialogue << value; });
    QObject::connect(&preferences, &Preferences::writeMethodValueChanged,
                     [&](int value) { method << value; });

    // Registering changes what two keys read, and nothing else.
    preferences.registerDefaults();
    EXPECT_EQ(beta, QVariantList({true}));
    EXPECT_EQ(warn, QVariantList({true}));
    EXPECT_TRUE(dialogue.isEmpty());
    EXPECT_TRUE(method.isEmpty());

    preferences.setWriteMethodValue(1);
    preferences.setWriteMethodValue(1); // no change, no signal
    preferences.setPresentDialogueOnSuccess(true);
    preferences.setIncludeBetaReleases(true); // already true by default
    preferences.setWarnOnHeaderMismatch(false);
    EXPECT_EQ(method, QVariantList({1}));
    EXPECT_EQ(dialogue, QVariantList({true}));
    EXPECT_EQ(beta, QVariantList({true}));
    EXPECT_EQ(warn, QVariantList({true, false}));

    // Through the property system, as a binding would write it.
    EXPECT_TRUE(preferences.setProperty("writeMethodValue", 2));
    EXPECT_EQ(method, QVariantList({1, 2}));
}

TEST_F(PreferencesTest, TheApplicationsOwnStoreIsKeptApartInTestMode)
{
    Preferences preferences;
    preferences.settings().clear();
    EXPECT_EQ(preferences.settings().organizationName(), "Quillbrook");
    EXPECT_EQ(preferences.settings().applicationName(), "Quillbrook");
    const QString testRoot =
        QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    EXPECT_TRUE(preferences.settings().fileName().startsWith(testRoot))
        << preferences.settings().fileName().toStdString();
    EXPECT_EQ(preferences.writeMethodValue(), 0);
    preferences.setWriteMethodValue(1);
    EXPECT_EQ(Preferences().writeMethodValue(), 1);
    preferences.settings().clear();
}

} // namespace
