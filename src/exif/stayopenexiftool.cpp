// SPDX-License-Identifier: GPL-3.0-or-later
#include "stayopenexiftool.h"

#include "exif/exiftool.h"

#include <QElapsedTimer>
#include <QFile>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <limits>
#include <thread>
#include <vector>

extern char** environ;

namespace qb {

namespace {

const QString configOption = QStringLiteral("-config");
// How long a process told to leave may take before it is killed.
constexpr qint64 leaveMilliseconds = 3000;

QString systemError(int code)
{
    return QString::fromLocal8Bit(std::strerror(code));
}

// Tells a replaced executable from the one that was started.
qint64 fileStamp(const QString& program)
{
    struct stat info {};
    if (::stat(QFile::encodeName(program).constData(), &info) != 0)
        return -1;
    return qint64(info.st_ino) ^ (qint64(info.st_mtim.tv_sec) * 1000000000 + info.st_mtim.tv_nsec);
}

void closeDescriptor(int& descriptor)
{
    if (descriptor >= 0)
        ::close(descriptor);
    descriptor = -1;
}

// Reads what is there without waiting; false once the other end has closed.
bool readAvailable(int descriptor, QByteArray& into)
{
    char buffer[65536];
    for (;;) {
        const ssize_t got = ::read(descriptor, buffer, sizeof buffer);
        if (got > 0) {
            into.append(buffer, got);
            continue;
        }
        if (got == 0)
            return false;
        return errno == EAGAIN || errno == EINTR;
    }
}

ProcessOutcome endedOutcome(int waitStatus, QByteArray output, QByteArray errors)
{
    ProcessOutcome outcome;
    outcome.endedBySignal = WIFSIGNALED(waitStatus);
    outcome.exitStatus = outcome.endedBySignal ? WTERMSIG(waitStatus) : WEXITSTATUS(waitStatus);
    outcome.standardOutput = std::move(output);
    outcome.standardError = std::move(errors);
    return outcome;
}

} // namespace

struct StayOpenExiftool::Child {
    pid_t pid = 0;
    int input = -1; // a socket, so that writing to a dead child raises no SIGPIPE
    int output = -1;
    int errors = -1;
    QString program;
    QStringList startup;
    qint64 stamp = -1;
    bool used = false;

    ~Child()
    {
        closeDescriptor(input);
        closeDescriptor(output);
        closeDescriptor(errors);
    }

    // Reaps the child if it has ended; its wait status then, else nothing.
    std::optional<int> ended()
    {
        int status = 0;
        if (pid > 0 && ::waitpid(pid, &status, WNOHANG) == pid) {
            pid = 0;
            return status;
        }
        return std::nullopt;
    }

    // Kills the child and its process group and waits for it.
    int kill()
    {
        int status = 0;
        if (pid > 0) {
            ::kill(-pid, SIGKILL);
            ::kill(pid, SIGKILL);
            while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
            }
            pid = 0;
        }
        return status;
    }

    // Waits up to `milliseconds` for the child to end, draining its output
    // so that it can't stall on a full pipe; kills it after that.
    int awaitEnd(qint64 milliseconds)
    {
        QElapsedTimer clock;
        clock.start();
        QByteArray discarded;
        while (!clock.hasExpired(milliseconds)) {
            if (const auto status = ended())
                return *status;
            readAvailable(output, discarded);
            readAvailable(errors, discarded);
            discarded.clear();
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return kill();
    }
};

namespace {

std::expected<std::unique_ptr<StayOpenExiftool::Child>, QString>
startChild(const QString& program, const QStringList& startup)
{
    int input[2] = {-1, -1};
    int output[2] = {-1, -1};
    int errors[2] = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, input) != 0 ||
        ::pipe2(output, O_CLOEXEC) != 0 || ::pipe2(errors, O_CLOEXEC) != 0) {
        const int code = errno;
        for (int* pair : {input, output, errors}) {
            closeDescriptor(pair[0]);
            closeDescriptor(pair[1]);
        }
        return std::unexpected(systemError(code));
    }
    std::vector<QByteArray> strings{QFile::encodeName(program)};
    for (const QString& argument : startup + QStringList{"-stay_open", "True", "-@", "-"})
        strings.push_back(argument.toUtf8());
    std::vector<char*> argv;
    for (QByteArray& string : strings)
        argv.push_back(string.data());
    argv.push_back(nullptr);

    // Tells the parent why exec failed; closed unread when it succeeds.
    int execStatus[2] = {-1, -1};
    if (::pipe2(execStatus, O_CLOEXEC) != 0) {
        const int code = errno;
        for (int* pair : {input, output, errors}) {
            closeDescriptor(pair[0]);
            closeDescriptor(pair[1]);
        }
        return std::unexpected(systemError(code));
    }
    const pid_t parent = ::getpid();
    const pid_t pid = ::fork();
    if (pid == 0) {
        // Only async-signal-safe calls until exec. exiftool doesn't leave
        // when its input ends, so it is made to go with us however we end.
        prepareChildProcess(parent);
        ::dup2(input[1], STDIN_FILENO);
        ::dup2(output[1], STDOUT_FILENO);
        ::dup2(errors[1], STDERR_FILENO);
        ::execve(argv.front(), argv.data(), environ);
        const int code = errno;
        [[maybe_unused]] const auto told = ::write(execStatus[1], &code, sizeof code);
        ::_exit(127);
    }
    const int forkError = pid < 0 ? errno : 0;
    closeDescriptor(execStatus[1]);
    int failed = forkError;
    if (pid > 0) {
        int code = 0;
        ssize_t got = 0;
        while ((got = ::read(execStatus[0], &code, sizeof code)) < 0 && errno == EINTR) {
        }
        if (got == ssize_t(sizeof code)) {
            failed = code;
            while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
            }
        }
    }
    closeDescriptor(execStatus[0]);
    closeDescriptor(input[1]);
    closeDescriptor(output[1]);
    closeDescriptor(errors[1]);

    auto child = std::make_unique<StayOpenExiftool::Child>();
    child->input = input[0];
    child->output = output[0];
    child->errors = errors[0];
    if (failed != 0)
        return std::unexpected(systemError(failed));
    child->pid = pid;
    child->program = program;
    child->startup = startup;
    child->stamp = fileStamp(program);
    for (const int descriptor : {child->input, child->output, child->errors})
        ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) | O_NONBLOCK);
    return child;
}

} // namespace

StayOpenExiftool::StayOpenExiftool(Milliseconds timeLimit)
    : m_timeLimit(timeLimit)
{
}

StayOpenExiftool::~StayOpenExiftool()
{
    shutDown();
}

qint64 StayOpenExiftool::commandLineLimit() const
{
    return std::numeric_limits<qint64>::max();
}

qint64 StayOpenExiftool::processId() const
{
    const std::lock_guard locker(m_mutex);
    return m_child ? qint64(m_child->pid) : 0;
}

void StayOpenExiftool::shutDown()
{
    const std::lock_guard locker(m_mutex);
    if (!m_child)
        return;
    if (m_child->pid > 0) {
        static constexpr char leave[] = "-stay_open\nFalse\n";
        ::send(m_child->input, leave, sizeof leave - 1, MSG_NOSIGNAL);
        closeDescriptor(m_child->input);
        m_child->awaitEnd(leaveMilliseconds);
    }
    m_child.reset();
}

ProcessRunResult StayOpenExiftool::run(const QString& program, const QStringList& arguments)
{
    // exiftool honours -config only on its real command line.
    QStringList startup;
    QStringList rest = arguments;
    if (rest.size() >= 2 && rest.first() == configOption) {
        startup = rest.mid(0, 2);
        rest = rest.mid(2);
    }
    const std::lock_guard locker(m_mutex);
    for (int attempt = 0;; ++attempt) {
        if (m_child && (m_child->program != program || m_child->startup != startup ||
                        m_child->stamp != fileStamp(program) || m_child->ended())) {
            if (m_child->pid > 0)
                m_child->awaitEnd(0);
            m_child.reset();
        }
        if (!m_child) {
            auto started = startChild(program, startup);
            if (!started)
                return std::unexpected(ProcessFailure{started.error()});
            m_child = std::move(*started);
        }
        const bool reused = m_child->used;
        ProcessRunResult answer = request(program, rest);
        // A process that died while it waited, as when it was killed, is
        // started afresh once; one that died on the request answers for it.
        if (!m_child && reused && attempt == 0 && !answer && !answer.error().timedOut)
            continue;
        if (!m_child && reused && attempt == 0 && answer && answer->standardOutput.isEmpty() &&
            answer->standardError.isEmpty())
            continue;
        return answer;
    }
}

ProcessRunResult StayOpenExiftool::request(const QString& program, const QStringList& arguments)
{
    Child& child = *m_child;
    const QByteArray number = QByteArray::number(++m_requestNumber);
    const QByteArray readyOut = "{ready" + number + "}\n";
    const QByteArray readyErr = "{ready" + number + ' ';
    QByteArray text;
    for (const QString& argument : arguments)
        text += exiftoolArgumentLine(argument);
    // exiftool marks the end of its answer on standard output; the echo marks
    // it on standard error, with the status the command would have exited with.
    text += "-echo4\n" + readyErr + "${status}}\n-execute" + number + '\n';

    QByteArray output;
    QByteArray errors;
    qsizetype sent = 0;
    // Each stream is read to its end on its own: a child that ends drains
    // both pipes only after it has gone, and its last words are on either.
    bool outputOpen = true;
    bool errorsOpen = true;
    bool inputOpen = true;
    QElapsedTimer clock;
    clock.start();
    std::optional<int> status;
    while (outputOpen || errorsOpen) {
        const bool outputDone = output.endsWith(readyOut);
        if (outputDone && errors.endsWith("}\n")) {
            const qsizetype line = errors.lastIndexOf('\n', errors.size() - 2) + 1;
            if (errors.mid(line).startsWith(readyErr)) {
                bool number = false;
                const int value = errors.mid(line + readyErr.size()).chopped(2).toInt(&number);
                status = number ? value : 1;
                errors.truncate(line);
                output.chop(readyOut.size());
                break;
            }
        }
        const qint64 left = m_timeLimit.count() - clock.elapsed();
        if (left <= 0) {
            m_child->kill();
            m_child.reset();
            return std::unexpected(ProcessFailure{
                QStringLiteral("exiftool gave no complete answer within %1 seconds, so it was "
                               "stopped; the next write starts it afresh.")
                    .arg(double(m_timeLimit.count()) / 1000.0),
                true});
        }
        const bool sending = inputOpen && sent < text.size();
        pollfd descriptors[3] = {{outputOpen ? child.output : -1, POLLIN, 0},
                                 {errorsOpen ? child.errors : -1, POLLIN, 0},
                                 {sending ? child.input : -1, POLLOUT, 0}};
        if (::poll(descriptors, 3, int(std::min<qint64>(left, INT_MAX))) < 0) {
            if (errno == EINTR)
                continue;
            return std::unexpected(ProcessFailure{systemError(errno)});
        }
        if (sending && descriptors[2].revents != 0) {
            const ssize_t wrote = ::send(child.input, text.constData() + sent,
                                         size_t(text.size() - sent), MSG_NOSIGNAL);
            if (wrote > 0)
                sent += wrote;
            else if (wrote < 0 && errno != EAGAIN && errno != EINTR)
                inputOpen = false;
        }
        if (descriptors[0].revents != 0)
            outputOpen = readAvailable(child.output, output);
        if (descriptors[1].revents != 0)
            errorsOpen = readAvailable(child.errors, errors);
    }
    if (status) {
        child.used = true;
        return ProcessOutcome{*status, false, output, errors};
    }
    // The child closed its end before it answered: it has ended, or is
    // about to.
    const int waitStatus = child.awaitEnd(leaveMilliseconds);
    m_child.reset();
    ProcessOutcome outcome = endedOutcome(waitStatus, std::move(output), std::move(errors));
    if (!outcome.endedBySignal && outcome.exitStatus == 0)
        return std::unexpected(
            ProcessFailure{QStringLiteral("exiftool (%1) ended before it answered.").arg(program)});
    return outcome;
}

} // namespace qb
