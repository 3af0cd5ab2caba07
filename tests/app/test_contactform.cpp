// SPDX-License-Identifier: GPL-3.0-or-later
#include "../widgets/guiapplication.h"

#include "../support/capturedoutput.h"
#include "app/contactform.h"
#include "app/contactformviewcontroller.h"

#include <QDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTcpServer>
#include <QTcpSocket>

#include <gtest/gtest.h>

using namespace qb;
using namespace std::chrono_literals;

namespace {

using QueryItems = std::vector<std::pair<QString, QString>>;

// A feedback server on 127.0.0.1 that records each request's target and
// answers with `status`, or not at all when it is 0.
class FeedbackServer {
public:
    explicit FeedbackServer(int status)
    {
        m_server.listen(QHostAddress::LocalHost);
        QObject::connect(&m_server, &QTcpServer::newConnection, [this, status] {
            QTcpSocket* socket = m_server.nextPendingConnection();
            QObject::connect(socket, &QTcpSocket::readyRead, [this, socket, status] {
                m_buffer += socket->readAll();
                if (!m_buffer.contains("\r\n\r\n") || status == 0)
                    return;
                targets << m_buffer.split(' ').value(1);
                socket->write("HTTP/1.1 " + QByteArray::number(status) +
                              " Whatever\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
                socket->disconnectFromHost();
            });
        });
    }
    QUrl endpoint() const
    {
        return QUrl(
            QStringLiteral("http://127.0.0.1:%1/email/app-feedback").arg(m_server.serverPort()));
    }

    // The query as a server reads it, a "+" being a space in a form query.
    static QueryItems decoded(const QByteArray& target)
    {
        QueryItems items;
        for (QByteArray item : target.mid(target.indexOf('?') + 1).split('&')) {
            item.replace('+', ' ');
            const qsizetype equals = item.indexOf('=');
            items.emplace_back(QUrl::fromPercentEncoding(item.left(equals)),
                               QUrl::fromPercentEncoding(item.mid(equals + 1)));
        }
        return items;
    }

    QList<QByteArray> targets;

private:
    QTcpServer m_server;
    QByteArray m_buffer;
};

class ContactFormTest : public ::testing::Test {
protected:
    // Opens the form of a feedback window that sends to `endpoint`.
    void open(const QUrl& endpoint)
    {
        m_contact = std::make_unique<ContactForm>(m_info, endpoint);
        m_contact->sendFeedback();
    }
    template <typename T>
    T* field(const char* name) const
    {
        return m_contact->window()->findChild<T*>(QString::fromLatin1(name));
    }
    void fill(const QString& name, const QString& email, const QString& subject,
              const QString& body)
    {
        field<QLineEdit>("nameField")->setText(name);
        field<QLineEdit>("emailField")->setText(email);
        field<QLineEdit>("subjectField")->setText(subject);
        field<QPlainTextEdit>("bodyField")->setPlainText(body);
    }
    QMessageBox* waitForBox(const char* name) const
    {
        QMessageBox* box = nullptr;
        (void)QTest::qWaitFor([&] { return (box = field<QMessageBox>(name)) != nullptr; }, 10000);
        return box;
    }

    qb::testing::GuiApplication m_app;
    AppInfo m_info{"Quillbrook", "42", "1.2", "org.quillbrook.Quillbrook"};
    std::unique_ptr<ContactForm> m_contact;
    qb::testing::CapturedOutput m_output;
};

TEST_F(ContactFormTest, TheQueryArrivesAsTypedWithFallbacksForABlankNameAndAddress)
{
    const QString version = "\n\n-------\nQuillbrook 1.2 (42)";
    const struct {
        QString name, email, subject, body, sentName, sentFrom;
    } rows[] = {
        {"Zoë & Bo+Co", "zoe+shoot@example.org", "100%AB = a&b", "Grüße 東京 + ✓\n2nd line",
         "Zoë & Bo+Co", "zoe+shoot@example.org"},
        {"", "  ", "", "Hi", "Quillbrook Feedback", "quillbrook@feedback.quillbrook.org"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name.toStdString());
        FeedbackServer server(200);
        open(server.endpoint());
        fill(row.name, row.email, row.subject, row.body);
        field<QPushButton>("sendButton")->click();
        QMessageBox* thanks = waitForBox("thankYouAlert");
        ASSERT_TRUE(thanks);
        EXPECT_EQ(thanks->text(), "Thank you for your feedback!");
        ASSERT_EQ(server.targets.size(), 1);
        EXPECT_TRUE(server.targets[0].startsWith("/email/app-feedback?"));
        EXPECT_EQ(FeedbackServer::decoded(server.targets[0]),
                  QueryItems({{"NAME", row.sentName},
                              {"FROM", row.sentFrom},
                              {"SUBJECT", row.subject},
                              {"BODY", row.body + version},
                              {"NOEMAIL", "no"}}));
        thanks->button(QMessageBox::Ok)->click();
        EXPECT_FALSE(m_contact->window()->isVisible());
        EXPECT_TRUE(field<QPlainTextEdit>("bodyField")->toPlainText().isEmpty());
    }
}

TEST_F(ContactFormTest, ABodyOfBlanksCannotBeSent)
{
    FeedbackServer server(200);
    open(server.endpoint());
    ContactFormViewController* form = m_contact->form();
    fill("Zoë", "", "", " \n\t ");
    EXPECT_FALSE(form->formCanSend());
    EXPECT_FALSE(field<QPushButton>("sendButton")->isEnabled());
    form->submitAction();
    QTest::qWait(100);
    EXPECT_TRUE(server.targets.isEmpty());
    field<QPlainTextEdit>("bodyField")->appendPlainText("x");
    EXPECT_TRUE(form->formCanSend());
    EXPECT_TRUE(field<QPushButton>("sendButton")->isEnabled());
}

TEST_F(ContactFormTest, AFailedSendShowsTheErrorAndKeepsTheForm)
{
    QTcpServer closed;
    closed.listen(QHostAddress::LocalHost);
    const QUrl refused(QStringLiteral("http://127.0.0.1:%1/").arg(closed.serverPort()));
    closed.close();
    FeedbackServer failing(500);
    FeedbackServer unexpected(304); // outside 200 to 299, yet no network error
    FeedbackServer silent(0);
    const struct {
        const char* what;
        QUrl endpoint;
        QString reason;
    } rows[] = {
        {"500", failing.endpoint(), "status 500"},
        {"304", unexpected.endpoint(), "status 304"},
        {"refused", refused, "refused"},
        {"silent", silent.endpoint(), "did not answer within 1 second."},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        open(row.endpoint);
        m_contact->form()->setTimeout(300ms);
        fill("Zoë", "zoe@example.org", "Crash", "It broke & stayed broken.");
        field<QPushButton>("sendButton")->click();
        QMessageBox* box = waitForBox("errorAlert");
        ASSERT_TRUE(box);
        EXPECT_EQ(box->text(), "Your feedback could not be sent.");
        EXPECT_TRUE(box->informativeText().contains(row.reason))
            << box->informativeText().toStdString();
        EXPECT_TRUE(m_contact->window()->isVisible());
        EXPECT_EQ(field<QPlainTextEdit>("bodyField")->toPlainText(), "It broke & stayed broken.");
        EXPECT_EQ(field<QLineEdit>("nameField")->text(), "Zoë");
        EXPECT_TRUE(field<QPushButton>("sendButton")->isEnabled()) << "ready to try again";
        box->close();
    }
}

TEST_F(ContactFormTest, CancelAsksOnlyWhenSomethingWasTyped)
{
    open(QUrl("http://127.0.0.1:9/"));
    field<QLineEdit>("subjectField")->setText("Only a subject");
    field<QPushButton>("cancelButton")->click();
    EXPECT_FALSE(m_contact->window()->isVisible());
    EXPECT_EQ(m_output.logged, QStringList{"Form is empty. Dismissing feedback window"});

    m_contact->sendFeedback();
    field<QPlainTextEdit>("bodyField")->setPlainText("Half a thought");
    for (auto answer : {QMessageBox::No, QMessageBox::Yes}) {
        SCOPED_TRACE(answer);
        field<QPushButton>("cancelButton")->click();
        QMessageBox* box = waitForBox("cancelAlert");
        ASSERT_TRUE(box);
        EXPECT_EQ(box->text(), "Are you sure you want to cancel?");
        box->button(answer)->click();
        QTest::qWait(0); // let the box delete itself
        EXPECT_EQ(m_contact->window()->isVisible(), answer == QMessageBox::No);
    }
}

} // namespace
