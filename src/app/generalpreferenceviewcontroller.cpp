// SPDX-License-Identifier: GPL-3.0-or-later
#include "generalpreferenceviewcontroller.h"

#include "extensions/log.h"
#include "preferences/preferences.h"
#include "widgets/controlbindings.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QRadioButton>
#include <QShowEvent>
#include <QSpinBox>
#include <QVBoxLayout>

namespace qb {

namespace {

QCheckBox* makeCheckBox(const QString& text, const QString& name, QWidget* parent)
{
    auto* box = new QCheckBox(text, parent);
    box->setObjectName(name);
    box->setAccessibleName(text);
    return box;
}

// The radio button that stands for a stored write method.
int writeMethodChoice(int writeMethodValue)
{
    return writeMethodValue == 0 || writeMethodValue == 2 ? writeMethodValue : 1;
}

} // namespace

QString writeMethodDescription(int writeMethodValue)
{
    switch (writeMethodValue) {
    case 0:
        return QStringLiteral("Use Exiftool to write metadata directly to the file.");
    case 2:
        return QStringLiteral(
            "Use AppleEvents to write metadata to the open Capture One document.");
    default:
        return QStringLiteral("Use Exiftool to write metadata as XMP sidecar files.");
    }
}

GeneralPreferenceViewController::GeneralPreferenceViewController(Preferences& preferences,
                                                                 QWidget* parent)
    : QWidget(parent)
    , m_preferences(preferences)
{
    setObjectName(QStringLiteral("generalPreferences"));
    setAccessibleName(preferencePaneTitle());
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(makeWriteMethodGroup());
    layout->addWidget(makeAlertsGroup());
    layout->addStretch();
}

QWidget* GeneralPreferenceViewController::makeWriteMethodGroup()
{
    auto* group = new QGroupBox(QStringLiteral("Write metadata"), this);
    group->setAccessibleName(group->title());
    auto* layout = new QVBoxLayout(group);
    m_writeMethods = new QButtonGroup(group);
    const struct {
        int value;
        QString text;
        QString name;
    } choices[] = {
        {0, QStringLiteral("Directly into the image files"), QStringLiteral("writeMethodDirect")},
        {1, QStringLiteral("Into XMP sidecar files"), QStringLiteral("writeMethodXMP")},
        {2, QStringLiteral("Into the open Capture One document"),
         QStringLiteral("writeMethodCaptureOne")},
    };
    for (const auto& choice : choices) {
        auto* button = new QRadioButton(choice.text, group);
        button->setObjectName(choice.name);
        button->setAccessibleName(choice.text);
        m_writeMethods->addButton(button, choice.value);
        layout->addWidget(button);
        if (choice.value == 1)
            layout->addLayout(makeSidecarNameRow(group));
    }
    const auto showMethod = [this](int value) {
        // Shown, not chosen: a stored 5 reads as sidecars and stays 5.
        const QSignalBlocker quiet(m_writeMethods);
        m_writeMethods->button(writeMethodChoice(value))->setChecked(true);
        m_sidecarName->setEnabled(writeMethodChoice(value) == 1);
    };
    showMethod(m_preferences.writeMethodValue());
    // A choice counts however it is made: a click, the keyboard, or a
    // screen reader's toggle action, which clicks nothing.
    connect(m_writeMethods, &QButtonGroup::idToggled, &m_preferences, [this](int id, bool checked) {
        if (checked)
            m_preferences.setWriteMethodValue(id);
    });
    // The window keeps this page for the whole session; follow changes
    // made elsewhere so the page never shows a stale choice.
    connect(&m_preferences, &Preferences::writeMethodValueChanged, m_writeMethods, showMethod);

    m_writeMethodDescription = new QLabel(group);
    m_writeMethodDescription->setObjectName(QStringLiteral("writeMethodDescription"));
    // Read with its text, which is what matters.
    m_writeMethodDescription->setAccessibleDescription(
        QStringLiteral("What the chosen write method does"));
    m_writeMethodDescription->setWordWrap(true);
    m_writeMethodDescription->setContentsMargins(0, 6, 0, 0);
    layout->addWidget(m_writeMethodDescription);

    // The journal is what File ▸ Restore Values Before Last Write reads.
    QCheckBox* journal =
        makeCheckBox(QStringLiteral("Keep the replaced values, to restore them later"),
                     QStringLiteral("keepWriteJournal"), group);
    new CheckboxBinding(journal, &m_preferences, "keepWriteJournal");
    connect(&m_preferences, &Preferences::keepWriteJournalChanged, journal, &QCheckBox::setChecked);
    layout->addWidget(journal);
    // Off, an empty cell leaves its tag as the file has it. Wired to
    // `toggled`, so that a change made from code or the keyboard is stored
    // as well as a click.
    QCheckBox* emptyCells = makeCheckBox(QStringLiteral("Empty cells clear the field"),
                                         QStringLiteral("emptyCellsClear"), group);
    emptyCells->setChecked(m_preferences.emptyCellsClear());
    connect(emptyCells, &QCheckBox::toggled, &m_preferences, &Preferences::setEmptyCellsClear);
    connect(&m_preferences, &Preferences::emptyCellsClearChanged, emptyCells,
            &QCheckBox::setChecked);
    layout->addWidget(emptyCells);
    layout->addLayout(makeWriteJobsRow(group));
    return group;
}

// How many exiftool processes share a large write; 0 reads "Automatic",
// one per core.
QLayout* GeneralPreferenceViewController::makeWriteJobsRow(QWidget* group)
{
    auto* row = new QHBoxLayout;
    auto* label = new QLabel(QStringLiteral("Exiftool processes for large writes:"), group);
    m_writeJobs = new QSpinBox(group);
    m_writeJobs->setObjectName(QStringLiteral("writeJobsField"));
    m_writeJobs->setAccessibleName(QStringLiteral("Exiftool processes for large writes"));
    m_writeJobs->setRange(0, 64);
    m_writeJobs->setSpecialValueText(QStringLiteral("Automatic"));
    m_writeJobs->setValue(m_preferences.writeJobs());
    label->setBuddy(m_writeJobs);
    connect(m_writeJobs, &QSpinBox::valueChanged, &m_preferences, &Preferences::setWriteJobs);
    connect(&m_preferences, &Preferences::writeJobsChanged, m_writeJobs, &QSpinBox::setValue);
    row->addWidget(label);
    row->addWidget(m_writeJobs);
    row->addStretch(1);
    return row;
}

// Beside the XMP method, since only its sidecars have a name to choose.
QLayout* GeneralPreferenceViewController::makeSidecarNameRow(QWidget* group)
{
    auto* row = new QHBoxLayout;
    row->setContentsMargins(22, 0, 0, 0);
    auto* label = new QLabel(QStringLiteral("Named:"), group);
    m_sidecarName = new QComboBox(group);
    m_sidecarName->setObjectName(QStringLiteral("sidecarNamePopUp"));
    m_sidecarName->setAccessibleName(QStringLiteral("Sidecar file name"));
    m_sidecarName->setAccessibleDescription(m_sidecarName->accessibleName());
    m_sidecarName->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    m_sidecarName->addItem(QStringLiteral("IMG_0001.xmp (Lightroom, Capture One)"),
                           sidecarNamingName(SidecarNaming::name));
    m_sidecarName->addItem(QStringLiteral("IMG_0001.CR3.xmp (darktable, digiKam)"),
                           sidecarNamingName(SidecarNaming::nameWithExtension));
    label->setBuddy(m_sidecarName);
    const auto showName = [this](const QString& name) {
        const QSignalBlocker quiet(m_sidecarName);
        m_sidecarName->setCurrentIndex(m_sidecarName->findData(name));
    };
    showName(m_preferences.sidecarName());
    connect(m_sidecarName, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (index >= 0)
            m_preferences.setSidecarName(m_sidecarName->itemData(index).toString());
    });
    connect(&m_preferences, &Preferences::sidecarNameChanged, m_sidecarName, showName);
    row->addWidget(label);
    row->addWidget(m_sidecarName);
    row->addStretch(1);
    return row;
}

QWidget* GeneralPreferenceViewController::makeAlertsGroup()
{
    auto* group = new QGroupBox(QStringLiteral("Alerts"), this);
    group->setAccessibleName(group->title());
    auto* layout = new QVBoxLayout(group);
    const struct {
        QString text;
        QByteArray property;
        void (Preferences::*changed)(bool);
    } boxes[] = {
        {QStringLiteral("Warn when a CSV file's headers don't match the rules"),
         "warnOnHeaderMismatch", &Preferences::warnOnHeaderMismatchChanged},
        {QStringLiteral("Show a message when metadata has been written"),
         "presentDialogueOnSuccess", &Preferences::presentDialogueOnSuccessChanged},
    };
    for (const auto& entry : boxes) {
        QCheckBox* box = makeCheckBox(entry.text, QString::fromLatin1(entry.property), group);
        new CheckboxBinding(box, &m_preferences, entry.property);
        connect(&m_preferences, entry.changed, box, &QCheckBox::setChecked);
        layout->addWidget(box);
    }
    return group;
}

void GeneralPreferenceViewController::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (m_writeMethodObserver)
        return;
    m_writeMethodObserver = connect(&m_preferences, &Preferences::writeMethodValueChanged, this,
                                    &GeneralPreferenceViewController::updateDescription);
    updateDescription(m_preferences.writeMethodValue());
}

void GeneralPreferenceViewController::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    // A minimised window hides its pages spontaneously; they are still open.
    if (!event->spontaneous()) {
        disconnect(m_writeMethodObserver);
        m_writeMethodObserver = {};
    }
}

void GeneralPreferenceViewController::updateDescription(int writeMethodValue)
{
    qbPrint(QStringLiteral("Updating description"));
    m_writeMethodDescription->setText(writeMethodDescription(writeMethodValue));
}

} // namespace qb
