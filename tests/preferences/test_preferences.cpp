// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences/preferences.h"

#include "extensions/log.h"

#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace qb;
using Method = WriteMethod;

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
    EXPECT_EQ(m_printed,
              QStringList({"register() [\"includeBetaReleases\": true, \"writeMethod\": "
                           "1, \"warnOnHeaderMismatch\": true, "
                           "\"presentDialogueOnSuccess\": false, \"keepWriteJournal\": true]"}));
    EXPECT_TRUE(preferences.warnOnHeaderMismatch());
    // The default of 1 is registered under the key that is never read.
    EXPECT_EQ(preferences.value(Preferences::writeMethodKey), QVariant(1));
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
    EXPECT_EQ(reopened.writeMethod(), Method::captureOne);
    for (int other : {1, 3, -1}) { // every value but 0 and 2 means XMP
        reopened.setWriteMethodValue(other);
        EXPECT_EQ(reopened.writeMethod(), Method::xmp) << other;
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
    preferences.setWriteMethodValue(1);
    preferences.setWriteMethodValue(1);                          // no change, no signal
    preferences.setIncludeBetaReleases(true);                    // already true by default
    EXPECT_TRUE(preferences.setProperty("writeMethodValue", 2)); // as a binding writes it
    EXPECT_EQ(beta, QVariantList({true}));
    EXPECT_EQ(warn, QVariantList({true}));
    EXPECT_TRUE(dialogue.isEmpty());
    EXPECT_EQ(method, QVariantList({1, 2}));
}

} // namespace
