// SPDX-License-Identifier: GPL-3.0-or-later
#include "contactformviewcontroller.h"

#include "errorpresenter.h"

#include "extensions/log.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace qb {

namespace {

template <typename Field>
Field* makeField(const QString& name, const QString& accessibleName, QWidget* parent)
{
    auto* field = new Field(parent);
    field->setObjectName(name);
    field->setAccessibleName(accessibleName);
    return field;
}

QMessageBox* makeSheet(QMessageBox::Icon icon, const QString& text,
                       QMessageBox::StandardButtons buttons, const QString& name, QWidget* parent)
{
    auto* box = new QMessageBox(icon, QStringLiteral("Send Feedback"), text, buttons, parent);
    box->setObjectName(name);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::WindowModal);
    return box;
}

} // namespace

ContactFormViewController::ContactFormViewController(AppInfo info, QUrl endpoint, QWidget* parent)
    : QWidget(parent)
    , m_info(std::move(info))
    , m_endpoint(std::move(endpoint))
    , m_sender(new FeedbackSender(this))
{
    setObjectName(QStringLiteral("contactForm"));
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(makeGrid(), 1);
    layout->addWidget(makeButtons());

    m_subjectField->setText(m_info.name + QStringLiteral(" Feedback"));
    connect(m_bodyField, &QPlainTextEdit::textChanged, this,
            &ContactFormViewController::textDidChange);
    connect(this, &ContactFormViewController::formCanSendChanged, this,
            &ContactFormViewController::updateSendButton);
    updateSendButton();
}

QGridLayout* ContactFormViewController::makeGrid()
{
    m_emailGridView = new QGridLayout;
    m_nameField = makeField<QLineEdit>(QStringLiteral("nameField"), QStringLiteral("Name"), this);
    m_nameField->setPlaceholderText(QStringLiteral("Optional"));
    m_emailField =
        makeField<QLineEdit>(QStringLiteral("emailField"), QStringLiteral("Email"), this);
    m_emailField->setPlaceholderText(QStringLiteral("Optional, if you would like an answer"));
    m_subjectField =
        makeField<QLineEdit>(QStringLiteral("subjectField"), QStringLiteral("Subject"), this);
    m_bodyField =
        makeField<QPlainTextEdit>(QStringLiteral("bodyField"), QStringLiteral("Message"), this);
    m_bodyField->setTabChangesFocus(true);
    m_bodyField->setPlaceholderText(
        QStringLiteral("What works, what doesn't, and what you would like to see."));
    m_debugEmailButton = makeField<QCheckBox>(QStringLiteral("debugEmailButton"),
                                              QStringLiteral("Send as a test"), this);
    m_debugEmailButton->setText(QStringLiteral("Send as a test"));

    const std::pair<QString, QWidget*> rows[] = {
        {QStringLiteral("&Name:"), m_nameField},
        {QStringLiteral("&Email:"), m_emailField},
        {QStringLiteral("&Subject:"), m_subjectField},
        {QStringLiteral("&Message:"), m_bodyField},
        {QString(), m_debugEmailButton},
    };
    for (int row = 0; row < int(std::size(rows)); ++row) {
        auto* label = new QLabel(rows[row].first, this);
        label->setBuddy(rows[row].second);
        const Qt::Alignment top = row == 3 ? Qt::AlignTop : Qt::Alignment();
        m_emailGridView->addWidget(label, row, 0, Qt::AlignRight | top);
        m_emailGridView->addWidget(rows[row].second, row, 1);
    }
    m_emailGridView->setRowStretch(3, 1);
    // The test switch is for the makers, not for users: its row stays
    // hidden, so every message asks the server to send it on.
    m_emailGridView->itemAtPosition(4, 0)->widget()->hide();
    m_debugEmailButton->hide();
    return m_emailGridView;
}

QWidget* ContactFormViewController::makeButtons()
{
    auto* row = new QWidget(this);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    m_status = new QLabel(row);
    m_status->setObjectName(QStringLiteral("statusLabel"));
    m_status->setText(versionNote());
    layout->addWidget(m_status, 1);

    auto* buttons = new QDialogButtonBox(row);
    QPushButton* cancel = buttons->addButton(QDialogButtonBox::Cancel);
    cancel->setObjectName(QStringLiteral("cancelButton"));
    cancel->setAccessibleName(QStringLiteral("Cancel"));
    m_sendButton = buttons->addButton(QStringLiteral("&Send"), QDialogButtonBox::AcceptRole);
    m_sendButton->setObjectName(QStringLiteral("sendButton"));
    m_sendButton->setAccessibleName(QStringLiteral("Send"));
    connect(buttons, &QDialogButtonBox::accepted, this, &ContactFormViewController::submitAction);
    connect(buttons, &QDialogButtonBox::rejected, this, &ContactFormViewController::cancelAction);
    layout->addWidget(buttons);
    return row;
}

QString ContactFormViewController::versionNote() const
{
    return QStringLiteral("Sent with ") + versionString();
}

void ContactFormViewController::textDidChange()
{
    const bool canSend = canSendFeedback(m_bodyField->toPlainText());
    if (canSend == m_formCanSend)
        return;
    m_formCanSend = canSend;
    emit formCanSendChanged(canSend);
}

void ContactFormViewController::updateSendButton()
{
    m_sendButton->setEnabled(m_formCanSend && !m_sending);
}

FeedbackMessage ContactFormViewController::message() const
{
    return {m_nameField->text(), m_emailField->text(), m_subjectField->text(),
            m_bodyField->toPlainText(), m_debugEmailButton->isChecked()};
}

void ContactFormViewController::submitAction()
{
    const QUrl url = feedbackRequestURL(m_endpoint, m_info, message());
    if (m_sending || !m_formCanSend || !url.isValid())
        return;
    m_sending = true;
    updateSendButton();
    m_status->setText(QStringLiteral("Sending\u2026"));
    m_sender->send(url, [this](const FeedbackSender::Result& result) { finishSending(result); });
}

void ContactFormViewController::finishSending(const FeedbackSender::Result& result)
{
    m_sending = false;
    updateSendButton();
    m_status->setText(versionNote());
    if (!result) {
        presentError(this, result.error());
        return;
    }
    QMessageBox* box =
        makeSheet(QMessageBox::Information, QStringLiteral("Thank you for your feedback!"),
                  QMessageBox::Ok, QStringLiteral("thankYouAlert"), this);
    connect(box, &QMessageBox::finished, this, [this] {
        startOver();
        emit dismissed();
    });
    box->open();
}

void ContactFormViewController::cancelAction()
{
    if (m_nameField->text().isEmpty() && m_emailField->text().isEmpty() &&
        m_bodyField->toPlainText().isEmpty()) {
        qbLog(QStringLiteral("Form is empty. Dismissing feedback window"));
        emit dismissed();
        return;
    }
    QMessageBox* box =
        makeSheet(QMessageBox::Question, QStringLiteral("Are you sure you want to cancel?"),
                  QMessageBox::Yes | QMessageBox::No, QStringLiteral("cancelAlert"), this);
    box->setDefaultButton(QMessageBox::No);
    connect(box, &QMessageBox::finished, this, [this, box] {
        if (box->clickedButton() != box->button(QMessageBox::Yes))
            return;
        startOver();
        emit dismissed();
    });
    box->open();
}

void ContactFormViewController::startOver()
{
    // Name and address stay for the next message; the message itself is done.
    m_subjectField->setText(m_info.name + QStringLiteral(" Feedback"));
    m_bodyField->clear();
}

} // namespace qb
