// SPDX-License-Identifier: GPL-3.0-or-later
#include "contactform.h"

#include "contactformviewcontroller.h"

#include <QDialog>
#include <QVBoxLayout>

namespace qb {

namespace {

// Escape and the title bar's close button ask the form, as its Cancel
// button does, so an unsent message is never dropped without a question.
class FeedbackWindow final : public QDialog {
public:
    explicit FeedbackWindow(ContactFormViewController* form)
        : m_form(form)
    {
    }
    void reject() override { m_form->cancelAction(); }

private:
    ContactFormViewController* m_form;
};

} // namespace

ContactForm::ContactForm(AppInfo info, QUrl endpoint, QObject* parent)
    : QObject(parent)
    , m_info(std::move(info))
    , m_endpoint(std::move(endpoint))
{
}

ContactForm::~ContactForm() = default;

void ContactForm::sendFeedback()
{
    if (!m_window) {
        m_form = new ContactFormViewController(m_info, m_endpoint);
        m_window = std::make_unique<FeedbackWindow>(m_form);
        m_window->setObjectName(QStringLiteral("feedbackWindow"));
        m_window->setWindowTitle(QStringLiteral("Send Feedback"));
        m_window->setMinimumSize(480, 400);
        auto* layout = new QVBoxLayout(m_window.get());
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(m_form);
        connect(m_form, &ContactFormViewController::dismissed, m_window.get(), &QDialog::hide);
    }
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

} // namespace qb
